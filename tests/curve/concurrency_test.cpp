// An unchanging curve may be evaluated, and its tangents queried, from
// several threads at once: every thread must see exactly the single-threaded
// results, and ThreadSanitizer must find no race.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "curve/point_fields.h"
#include "splinebase.h"

namespace {

TEST(ConcurrencyCurve, SharedCurveEvaluatesIdenticallyOnEveryThread)
{
    // Every kind of segment, ease, and cycling with offset after the last point.
    const auto curve = point_fields::curveOf({{0, 1, 1}, {1, 3, 1}, {2.5, -1, 2}, {3, 2, 0}, {4, 0.5, 3}}, 1, 3);
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
    std::atomic<bool> go{false};
    std::vector<int> mismatchedRounds(4, 0);
    std::vector<std::thread> threads;
    for (int& mismatches : mismatchedRounds)
        threads.emplace_back([&] {
            while (!go.load())
                std::this_thread::yield();
            for (int round = 0; round < 50; ++round)
                mismatches += readEverything() != expected;
        });
    go.store(true);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatchedRounds, std::vector<int>(4, 0));
}

}  // namespace
