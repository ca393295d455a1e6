#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

#include "curve/point_fields.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "splinebase.h"

namespace {

// Random curves of every segment kind and mode, with equal times, sampled at
// shuffled or sorted times that include the points' own, NaN and infinity;
// the expression path must also leave "t" and "f" as one-by-one evaluation does.
TEST(CurveSampling, MatchesSingleTimeEvaluation)
{
    std::mt19937 random(20261123u);
    const auto uniform = [&](double low, double high) { return std::uniform_real_distribution<double>(low, high)(random); };
    double time = 0.0, scaled = 0.0;
    ASSERT_TRUE(FunctionParserBase::instance().insertKey("t", &time));
    ASSERT_TRUE(FunctionParserBase::instance().insertKey("f", &scaled));
    FunctionFloatVariableDouble timeLeaf(&time);
    for (int round = 0; round < 60; ++round) {
        SplineBase curve;
        double t = uniform(-10.0, 10.0);
        for (int i = static_cast<int>(random() % 8); i > 0; --i)
            curve.addPoint(PointInfo{t += random() % 3 == 0 ? 0.0 : uniform(0.01, 3.0), uniform(-5, 5),
                                     {uniform(-2, 2), uniform(-2, 2)},
                                     {uniform(-1, 1), uniform(-1, 1), uniform(-1, 1), uniform(0, 0.6), uniform(0, 0.6)},
                                     kv_spline::interpolationType(random() % 5), false});
        curve.preExtrapolation = static_cast<int>(random() % 6);
        curve.postExtrapolation = static_cast<int>(random() % 6);
        std::vector<double> times = point_fields::timesOf(curve);
        for (int i = 0; i < 40; ++i)
            times.push_back(uniform(t - 25.0, t + 25.0));
        times.insert(times.end(), {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()});
        round % 2 == 0 ? std::sort(times.begin(), times.end()) : std::shuffle(times.begin(), times.end(), random);
        std::vector<double> oneByOne, withExpression, after;
        for (double at : times)
            oneByOne.push_back(curve(at));
        time = 0.125, scaled = -3.0;
        for (double at : times)
            withExpression.push_back(curve(at, &timeLeaf, 2.5));
        withExpression.insert(withExpression.end(), {time, scaled});
        time = 0.125, scaled = -3.0;
        after = curve.sample(times, &timeLeaf, 2.5);
        after.insert(after.end(), {time, scaled});
        EXPECT_EQ(point_fields::bitsOf(curve.sample(times)), point_fields::bitsOf(oneByOne)) << round;
        EXPECT_EQ(point_fields::bitsOf(after), point_fields::bitsOf(withExpression)) << round;
    }
    FunctionParserBase::instance().removeKey("t");
    FunctionParserBase::instance().removeKey("f");
}

}  // namespace
