#include "compiledcurve.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "curve/point_fields.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "splinebase.h"

namespace {

using exprcurve::CompiledCurve;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

// Bit for bit, except that any NaN matches any NaN: where two NaNs meet in
// an addition, which one survives depends on the operand order the compiler
// chose for that instruction, which two code paths need not share.
bool same(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

double uniform(std::mt19937& random, double low, double high)
{
    return std::uniform_real_distribution<double>(low, high)(random);
}

enum class ListShape { Sorted, Unsorted, WithNaN };

// A random curve of the given shape: times on a coarse grid (so that equal
// times and times exactly at points are common), +-0.0 and infinite times,
// every segment kind and unknown type codes, any ease, every mode and
// unknown mode codes, NaN and -0.0 values, and sometimes no points at all.
// Debug builds assert what only finite, ordered data promises, in the plain
// evaluation as much as in the snapshot, so: a segment with an infinite or
// NaN time at either end is made STEP or LINEAR (a Hermite segment asserts
// its position lies in [0, 1]), and a list that ends before it starts or at
// an infinite time does not cycle after its end (at least one whole period
// lies behind every time after a curve that ends after it starts).
std::unique_ptr<SplineBase> randomCurve(std::mt19937& random, ListShape shape, int maxPoints)
{
    auto curve = std::make_unique<SplineBase>();
    const int count = static_cast<int>(random() % (maxPoints + 1));
    std::vector<PointInfo*>& points = curve->controlPoints;
    for (int i = 0; i < count; ++i) {
        const unsigned pick = random() % 24;
        double time = std::round(uniform(random, -8, 8) * 4) / 4;
        if (pick == 0)
            time = random() % 2 ? inf : -inf;
        else if (pick == 1)
            time = random() % 2 ? 0.0 : -0.0;
        const unsigned special = random() % 16;
        const double value = special == 0 ? -0.0 : special == 1 ? nan : uniform(random, -5, 5);
        const double easeFrom = random() % 3 ? 0.0 : uniform(random, -0.1, 0.8);
        const double easeTo = random() % 3 ? 0.0 : uniform(random, -0.1, 0.8);
        const int type = static_cast<int>(random() % 7) - 1;  // -1 and 4, 5: unknown codes
        points.push_back(new PointInfo{
            time,
            value,
            {uniform(random, -2, 2), uniform(random, -2, 2)},
            {uniform(random, -1, 1), uniform(random, -1, 1), uniform(random, -1, 1), easeFrom, easeTo},
            kv_spline::interpolationType(type),
            random() % 2 == 0});
    }
    if (shape != ListShape::Unsorted)
        std::stable_sort(points.begin(), points.end(),
                         [](const PointInfo* a, const PointInfo* b) { return a->time < b->time; });
    if (shape == ListShape::WithNaN && count > 0)
        for (int i = 1 + static_cast<int>(random() % 3); i > 0; --i)
            points[random() % points.size()]->time = nan;
    for (std::size_t i = 1; i < points.size(); ++i)
        if (!std::isfinite(points[i - 1]->time) || !std::isfinite(points[i]->time))
            points[i]->type = random() % 2 ? kv_spline::STEP : kv_spline::LINEAR;
    curve->preExtrapolation = static_cast<int>(random() % 7) - 1;
    curve->postExtrapolation = static_cast<int>(random() % 7) - 1;
    const int post = curve->postExtrapolation;
    const bool cycles = post != kv_spline::EXTRAPOLATE_ZERO && post != kv_spline::EXTRAPOLATE_CONSTANT &&
                        post != kv_spline::EXTRAPOLATE_LINEAR;
    if (cycles && count > 1 &&
        (!std::isfinite(points.front()->time) || !std::isfinite(points.back()->time) ||
         points.back()->time < points.front()->time))
        curve->postExtrapolation = kv_spline::EXTRAPOLATE_LINEAR;
    curve->defaultValue = uniform(random, -3, 3);
    return curve;
}

// Each point's time and the times just beside it, midpoints, times inside,
// before and after the curve, and the special times.
std::vector<double> probeTimes(std::mt19937& random, const SplineBase& curve)
{
    std::vector<double> times = {nan, inf, -inf, 0.0, -0.0};
    for (std::size_t i = 0; i < curve.controlPoints.size(); ++i) {
        const double time = curve.controlPoints[i]->time;
        times.insert(times.end(), {time, std::nextafter(time, inf), std::nextafter(time, -inf)});
        if (i > 0)
            times.push_back((time + curve.controlPoints[i - 1]->time) / 2);
    }
    for (int i = 0; i < 30; ++i)
        times.push_back(uniform(random, -30, 30));
    return times;
}

// Every shape of list, every probe time, and the cursor in every state a host
// may leave it in: following ascending or descending times, stale, taken
// from another curve, or any number at all.
TEST(CompiledCurve, AnswersAsTheCurveForEveryListAndHint)
{
    std::mt19937 random(31337u);
    std::size_t foreignHint = 0;
    for (int round = 0; round < 600; ++round) {
        const ListShape shape = static_cast<ListShape>(round % 3);
        const auto curve = randomCurve(random, shape, round % 10 == 0 ? 40 : 9);
        const CompiledCurve compiled(*curve);
        ASSERT_EQ(compiled.size(), curve->controlPoints.size());
        std::vector<double> times = probeTimes(random, *curve);
        std::vector<double> expected;
        for (const double t : times)
            expected.push_back((*curve)(t));

        const auto check = [&](const char* pattern, const std::vector<double>& in,
                               const std::vector<double>& expect, const auto& lookUp) {
            for (std::size_t i = 0; i < in.size(); ++i) {
                const double value = lookUp(in[i]);
                if (!same(value, expect[i])) {
                    ADD_FAILURE() << pattern << ", round " << round << ", t = " << in[i] << ": " << value
                                  << " instead of " << expect[i];
                    return;
                }
            }
        };
        check("no hint", times, expected, [&](double t) { return compiled(t); });
        std::size_t hint = 0;
        const auto followed = [&](double t) { return compiled(t, hint); };
        const auto stale = [&](double t) {
            std::size_t any = random() % 4 == 0 ? SIZE_MAX - random() % 3 : random() % (compiled.size() + 3);
            return compiled(t, any);
        };
        const auto foreign = [&](double t) { return compiled(t, foreignHint); };
        check("random order, hint carried", times, expected, followed);
        check("stale hints", times, expected, stale);
        check("another curve's hint", times, expected, foreign);

        std::vector<std::size_t> order(times.size());
        for (std::size_t i = 0; i < order.size(); ++i)
            order[i] = i;
        std::sort(order.begin(), order.end(),
                  [&](std::size_t a, std::size_t b) { return times[a] < times[b]; });
        std::vector<double> ascending, ascendingExpected;
        for (const std::size_t i : order) {
            ascending.push_back(times[i]);
            ascendingExpected.push_back(expected[i]);
        }
        hint = 0;
        check("ascending, hint carried", ascending, ascendingExpected, followed);
        std::reverse(ascending.begin(), ascending.end());
        std::reverse(ascendingExpected.begin(), ascendingExpected.end());
        check("descending, hint carried", ascending, ascendingExpected, followed);
    }
}

// Bulk sampling of the snapshot, and of the curve itself, which goes through
// the same code: ascending times dense enough to fill runs inside segments,
// broken by NaN and by steps back; random times; in place.
TEST(CompiledCurve, SampleMatchesSingleTimeEvaluation)
{
    std::mt19937 random(8086u);
    for (int round = 0; round < 400; ++round) {
        const auto curve = randomCurve(random, static_cast<ListShape>(round % 3), 14);
        const CompiledCurve compiled(*curve);
        std::vector<double> times = probeTimes(random, *curve);
        for (int i = static_cast<int>(random() % 200); i > 0; --i)
            times.push_back(std::round(uniform(random, -12, 12) * 64) / 64);
        if (round % 4 != 3)
            std::sort(times.begin(), times.end());
        if (round % 4 == 1)  // steps back to where an earlier time stood
            for (int i = 0; i < 5; ++i)
                times.insert(times.begin() + static_cast<long>(random() % times.size()),
                             times[random() % times.size()]);

        std::vector<double> bySample(times.size()), inPlace = times;
        compiled.sample(times.data(), bySample.data(), times.size());
        compiled.sample(inPlace.data(), inPlace.data(), inPlace.size());
        const std::vector<double> byCurve = curve->sample(times);
        for (std::size_t i = 0; i < times.size(); ++i) {
            const double expected = (*curve)(times[i]);
            ASSERT_TRUE(same(bySample[i], expected))
                << round << " t=" << times[i] << " " << bySample[i] << " vs " << expected;
            ASSERT_TRUE(same(inPlace[i], expected)) << round << " in place, t=" << times[i];
            ASSERT_TRUE(same(byCurve[i], expected)) << round << " SplineBase::sample, t=" << times[i];
        }
    }
}

// The snapshot owns its copy: editing, re-timing, deleting the curve's records
// or the curve itself changes nothing it answers; rebuild takes the new state.
TEST(CompiledCurve, SnapshotIsIndependentOfTheCurve)
{
    auto curve = point_fields::curveOf({{0, 1, kv_spline::BEZIER},
                                        {1, 3, kv_spline::TCB},
                                        {2, -1, kv_spline::LINEAR},
                                        {4, 2, kv_spline::STEP}},
                                       kv_spline::EXTRAPOLATE_CONSTANT, kv_spline::EXTRAPOLATE_CYCLE_OFFSET);
    curve->controlPoints[1]->tcb = {0.5, 0.25, -0.5, 0.3, 0.2};
    const std::vector<double> times = {-1, 0, 0.5, 1, 1.5, 2, 3, 4, 5, 9.5};
    std::vector<double> before;
    for (const double t : times)
        before.push_back((*curve)(t));
    CompiledCurve compiled(*curve);
    CompiledCurve copied(compiled);

    curve->addPoint(0.75, 100.0);
    curve->setTime(curve->controlPoints[0], 3.5);
    curve->controlPoints[2]->value = -50.0;
    curve->controlPoints[3]->type = kv_spline::BEZIER;
    curve->preExtrapolation = kv_spline::EXTRAPOLATE_ZERO;
    curve->postExtrapolation = kv_spline::EXTRAPOLATE_LINEAR;
    curve->defaultValue = 8.0;
    std::vector<double> now(times.size());
    compiled.sample(times.data(), now.data(), times.size());
    EXPECT_EQ(point_fields::bitsOf(now), point_fields::bitsOf(before));
    std::size_t hint = 2;
    for (std::size_t i = 0; i < times.size(); ++i)
        EXPECT_EQ(point_fields::bitsOf({compiled(times[i]), compiled(times[i], hint)}),
                  point_fields::bitsOf({before[i], before[i]}));

    compiled.rebuild(*curve);
    EXPECT_EQ(compiled.size(), 5u);
    EXPECT_EQ(point_fields::bitsOf({compiled(2.25), compiled(-1.0)}),
              point_fields::bitsOf({(*curve)(2.25), (*curve)(-1.0)}));

    curve->removeAllControlPoints();
    curve.reset();  // every record gone
    for (std::size_t i = 0; i < times.size(); ++i)
        EXPECT_TRUE(same(copied(times[i]), before[i])) << times[i];
    const CompiledCurve moved(std::move(copied));
    EXPECT_TRUE(same(moved(1.5), before[4]));
    EXPECT_EQ(copied.size(), 0u);  // a moved-from snapshot is one of a curve without points
    EXPECT_EQ(copied(1.5), 0.0);
    EXPECT_EQ(CompiledCurve()(7.0), 0.0);
}

// ------------------------------------------------ the expression-driven form

// Records every time the expression is shown through "t", and returns a
// function of it.
class TimeRecorder : public FunctionFloatBase {
public:
    explicit TimeRecorder(const double* time) : time(time) {}
    double operator()() const override
    {
        seen.push_back(*time);
        return std::sin(*time) * 3.0;
    }
    const double* time;
    mutable std::vector<double> seen;
};

// The host variables behind "t" and "f", in every kind a key may have.
struct TimeVariables {
    double time = 0.0, scaled = 0.0;
    float timeFloat = 0.0f;
    int timeInt = 0;
    bool timeBool = false;

    std::vector<double> state() const { return {time, scaled, timeFloat, double(timeInt), double(timeBool)}; }
};

// The same value, the same writes of "t" and "f" and the same evaluations of
// the expression as curve(t, expression, timeScale), for every list shape and
// mode, with "t" bound as a double, float, int or bool, or missing.
TEST(CompiledCurve, ExpressionDrivenFormMatchesTheCurve)
{
    FunctionParserBase& parser = FunctionParserBase::instance();
    TimeVariables variables;
    TimeRecorder recorder(&variables.time);
    std::mt19937 random(2718u);
    for (int round = 0; round < 300; ++round) {
        parser.removeKey("t");
        parser.removeKey("f");
        switch (round % 5) {
        case 0: parser.insertKey("t", &variables.time); break;
        case 1: parser.insertKey("t", &variables.timeFloat); break;
        case 2: parser.insertKey("t", &variables.timeInt); break;
        case 3: parser.insertKey("t", &variables.timeBool); break;
        default: break;  // "t" missing
        }
        parser.insertKey("f", &variables.scaled);
        const auto curve = randomCurve(random, static_cast<ListShape>(round % 3), 8);
        const CompiledCurve compiled(*curve);
        const double timeScale = uniform(random, -3, 3);
        for (const double t : probeTimes(random, *curve)) {
            variables = TimeVariables{uniform(random, -2, 2), uniform(random, -2, 2), 0.5f, 3, true};
            const TimeVariables start = variables;
            recorder.seen.clear();
            const double expected = (*curve)(t, &recorder, timeScale);
            const std::vector<double> expectedState = variables.state(), expectedSeen = recorder.seen;
            variables = start;
            recorder.seen.clear();
            const double value = compiled(t, &recorder, timeScale);
            ASSERT_TRUE(same(value, expected)) << round << " t=" << t << ": " << value << " vs " << expected;
            ASSERT_EQ(point_fields::bitsOf(variables.state()), point_fields::bitsOf(expectedState))
                << round << " t=" << t;
            ASSERT_EQ(point_fields::bitsOf(recorder.seen), point_fields::bitsOf(expectedSeen))
                << round << " t=" << t;
        }
    }
    parser.removeKey("t");
    parser.removeKey("f");
}

}  // namespace
