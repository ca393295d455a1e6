// An unchanging curve may be evaluated, and its tangents queried, from
// several threads at once: every thread must see exactly the single-threaded
// results, and ThreadSanitizer must find no race.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "splinebase.h"

namespace {

constexpr int threadCount = 4;

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

// Every kind of segment, ease, and cycling with offset after the last point.
void buildCurve(SplineBase& curve)
{
    curve.addPoint(0.0, 1.0);
    curve.addPoint(1.0, 3.0, PointInfo::BezierData{0.5, -2.0});
    curve.addPoint(2.5, -1.0, PointInfo::TcbData{0.3, -0.2, 0.1, 0.4, 0.6});
    curve.addPoint(3.0, 2.0);
    curve.addPoint(4.0, 0.5);
    curve.setType(curve.controlPoints[2], kv_spline::TCB);
    curve.setType(curve.controlPoints[3], kv_spline::LINEAR);
    curve.setType(curve.controlPoints[4], kv_spline::STEP);
    curve.preExtrapolation = kv_spline::EXTRAPOLATE_CONSTANT;
    curve.postExtrapolation = kv_spline::EXTRAPOLATE_CYCLE_OFFSET;
}

std::vector<double> probeTimes()
{
    std::vector<double> times = {std::numeric_limits<double>::quiet_NaN(), -1.0, 0.0, 9.75, 1e6};
    for (int step = 1; step <= 160; ++step)
        times.push_back(step * 0.03125);
    return times;
}

// Values and node tangents (with their ratios), in one list of bit patterns.
std::vector<std::uint64_t> readEverything(const SplineBase& curve, const std::vector<double>& times)
{
    std::vector<std::uint64_t> results;
    for (double t : times)
        results.push_back(bitsOf(curve(t)));
    for (unsigned int index = 1; index < curve.controlPoints.size(); ++index) {
        double ratio = 0.0;
        results.push_back(bitsOf(curve.getTangentLeftAtNode(index, ratio)));
        results.push_back(bitsOf(ratio));
        results.push_back(bitsOf(curve.getTangentRightAtNode(index, ratio)));
        results.push_back(bitsOf(ratio));
    }
    return results;
}

TEST(ConcurrencyCurve, SharedCurveEvaluatesIdenticallyOnEveryThread)
{
    SplineBase curve;
    buildCurve(curve);
    const SplineBase& shared = curve;
    const std::vector<double> times = probeTimes();
    const std::vector<std::uint64_t> expected = readEverything(shared, times);

    std::atomic<bool> go{false};
    std::vector<int> mismatchedRounds(threadCount, 0);
    std::vector<std::thread> threads;
    for (int index = 0; index < threadCount; ++index) {
        threads.emplace_back([&, index] {
            while (!go.load())
                std::this_thread::yield();
            for (int round = 0; round < 50; ++round)
                mismatchedRounds[index] += readEverything(shared, times) != expected;
        });
    }
    go.store(true);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatchedRounds, std::vector<int>(threadCount, 0));
}

}  // namespace
