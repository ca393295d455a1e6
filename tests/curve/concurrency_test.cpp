// An unchanging curve may be evaluated, and its tangents queried, from
// several threads at once, and so may its runtime form: every thread must
// see exactly the single-threaded results, and ThreadSanitizer must find no
// race.
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <thread>
#include <vector>

#include "compiledcurve.h"
#include "curve/point_fields.h"
#include "splinebase.h"

namespace {

using kv_spline::BEZIER;
using kv_spline::EXTRAPOLATE_CONSTANT;
using kv_spline::EXTRAPOLATE_CYCLE;
using kv_spline::EXTRAPOLATE_CYCLE_OFFSET;
using kv_spline::EXTRAPOLATE_ZERO;
using kv_spline::LINEAR;
using kv_spline::STEP;
using kv_spline::TCB;

// Starts four threads at once, each running `round` 50 times; returns how
// many rounds each thread found wrong.
template <typename Round>
std::vector<int> wrongRoundsOnFourThreads(const Round& round)
{
    std::atomic<bool> go{false};
    std::vector<int> mismatchedRounds(4, 0);
    std::vector<std::thread> threads;
    for (int& mismatches : mismatchedRounds)
        threads.emplace_back([&] {
            while (!go.load())
                std::this_thread::yield();
            for (int number = 0; number < 50; ++number)
                mismatches += round(number) ? 0 : 1;
        });
    go.store(true);
    for (std::thread& thread : threads)
        thread.join();
    return mismatchedRounds;
}

TEST(ConcurrencyCurve, SharedCurveEvaluatesIdenticallyOnEveryThread)
{
    // Every kind of segment, ease, and cycling with offset after the last point.
    const auto curve = point_fields::curveOf(
        {{0, 1, BEZIER}, {1, 3, BEZIER}, {2.5, -1, TCB}, {3, 2, LINEAR}, {4, 0.5, STEP}},
        EXTRAPOLATE_CONSTANT, EXTRAPOLATE_CYCLE_OFFSET);
    curve->controlPoints[1]->bezier = {0.5, -2.0};
    curve->controlPoints[2]->tcb = {0.3, -0.2, 0.1, 0.4, 0.6};
    const SplineBase& shared = *curve;
    const auto readEverything = [&shared] {  // values, then node tangents with their ratios
        std::vector<double> results;
        for (int step = -40; step <= 320; ++step)
            results.push_back(shared(step * 0.03125));
        for (unsigned int index = 1; index < shared.controlPoints.size(); ++index) {
            double left = 0.0, right = 0.0;
            results.insert(results.end(), {shared.getTangentLeftAtNode(index, left), left,
                                           shared.getTangentRightAtNode(index, right), right});
        }
        return point_fields::bitsOf(results);
    };
    const std::vector<std::uint64_t> expected = readEverything();
    EXPECT_EQ(wrongRoundsOnFourThreads([&](int) { return readEverything() == expected; }),
              std::vector<int>(4, 0));
}

// One runtime form serves every thread, each with its own hint, and sampling
// in bulk beside them: all see exactly the curve's single-threaded values.
TEST(ConcurrencyCurve, SharedRuntimeFormAnswersIdenticallyOnEveryThread)
{
    const auto curve =
        point_fields::curveOf({{0, 1, BEZIER}, {1, 3, TCB}, {2.5, -1, LINEAR}, {3, 2, STEP}, {4, 0.5, TCB}},
                              EXTRAPOLATE_ZERO, EXTRAPOLATE_CYCLE);
    curve->controlPoints[2]->tcb = {0.3, -0.2, 0.1, 0.4, 0.6};
    std::vector<double> times;
    for (int step = -40; step <= 400; ++step)
        times.push_back(step * 0.03125);
    std::vector<double> expected;
    for (const double t : times)
        expected.push_back((*curve)(t));
    const exprcurve::CompiledCurve shared(*curve);
    const auto round = [&](int number) {
        std::size_t hint = static_cast<std::size_t>(number);  // each thread's own, any value
        std::vector<double> values(times.size()), sampled(times.size());
        for (std::size_t i = 0; i < times.size(); ++i)
            values[i] = shared(times[i], hint);
        shared.sample(times.data(), sampled.data(), times.size());
        return point_fields::bitsOf(values) == point_fields::bitsOf(expected) &&
               point_fields::bitsOf(sampled) == point_fields::bitsOf(expected);
    };
    EXPECT_EQ(wrongRoundsOnFourThreads(round), std::vector<int>(4, 0));
}

}  // namespace
