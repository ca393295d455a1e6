// Bulk sampling against evaluation one time at a time, bit for bit, on random
// curves and random time arrays.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "splinebase.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

void expectSameBits(const std::vector<double>& expected, const std::vector<double>& actual,
                    const std::vector<double>& times)
{
    ASSERT_EQ(expected.size(), actual.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        ASSERT_TRUE(sameBits(expected[i], actual[i]))
            << "at time " << times[i] << ": " << expected[i] << " != " << actual[i];
}

// How a random curve's list may break the order that the bulk walk relies on.
enum class ListShape { Sorted, Unsorted, WithNaN };

class RandomCurves {
public:
    explicit RandomCurves(unsigned seed) : random(seed) {}

    // Sorted lists get every segment kind, unknown codes included, and every
    // out-of-range mode. The broken ones keep to what evaluation itself can
    // take in a debug build: a NaN time makes Hermite positions NaN and a
    // NaN first time makes cycling meaningless.
    void fill(SplineBase& curve, ListShape shape)
    {
        const int count = pick({0, 1, 2, 3, 5, 17, 64});
        double time = uniform(-10.0, 10.0);
        for (int i = 0; i < count; ++i) {
            PointInfo* point = new PointInfo();
            time += pick({0.0, 0.5, uniform(0.01, 3.0)});  // equal times too
            *point = PointInfo{time,
                               uniform(-5.0, 5.0),
                               {uniform(-2.0, 2.0), uniform(-2.0, 2.0)},
                               {uniform(-1.0, 1.0), uniform(-1.0, 1.0), uniform(-1.0, 1.0),
                                pick({0.0, 0.0, 0.25, 0.5, 0.7, -0.1}),
                                pick({0.0, 0.0, 0.25, 0.5, 0.7, -0.1})},
                               kv_spline::interpolationType(pick({0, 1, 2, 3, 7})),
                               false};
            if (shape == ListShape::WithNaN)
                point->type = kv_spline::interpolationType(pick({0, 3}));
            curve.addPoint(point);
        }
        curve.preExtrapolation = pick({0, 1, 2, 3, 4, 9});
        curve.postExtrapolation = pick({0, 1, 2, 3, 4, 9});
        std::vector<PointInfo*>& points = curve.controlPoints;
        if (shape == ListShape::Unsorted && points.size() >= 4)
            std::swap(points[1]->time, points[points.size() - 2]->time);
        if (shape == ListShape::WithNaN && !points.empty()) {
            points[pick({0, 1}) % points.size()]->time = nan;
            curve.postExtrapolation = pick({0, 1, 4});
        }
    }

    // Sorted, shuffled or descending; with the points' own times, whole
    // periods after the first point, NaN and both infinities among them.
    std::vector<double> times(const SplineBase& curve)
    {
        const std::vector<PointInfo*>& points = curve.controlPoints;
        const double first = points.empty() ? 0.0 : points.front()->time;
        const double last = points.empty() ? 1.0 : points.back()->time;
        const double span = last - first;
        std::vector<double> times;
        for (int i = 0; i < 200; ++i)
            times.push_back(uniform(first - span - 1.0, last + 3.0 * span + 1.0));
        for (const PointInfo* point : points)
            times.push_back(point->time);
        for (int periods = 1; periods <= 3; ++periods)
            times.push_back(first + span * periods);
        const int order = pick({0, 1, 2});
        if (order != 2)
            std::sort(times.begin(), times.end());
        if (order == 1)
            std::reverse(times.begin(), times.end());
        if (order == 2 || pick({0, 1}) == 1)
            std::shuffle(times.begin(), times.end(), random);
        for (double special : {nan, inf, -inf})
            times.insert(times.begin() + pick({0, 50, 100}), special);
        return times;
    }

private:
    template <typename T>
    T pick(std::initializer_list<T> choices)
    {
        std::uniform_int_distribution<std::size_t> index(0, choices.size() - 1);
        return choices.begin()[index(random)];
    }
    double uniform(double low, double high)
    {
        return std::uniform_real_distribution<double>(low, high)(random);
    }

    std::mt19937 random;
};

TEST(CurveSampling, MatchesSingleTimeEvaluation)
{
    RandomCurves curves(20261123);
    for (ListShape shape : {ListShape::Sorted, ListShape::Unsorted, ListShape::WithNaN}) {
        for (int round = 0; round < 300; ++round) {
            SplineBase curve;
            curve.defaultValue = 0.75;
            curves.fill(curve, shape);
            const std::vector<double> times = curves.times(curve);
            std::vector<double> expected;
            for (double t : times)
                expected.push_back(curve(t));
            expectSameBits(expected, curve.sample(times), times);

            std::vector<double> inPlace = times;  // values written over their own times
            curve.sample(inPlace.data(), inPlace.data(), inPlace.size());
            expectSameBits(expected, inPlace, times);
        }
    }
}

// Records, at each evaluation, the "t" and "f" variables it is shown, and
// answers with a value that depends on both.
class RecordingExpression : public FunctionFloatBase {
public:
    RecordingExpression(const double& time, const double& scaled) : time(time), scaled(scaled) {}

    double operator()() const override
    {
        seen.push_back(time);
        seen.push_back(scaled);
        return time * 0.5 - scaled;
    }

    mutable std::vector<double> seen;

private:
    const double& time;
    const double& scaled;
};

class ExpressionSampling : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(parser().insertKey("t", &time));
        ASSERT_TRUE(parser().insertKey("f", &scaled));
    }
    void TearDown() override
    {
        parser().removeKey("t");
        parser().removeKey("f");
    }
    static FunctionParserBase& parser() { return FunctionParserBase::instance(); }

    double time = 0.0;
    double scaled = 0.0;
};

TEST_F(ExpressionSampling, SameKeyWritesEvaluationsAndResults)
{
    RandomCurves curves(7);
    for (ListShape shape : {ListShape::Sorted, ListShape::Unsorted, ListShape::WithNaN}) {
        for (int round = 0; round < 150; ++round) {
            SplineBase curve;
            curves.fill(curve, shape);
            const std::vector<double> times = curves.times(curve);
            const double timeScale = 2.5;

            time = 0.125;
            scaled = -3.0;
            RecordingExpression oneByOne(time, scaled);
            std::vector<double> expected;
            for (double t : times)
                expected.push_back(curve(t, &oneByOne, timeScale));
            const double timeAfter = time;
            const double scaledAfter = scaled;

            time = 0.125;
            scaled = -3.0;
            RecordingExpression inBulk(time, scaled);
            expectSameBits(expected, curve.sample(times, &inBulk, timeScale), times);
            expectSameBits(oneByOne.seen, inBulk.seen, oneByOne.seen);
            EXPECT_TRUE(sameBits(time, timeAfter));
            EXPECT_TRUE(sameBits(scaled, scaledAfter));
        }
    }
}

}  // namespace
