#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "curve/point_fields.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "splinebase.h"

namespace {

using kv_spline::EXTRAPOLATE_CONSTANT;
using kv_spline::EXTRAPOLATE_CYCLE;
using kv_spline::EXTRAPOLATE_CYCLE_OFFSET;
using kv_spline::EXTRAPOLATE_LINEAR;
using kv_spline::EXTRAPOLATE_ZERO;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double probe = 0.0010000000474974513;  // 0.001f widened

// The times the expression is shown, in the order it is evaluated.
class TimeRecorder : public FunctionFloatBase {
public:
    explicit TimeRecorder(const double* time) : time(time) {}
    double operator()() const override
    {
        seen.push_back(*time);
        return *time;
    }
    const double* time;
    mutable std::vector<double> seen;
};

// Binds "t" and "f" of the process-wide parser to its own doubles for the
// duration of a test; the curve is (0, 0) and (2, 4), the second LINEAR.
class ExpressionCurve : public ::testing::Test {
protected:
    void SetUp() override
    {
        bind("t", KEY_DOUBLE, &time);
        bind("f", KEY_DOUBLE, &scaled);
    }
    void TearDown() override
    {
        parser().removeKey("t");
        parser().removeKey("f");
    }
    static FunctionParserBase& parser() { return FunctionParserBase::instance(); }
    static void bind(const std::string& name, int kind, void* variable)
    {
        parser().removeKey(name);
        ASSERT_TRUE(parser().insertKey(FunctionParserBase::keyStruct{name, kind, variable}));
    }
    double evaluateAt(double t, int pre, int post, FunctionFloatBase* expression)
    {
        time = 1.0, scaled = -7.0;
        std::tie(curve->preExtrapolation, curve->postExtrapolation) = std::make_pair(pre, post);
        return (*curve)(t, expression, 25.0);
    }

    double time = 1.0, scaled = -7.0;
    FunctionFloatConstant zero{0.0};
    const std::unique_ptr<SplineBase> curve =
        point_fields::curveOf({{0, 0, kv_spline::BEZIER}, {2, 4, kv_spline::LINEAR}});
};

// Results, what "t" and "f" hold afterwards, and the times the expression
// is shown, in the order it is evaluated.
TEST_F(ExpressionCurve, ExpressionSeesTheTimesInOrderAndKeysHoldTheLastOne)
{
    SplineBase empty;
    empty.defaultValue = 1.5;
    EXPECT_EQ(empty(3.0, nullptr, 25.0), 1.5);
    const double before = 2.0 + -probe;  // the linear path steps "t" back from the last time
    const double linear = ((3.0 - 2.0) * (2.0 + (2.0 - before) / probe)) + 4.0 + 2.0;
    const struct {
        const char* name;
        int pre, post;
        double t, result, timeAfter, scaledAfter;
        std::vector<double> seen;
    } cases[] = {
        {"inside: the keys as the caller left them", EXTRAPOLATE_CONSTANT, EXTRAPOLATE_CONSTANT, 1.0, 3.0,
         1.0, -7.0, {1.0}},
        {"hold after: shown the last time", EXTRAPOLATE_CONSTANT, EXTRAPOLATE_CONSTANT, 3.0, 6.0, 2.0, 50.0,
         {2.0}},
        {"cycle after: shown the wrapped time", EXTRAPOLATE_CONSTANT, EXTRAPOLATE_CYCLE, 3.0, 3.0, 1.0, 25.0,
         {1.0}},
        {"cycle with offset: wrapped, first, last", EXTRAPOLATE_CONSTANT, EXTRAPOLATE_CYCLE_OFFSET, 3.0, 9.0,
         2.0, 50.0, {1.0, 0.0, 2.0}},
        {"an unknown mode after: as cycle with offset", EXTRAPOLATE_CONSTANT, 8, 3.0, 9.0, 2.0, 50.0,
         {1.0, 0.0, 2.0}},
        {"linear after: the last time, then a step back", EXTRAPOLATE_CONSTANT, EXTRAPOLATE_LINEAR, 3.0,
         linear, before, before * 25.0, {2.0, before}},
        {"zero after: the expression is not shown", EXTRAPOLATE_CONSTANT, EXTRAPOLATE_ZERO, 3.0, 0.0, 1.0,
         -7.0, {}},
        {"zero before: the expression is not shown", EXTRAPOLATE_ZERO, EXTRAPOLATE_CONSTANT, -1.0, 0.0, 1.0,
         -7.0, {}},
        {"hold before: shown the first time", EXTRAPOLATE_CONSTANT, EXTRAPOLATE_CONSTANT, -1.0, 0.0, 0.0,
         0.0, {0.0}},
        {"the first point's own time is before", 6, EXTRAPOLATE_CONSTANT, 0.0, 0.0, 0.0, 0.0, {0.0}},
        {"a NaN time is before", EXTRAPOLATE_CONSTANT, EXTRAPOLATE_CONSTANT, nan, 0.0, 0.0, 0.0, {0.0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TimeRecorder recorder(&time);
        EXPECT_EQ(evaluateAt(c.t, c.pre, c.post, &recorder), c.result);
        EXPECT_EQ(std::make_pair(time, scaled), std::make_pair(c.timeAfter, c.scaledAfter));
        EXPECT_EQ(recorder.seen, c.seen);
    }
}

// Each kind stores the written time its own way, for "t" and "f" alike; the
// linear path steps it back in that kind too.
TEST_F(ExpressionCurve, TimeIsStoredInTheKindOfTheKey)
{
    const struct {
        const char* name;
        int kind;
        double x, stored;
    } cases[] = {
        {"bool: zero is false", KEY_BOOL, 0.0, 0},
        {"bool: any other value is true", KEY_BOOL, -0.5, 1},
        {"bool: NaN is true", KEY_BOOL, nan, 1},
        {"int: truncated toward zero", KEY_INT, 2.7, 2},
        {"int: negative truncated toward zero", KEY_INT, -2.7, -2},
        {"int: NaN is zero", KEY_INT, nan, 0},
        {"int: too large saturates", KEY_INT, 1e300, std::numeric_limits<int>::max()},
        {"int: too small saturates", KEY_INT, -1e300, std::numeric_limits<int>::min()},
        {"float: rounded to single precision", KEY_FLOAT, 0.1, 0.1f},
        {"an unknown kind is left untouched", 9, 0.1, 4.0},
    };
    for (const char* name : {"t", "f"}) {
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::Message() << name << ": " << c.name);
            bool flag = c.x == 0.0;
            int whole = 99;
            float single = 0.0f;
            double unknownKind = 4.0;
            void* const variables[] = {&flag, &whole, &single, &unknownKind};
            bind(name, c.kind, variables[std::min(c.kind, 3)]);
            // The before-the-curve path.
            (*point_fields::curveOf({{c.x, 0, kv_spline::BEZIER}}))(c.x, &zero, 1.0);
            const double read[] = {double(flag), double(whole), double(single), unknownKind};
            EXPECT_EQ(read[std::min(c.kind, 3)], c.stored);
        }
        SetUp();
    }
    int whole = 0;
    bind("t", KEY_INT, &whole);  // an int "t" drops from 2 to 1: the expression's slope is 1 / probe
    FunctionFloatVariableInt wholeLeaf(&whole);
    EXPECT_EQ(evaluateAt(3.0, EXTRAPOLATE_CONSTANT, EXTRAPOLATE_LINEAR, &wholeLeaf),
              ((3.0 - 2.0) * (2.0 + (2.0 - 1.0) / probe)) + 4.0 + 2.0);
    EXPECT_EQ(whole, 1);
}

// A host may hand the curve the very variable behind "t" as the time. The
// time is read where it is used, so linear extrapolation measures from where
// the expression's writes left that variable, not from the time passed in.
TEST_F(ExpressionCurve, TheKeysOwnVariableAsTheTimeIsReadAfterTheWrites)
{
    curve->postExtrapolation = kv_spline::EXTRAPOLATE_LINEAR;
    time = 3.0;
    TimeRecorder recorder(&time);
    const double value = (*curve)(time, &recorder, 25.0);
    const double before = 2.0 + -probe;
    EXPECT_EQ(time, before);
    EXPECT_EQ(value, ((before - 2.0) * (2.0 + (2.0 - before) / probe)) + 4.0 + 2.0);
}

}  // namespace
