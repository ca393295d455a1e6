#include "controlpoints.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "splinebase.h"

namespace {

using exprcurve_detail::insertOrdered;
using exprcurve_detail::OrderedBuilder;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

// Builds on `start` with the builder and with insertOrdered alone, records
// at `times` added in order; the two lists must be the same.
void expectBuilderMatchesRule(const std::vector<double>& startTimes, const std::vector<double>& times)
{
    std::vector<std::unique_ptr<PointInfo>> records;
    std::vector<PointInfo*> byBuilder, byRule;
    for (double time : startTimes) {
        records.emplace_back(new PointInfo{time, 0, {}, {}, kv_spline::LINEAR, false});
        byBuilder.push_back(records.back().get());
    }
    byRule = byBuilder;
    OrderedBuilder builder(byBuilder);
    for (double time : times) {
        records.emplace_back(new PointInfo{time, 0, {}, {}, kv_spline::LINEAR, false});
        builder.insert(records.back().get());
        insertOrdered(byRule, records.back().get());
    }
    ASSERT_EQ(byBuilder, byRule);
}

TEST(OrderedBuilder, BuildsTheListInsertOrderedBuilds)
{
    const std::vector<std::vector<double>> cases = {
        {}, {1, 2, 3}, {1, 1, 1}, {1, 2, 2, 3, 3}, {3, 2, 1}, {nan, 1, 2}, {1, 2, nan, 3},
        {1, nan, nan, 0}, {-0.0, 0.0, -0.0}};
    for (const auto& times : cases)
        expectBuilderMatchesRule({}, times);
    expectBuilderMatchesRule({1, 5, 3}, {4, 6});  // an unsorted start: no fast path

    // Mostly ascending, with repeats, steps back and unusual times.
    std::mt19937 random(20240611u);
    const double unusual[] = {nan, -0.0, 0.0, inf, -inf};
    for (int round = 0; round < 4000; ++round) {
        SCOPED_TRACE(round);
        std::vector<double> times;
        double time = 0.0;
        for (int n = static_cast<int>(random() % 41); n > 0; --n) {
            const unsigned step = random() % 10;
            if (step == 9)
                times.push_back(unusual[random() % 5]);
            else
                times.push_back(time += step < 4 ? 1.0 : step >= 7 ? -2.0 : 0.0);
        }
        expectBuilderMatchesRule({}, times);
    }
}

}  // namespace
