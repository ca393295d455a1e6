#include "controlpoints.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "splinebase.h"

namespace {

using exprcurve_detail::insertOrdered;
using exprcurve_detail::OrderedBuilder;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// Records at the given times, kept alive by the test.
std::vector<std::unique_ptr<PointInfo>> recordsAt(const std::vector<double>& times)
{
    std::vector<std::unique_ptr<PointInfo>> records;
    for (double time : times) {
        records.emplace_back(new PointInfo());
        records.back()->time = time;
    }
    return records;
}

std::vector<PointInfo*> builtByInsertOrdered(const std::vector<std::unique_ptr<PointInfo>>& records)
{
    std::vector<PointInfo*> list;
    for (const auto& record : records)
        insertOrdered(list, record.get());
    return list;
}

std::vector<PointInfo*> builtByBuilder(const std::vector<std::unique_ptr<PointInfo>>& records)
{
    std::vector<PointInfo*> list;
    OrderedBuilder builder(list);
    for (const auto& record : records)
        builder.insert(record.get());
    return list;
}

// Random times drawn mostly ascending, with many repeats, occasional steps
// back and, when asked, NaN times.
std::vector<double> randomTimes(std::mt19937& random, bool withNaN)
{
    std::uniform_int_distribution<int> length(0, 40);
    std::uniform_int_distribution<int> move(0, 9);
    constexpr double inf = std::numeric_limits<double>::infinity();
    const std::vector<double> unusualTimes = {nan, -0.0, 0.0, inf, -inf};
    std::uniform_int_distribution<std::size_t> unusual(0, unusualTimes.size() - 1);
    std::vector<double> times;
    double time = 0.0;
    for (int n = length(random); n > 0; --n) {
        const int step = move(random);
        if (step == 9) {
            const double value = unusualTimes[unusual(random)];
            if (withNaN || !std::isnan(value))
                times.push_back(value);
            continue;
        }
        if (step < 4)
            time += 1.0;  // ascending
        else if (step >= 7)
            time -= 2.0;  // a step back
        times.push_back(time);  // steps 4 to 6 repeat the last time
    }
    return times;
}

TEST(OrderedBuilder, BuildsTheListInsertOrderedBuildsOnRandomData)
{
    std::mt19937 random(20240611u);
    for (int round = 0; round < 4000; ++round) {
        const auto records = recordsAt(randomTimes(random, round % 2 == 0));
        ASSERT_EQ(builtByBuilder(records), builtByInsertOrdered(records)) << "round " << round;
    }
}

TEST(OrderedBuilder, MatchesInsertOrderedOnHandPickedOrders)
{
    const std::vector<std::vector<double>> cases = {
        {},
        {1, 2, 3},
        {1, 1, 1},        // equal times arrive in reverse
        {1, 2, 2, 3, 3},  // equal times after an ascending run
        {3, 2, 1},
        {nan, 1, 2},      // NaN first: no fast path afterwards
        {1, 2, nan, 3},   // NaN in the middle goes to the front; 3 then stops at it
        {1, nan, nan, 0},
        {-0.0, 0.0, -0.0},
    };
    for (const auto& times : cases) {
        const auto records = recordsAt(times);
        EXPECT_EQ(builtByBuilder(records), builtByInsertOrdered(records)) << times.size();
    }
}

TEST(OrderedBuilder, ContinuesAListItWasGivenAsInsertOrderedWould)
{
    const auto existing = recordsAt({1, 5, 3});  // unsorted: no fast path
    const auto added = recordsAt({4, 6});  // 4 lies beyond the last point only
    std::vector<PointInfo*> byBuilder = {existing[0].get(), existing[1].get(), existing[2].get()};
    std::vector<PointInfo*> byRule = byBuilder;
    OrderedBuilder builder(byBuilder);
    for (const auto& record : added) {
        builder.insert(record.get());
        insertOrdered(byRule, record.get());
    }
    EXPECT_EQ(byBuilder, byRule);
}

}  // namespace
