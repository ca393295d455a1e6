#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "curve/point_fields.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "splinebase.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

double uniform(std::mt19937& random, double low, double high)
{
    return std::uniform_real_distribution<double>(low, high)(random);
}

// A random ease pair (easeFrom, easeTo): none, some (so that a segment's sum
// may or may not pass the threshold), or one negative, which switches the
// segment's ease off.
PointInfo::TcbData randomTcb(std::mt19937& random)
{
    const double tension = uniform(random, -1, 1), continuity = uniform(random, -1, 1),
                 bias = uniform(random, -1, 1);
    switch (random() % 4) {
    case 0: return {tension, continuity, bias, 0.0, 0.0};
    case 1: return {tension, continuity, bias, uniform(random, -0.5, 0.0), uniform(random, 0, 0.6)};
    case 2: return {tension, continuity, bias, 4e-6, 4e-6};
    default: return {tension, continuity, bias, uniform(random, 0, 0.6), uniform(random, 0, 0.6)};
    }
}

// Up to `maxPoints` points of every segment kind (4 stands for the codes
// outside the enumeration), a third of them sharing the previous time, an
// occasional -0.0 or NaN value; random out-of-range modes (5 is unlisted).
// Returns the last time.
double fillRandomCurve(SplineBase& curve, std::mt19937& random, int maxPoints)
{
    double t = uniform(random, -10.0, 10.0);
    for (int i = static_cast<int>(random() % (maxPoints + 1)); i > 0; --i) {
        t += random() % 3 == 0 ? 0.0 : uniform(random, 0.01, 3.0);
        const unsigned special = random() % 16;
        const double value = special == 0 ? -0.0 : special == 1 ? nan : uniform(random, -5, 5);
        curve.addPoint(PointInfo{t,
                                 value,
                                 {uniform(random, -2, 2), uniform(random, -2, 2)},
                                 randomTcb(random),
                                 kv_spline::interpolationType(random() % 5),
                                 false});
    }
    curve.preExtrapolation = static_cast<int>(random() % 6);
    curve.postExtrapolation = static_cast<int>(random() % 6);
    return t;
}

std::vector<double> oneByOne(const SplineBase& curve, const std::vector<double>& times)
{
    std::vector<double> values;
    for (double at : times)
        values.push_back(curve(at));
    return values;
}

// Random curves of every segment kind and mode, with equal times, sampled at
// shuffled or sorted times that include the points' own, NaN and infinity;
// the expression path must also leave "t" and "f" as one-by-one evaluation does.
TEST(CurveSampling, MatchesSingleTimeEvaluation)
{
    std::mt19937 random(20261123u);
    double time = 0.0, scaled = 0.0;
    ASSERT_TRUE(FunctionParserBase::instance().insertKey("t", &time));
    ASSERT_TRUE(FunctionParserBase::instance().insertKey("f", &scaled));
    FunctionFloatVariableDouble timeLeaf(&time);
    for (int round = 0; round < 60; ++round) {
        SplineBase curve;
        const double t = fillRandomCurve(curve, random, 7);
        std::vector<double> times = point_fields::timesOf(curve);
        for (int i = 0; i < 40; ++i)
            times.push_back(uniform(random, t - 25.0, t + 25.0));
        times.insert(times.end(), {nan, infinity});
        if (round % 2 == 0)
            std::sort(times.begin(), times.end());
        else
            std::shuffle(times.begin(), times.end(), random);
        std::vector<double> withExpression, after;
        time = 0.125, scaled = -3.0;
        for (double at : times)
            withExpression.push_back(curve(at, &timeLeaf, 2.5));
        withExpression.insert(withExpression.end(), {time, scaled});
        time = 0.125, scaled = -3.0;
        after = curve.sample(times, &timeLeaf, 2.5);
        after.insert(after.end(), {time, scaled});
        EXPECT_EQ(point_fields::bitsOf(curve.sample(times)), point_fields::bitsOf(oneByOne(curve, times)))
            << round;
        EXPECT_EQ(point_fields::bitsOf(after), point_fields::bitsOf(withExpression)) << round;
    }
    FunctionParserBase::instance().removeKey("t");
    FunctionParserBase::instance().removeKey("f");
}

// Ascending times dense enough that many follow one another inside a
// segment, in runs of every length, odd and even, that start and end on the
// points' own times or just past them, repeat times, and are broken by an
// occasional NaN or a step back to a segment's start; the whole-run
// evaluation must give each time's own value, also when the times are
// overwritten by the values in place.
TEST(CurveSampling, RunsInsideSegmentsMatchSingleTimeEvaluation)
{
    std::mt19937 random(7321u);
    for (int round = 0; round < 300; ++round) {
        SplineBase curve;
        const double last = fillRandomCurve(curve, random, 12);
        const double first = curve.controlPoints.empty() ? last : curve.controlPoints.front()->time;
        const std::vector<double> keys = point_fields::timesOf(curve);
        std::vector<double> times = keys;
        for (double key : keys)
            times.push_back(std::nextafter(key, infinity));
        for (int i = static_cast<int>(random() % 120); i > 0; --i)
            times.push_back(uniform(random, first - 3.0, last + 3.0));
        for (int i = static_cast<int>(random() % 4); i > 0; --i)
            times.push_back(times[random() % times.size()]);
        std::sort(times.begin(), times.end());
        if (round % 3 == 0)
            times.insert(times.begin() + static_cast<long>(random() % (times.size() + 1)), nan);
        // A segment's own start time, right after times inside it, belongs
        // to the segment before; as many as four times inside put it at
        // either place in a pair.
        if (round % 3 == 1)
            for (std::size_t k = 1; k < keys.size(); ++k) {
                times.insert(times.end(), 1 + random() % 4, (keys[k - 1] + keys[k]) / 2);
                times.push_back(keys[k - 1]);
            }

        const std::vector<std::uint64_t> expected = point_fields::bitsOf(oneByOne(curve, times));
        EXPECT_EQ(point_fields::bitsOf(curve.sample(times)), expected) << round;
        std::vector<double> inPlace = times;
        curve.sample(inPlace.data(), inPlace.data(), inPlace.size());
        EXPECT_EQ(point_fields::bitsOf(inPlace), expected) << round;
    }
}

}  // namespace
