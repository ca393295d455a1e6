#include "controlpoints.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "splinebase.h"

namespace {

// Random lists, mostly ascending with repeats, steps back and unusual times:
// the builder must give exactly the list that insertOrdered gives.
TEST(OrderedBuilder, BuildsTheListInsertOrderedBuilds)
{
    constexpr double inf = std::numeric_limits<double>::infinity();
    const double unusual[] = {std::numeric_limits<double>::quiet_NaN(), -0.0, 0.0, inf, -inf};
    std::mt19937 random(20240611u);
    for (int round = 0; round < 300; ++round) {
        std::vector<std::unique_ptr<PointInfo>> records;
        std::vector<PointInfo*> byBuilder, byRule;
        exprcurve_detail::OrderedBuilder builder(byBuilder);
        double time = 0.0;
        for (int n = static_cast<int>(random() % 41); n > 0; --n) {
            const unsigned step = random() % 10;
            const double at = step == 9 ? unusual[random() % 5] : (time += step < 4 ? 1.0 : step >= 7 ? -2.0 : 0.0);
            records.emplace_back(new PointInfo{at, 0, {}, {}, kv_spline::LINEAR, false});
            builder.insert(records.back().get());
            exprcurve_detail::insertOrdered(byRule, records.back().get());
        }
        ASSERT_EQ(byBuilder, byRule) << round;
    }
}

}  // namespace
