#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "functionfloatbase.h"
#include "curve/point_fields.h"
#include "functionparserbase.h"
#include "splinebase.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double probe = 0.0010000000474974513;  // 0.001f widened

// Binds "t" and "f" of the process-wide parser to its own doubles for the
// duration of a test; the curve is (0, 0) and (2, 4), the second LINEAR.
class ExpressionCurve : public ::testing::Test {
protected:
    void SetUp() override
    {
        bindOwn();
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
    void bindOwn()
    {
        bind("t", KEY_DOUBLE, &time);
        bind("f", KEY_DOUBLE, &scaled);
    }

    double time = 1.0;
    double scaled = -7.0;
    FunctionFloatVariableDouble timeLeaf{&time};
    FunctionFloatConstant zero{0.0};
    const std::unique_ptr<SplineBase> curvePtr = point_fields::curveOf({{0, 0, 1}, {2, 4, kv_spline::LINEAR}});
    SplineBase& curve = *curvePtr;
};

TEST_F(ExpressionCurve, PathsAndWhatTheKeysHoldAfterwards)
{
    SplineBase empty;
    empty.defaultValue = 1.5;
    EXPECT_EQ(empty(3.0, nullptr, 25.0), 1.5);

    const struct {
        int pre, post;
        double t, result, timeAfter, scaledAfter;
    } cases[] = {
        {1, 1, 1.0, 3.0, 1.0, -7.0},   // inside: keys as the caller left them
        {1, 1, 3.0, 6.0, 2.0, 50.0},   // hold
        {1, 2, 3.0, 3.0, 1.0, 25.0},   // cycle
        {1, 3, 3.0, 9.0, 2.0, 50.0},   // cycle with offset
        {1, 8, 3.0, 9.0, 2.0, 50.0},   // unknown: as cycle with offset
        {1, 0, 3.0, 0.0, 1.0, -7.0},   // zero
        {0, 1, -1.0, 0.0, 1.0, -7.0},  // zero before
        {1, 1, -1.0, 0.0, 0.0, 0.0},
        {6, 1, 0.0, 0.0, 0.0, 0.0},  // the first point's own time is before
        {1, 1, nan, 0.0, 0.0, 0.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.pre << " " << c.post << " " << c.t);
        time = 1.0;
        scaled = -7.0;
        curve.preExtrapolation = c.pre;
        curve.postExtrapolation = c.post;
        EXPECT_EQ(curve(c.t, &timeLeaf, 25.0), c.result);
        EXPECT_EQ(time, c.timeAfter);
        EXPECT_EQ(scaled, c.scaledAfter);
    }
    curve.postExtrapolation = kv_spline::EXTRAPOLATE_LINEAR;  // the slope measured backwards
    const double before = 2.0 + -probe;
    EXPECT_EQ(curve(3.0, &timeLeaf, 25.0), ((3.0 - 2.0) * (2.0 + (2.0 - before) / probe)) + 4.0 + 2.0);
    EXPECT_EQ(time, before);
    EXPECT_EQ(scaled, before * 25.0);
}

// Each kind stores the written time its own way, for "t" and "f" alike.
TEST_F(ExpressionCurve, TimeIsStoredInTheKindOfTheKey)
{
    const struct {
        int kind;
        double x, stored;
    } cases[] = {{KEY_BOOL, 0.0, 0},   {KEY_BOOL, -0.5, 1},  {KEY_BOOL, nan, 1},
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
            void* const variables[] = {&flag, &whole, &single, nullptr};
            bind(name, c.kind, c.kind <= KEY_FLOAT ? variables[c.kind] : &unknownKind);
            (*point_fields::curveOf({{c.x, 0, 1}}))(c.x, &zero, 1.0);  // the before-the-curve path
            const double read[] = {double(flag), double(whole), double(single), unknownKind};
            EXPECT_EQ(read[c.kind <= KEY_FLOAT ? c.kind : 3], c.stored);
        }
        bindOwn();
    }
}

TEST_F(ExpressionCurve, LinearPathStepsTheTimeBackInItsOwnKind)
{
    double wide = 0.0;
    float single = 0.0f;
    int whole = 0;
    bool flag = false;
    const struct {
        int kind;
        void* variable;
        double lastTime, readBack;
    } cases[] = {
        {KEY_DOUBLE, &wide, 2.0, 2.0 + -probe},
        {KEY_FLOAT, &single, 2.0, static_cast<double>(2.0f + -0.001f)},
        {KEY_INT, &whole, 2.0, 1.0},   {KEY_INT, &whole, 0.0, 0.0}, {KEY_INT, &whole, -3.0, -3.0},
        {KEY_BOOL, &flag, 0.0, 1.0},
        {9, &wide, 2.0, 0.0},  // unknown kind: untouched, reads back 0.0
    };
    for (const auto& c : cases) {
        wide = 5.0;
        bind("t", c.kind, c.variable);
        (*point_fields::curveOf({{c.lastTime - 2.0, 0, 1}, {c.lastTime, 4, 1}}, 1, 4))(c.lastTime + 1, &zero, 25.0);
        EXPECT_EQ(scaled, c.readBack * 25.0) << c.kind << " " << c.lastTime;
    }
    EXPECT_EQ(wide, 5.0);

    // An int "t" drops from 2 to 1: the expression's slope is 1 / probe.
    bind("t", KEY_INT, &whole);
    FunctionFloatVariableInt wholeLeaf(&whole);
    curve.postExtrapolation = kv_spline::EXTRAPOLATE_LINEAR;
    EXPECT_EQ(curve(3.0, &wholeLeaf, 25.0), ((3.0 - 2.0) * (2.0 + (2.0 - 1.0) / probe)) + 4.0 + 2.0);
    EXPECT_EQ(whole, 1);
}

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

TEST_F(ExpressionCurve, ExpressionSeesTheTimesInOrder)
{
    const struct {
        int post;
        double t;
        std::vector<double> seen;
    } cases[] = {
        {1, 1.0, {1.0}},                   // inside: as the caller left "t"
        {1, 5.0, {2.0}},                   // hold: the last time
        {2, 5.0, {1.0}},                   // cycle: the shifted time
        {3, 5.0, {1.0, 0.0, 2.0}},         // cycle with offset: t', first, last
        {4, 5.0, {2.0, 2.0 + -probe}},     // linear: last, then a step back
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.post);
        TimeRecorder recorder(&time);
        time = 1.0;
        curve.postExtrapolation = c.post;
        curve(c.t, &recorder, 25.0);
        EXPECT_EQ(recorder.seen, c.seen);
    }
}

TEST_F(ExpressionCurve, MissingKeysAreSkipped)
{
    FunctionFloatVariableDouble scaledLeaf(&scaled);
    parser().removeKey("t");
    curve.postExtrapolation = kv_spline::EXTRAPOLATE_LINEAR;
    // "f" sees L.t first, then the missing "t" read back as 0.0.
    EXPECT_EQ(curve(3.0, &scaledLeaf, 25.0), ((3.0 - 2.0) * (2.0 + (50.0 - 0.0) / probe)) + 4.0 + 50.0);
    EXPECT_EQ(scaled, 0.0);
    EXPECT_EQ(time, 1.0);

    bind("t", KEY_DOUBLE, &time);
    parser().removeKey("f");
    curve.postExtrapolation = kv_spline::EXTRAPOLATE_CYCLE_OFFSET;
    EXPECT_EQ(curve(3.0, &timeLeaf, 25.0), 9.0);
    EXPECT_EQ(time, 2.0);
    EXPECT_EQ(scaled, 0.0);
}

}  // namespace
