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
    const std::unique_ptr<SplineBase> curve = point_fields::curveOf({{0, 0, 1}, {2, 4, kv_spline::LINEAR}});
};

// Results, what "t" and "f" hold afterwards, and the times the expression
// is shown, in the order it is evaluated.
TEST_F(ExpressionCurve, ExpressionSeesTheTimesInOrderAndKeysHoldTheLastOne)
{
    SplineBase empty;
    empty.defaultValue = 1.5;
    EXPECT_EQ(empty(3.0, nullptr, 25.0), 1.5);
    const double before = 2.0 + -probe;  // the linear path steps "t" back from the last time
    const struct { int pre, post; double t, result, timeAfter, scaledAfter; std::vector<double> seen; } cases[] = {
        {1, 1, 1.0, 3.0, 1.0, -7.0, {1.0}},  // inside: keys as the caller left them
        {1, 1, 3.0, 6.0, 2.0, 50.0, {2.0}},  {1, 2, 3.0, 3.0, 1.0, 25.0, {1.0}},
        {1, 3, 3.0, 9.0, 2.0, 50.0, {1.0, 0.0, 2.0}},  // cycle with offset: t', first, last
        {1, 8, 3.0, 9.0, 2.0, 50.0, {1.0, 0.0, 2.0}},  // unknown: as cycle with offset
        {1, 4, 3.0, ((3.0 - 2.0) * (2.0 + (2.0 - before) / probe)) + 4.0 + 2.0, before, before * 25.0, {2.0, before}},
        {1, 0, 3.0, 0.0, 1.0, -7.0, {}},     {0, 1, -1.0, 0.0, 1.0, -7.0, {}}, {1, 1, -1.0, 0.0, 0.0, 0.0, {0.0}},
        {6, 1, 0.0, 0.0, 0.0, 0.0, {0.0}},  // the first point's own time is before
        {1, 1, nan, 0.0, 0.0, 0.0, {0.0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.pre << " " << c.post << " " << c.t);
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
    const struct { int kind; double x, stored; } cases[] = {{KEY_BOOL, 0.0, 0},   {KEY_BOOL, -0.5, 1},  {KEY_BOOL, nan, 1},
                 {KEY_INT, 2.7, 2},    {KEY_INT, -2.7, -2},  {KEY_INT, nan, 0},
                 {KEY_INT, 1e300, std::numeric_limits<int>::max()},
                 {KEY_INT, -1e300, std::numeric_limits<int>::min()},
                 {KEY_FLOAT, 0.1, 0.1f}, {9, 0.1, 4.0}};  // unknown kind: untouched
    for (const char* name : {"t", "f"}) {
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::Message() << name << " " << c.kind << " " << c.x);
            bool flag = c.x == 0.0;
            int whole = 99;
            float single = 0.0f;
            double unknownKind = 4.0;
            void* const variables[] = {&flag, &whole, &single, &unknownKind};
            bind(name, c.kind, variables[std::min(c.kind, 3)]);
            (*point_fields::curveOf({{c.x, 0, 1}}))(c.x, &zero, 1.0);  // the before-the-curve path
            const double read[] = {double(flag), double(whole), double(single), unknownKind};
            EXPECT_EQ(read[std::min(c.kind, 3)], c.stored);
        }
        SetUp();
    }
    int whole = 0;
    bind("t", KEY_INT, &whole);  // an int "t" drops from 2 to 1: the expression's slope is 1 / probe
    FunctionFloatVariableInt wholeLeaf(&whole);
    EXPECT_EQ(evaluateAt(3.0, 1, 4, &wholeLeaf), ((3.0 - 2.0) * (2.0 + (2.0 - 1.0) / probe)) + 4.0 + 2.0);
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
