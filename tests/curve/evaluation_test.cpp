#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "splinebase.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

PointInfo* addTyped(SplineBase& curve, double time, double value, int type,
                    const PointInfo::TcbData& tcb = {})
{
    PointInfo* point = new PointInfo();
    point->time = time;
    point->value = value;
    point->type = static_cast<kv_spline::interpolationType>(type);
    point->tcb = tcb;
    return curve.addPointPtr(point);
}

// The Hermite weight of the end value, written out independently.
double endWeight(double s)
{
    const double s2 = s * s;
    return -2.0 * (s * s2) + 3.0 * s2;
}

double kbIncoming(const PointInfo& prev, const PointInfo& cur, const PointInfo& next)
{
    const double a = (1.0 - cur.tcb.tension) * 0.5;
    const double c = cur.tcb.continuity, b = cur.tcb.bias;
    return (cur.value - prev.value) * ((1 + b) * ((1 - c) * a)) +
           (next.value - cur.value) * ((1 - b) * ((1 + c) * a));
}

double kbOutgoing(const PointInfo& prev, const PointInfo& cur, const PointInfo& next)
{
    const double a = (1.0 - cur.tcb.tension) * 0.5;
    const double c = cur.tcb.continuity, b = cur.tcb.bias;
    return (cur.value - prev.value) * ((1 + b) * ((1 + c) * a)) +
           (next.value - cur.value) * ((1 - b) * ((1 - c) * a));
}

TEST(CurveEvaluation, LinearAndStepSegments)
{
    SplineBase curve;
    curve.addPoint(0.0, 5.0);
    curve.addPoint(1.0, 10.0);
    curve.setType(curve.controlPoints[1], kv_spline::LINEAR);
    EXPECT_EQ(curve(0.25), 6.25);
    EXPECT_EQ(curve(1.0), 10.0);
    EXPECT_EQ(curve(0.0), 5.0);
    curve.preExtrapolation = kv_spline::EXTRAPOLATE_ZERO;
    EXPECT_EQ(curve(0.0), 0.0);

    SplineBase step;
    addTyped(step, 0, 0, kv_spline::LINEAR);
    addTyped(step, 1, 10, kv_spline::STEP);
    EXPECT_EQ(step(0.5), 0.0);
    EXPECT_EQ(step(1.0), 0.0);
    EXPECT_EQ(step(1.5), 10.0);
}

TEST(CurveEvaluation, BezierSegmentsUseSlopesTimesLength)
{
    SplineBase flat;
    flat.addPoint(0.0, 0.0);
    flat.addPoint(1.0, 1.0);
    EXPECT_EQ(flat(0.5), 0.5);
    EXPECT_EQ(flat(0.25), 0.15625);

    SplineBase sloped;
    sloped.addPoint(0.0, 1.0, PointInfo::BezierData{0.0, 2.0});
    sloped.addPoint(2.0, 3.0, PointInfo::BezierData{-1.0, 0.0});
    const double s = 0.25, s2 = s * s, s3 = s * s2;
    const double h1 = (s3 + s3) - 3.0 * s2 + 1.0, h3 = (s3 - (s2 + s2)) + s, h4 = s3 - s2;
    EXPECT_EQ(sloped(0.5), ((1.0 * h1 + 3.0 * endWeight(s)) + (2.0 * 2.0) * h3) + (2.0 * -1.0) * h4);
}

TEST(CurveEvaluation, TcbSegmentsAndUnknownTypeCodes)
{
    for (int type : {int(kv_spline::TCB), 7, -1}) {
        SplineBase curve;
        for (double time : {0.0, 1.0, 2.0})
            addTyped(curve, time, time == 2.0 ? 3.0 : time, type);
        EXPECT_EQ(curve(0.5), 0.4375) << type;
        EXPECT_EQ(curve(1.5), 1.9375) << type;
        curve.controlPoints[1]->tcb.tension = 1.0;
        EXPECT_EQ(curve(0.5), 0.625) << type;
    }
}

TEST(CurveEvaluation, EaseRemapsTheSegmentPosition)
{
    const struct {
        double easeFrom, easeTo, s, eased;
    } cases[] = {
        {0.5, 0.5, 0.25, 0.25 * ((1.0 / (0.5 + 1e-5)) * 0.25)},
        {0.5, 0.5, 0.5, 1.0 - ((1.0 / (0.5 + 1e-5)) * 0.5) * 0.5},
        {0.2, 0.2, 0.5, ((0.5 + 0.5) - 0.2) * (1.0 / (2.0 - (0.2 + 0.2)))},
        {1.5, 0.5, 0.5, 0.5 * ((1.0 / (0.75 + 1e-5)) * 0.5)},  // sum above 1: a = 0.75
        {-0.5, 0.8, 0.25, 0.25},                                // a negative ease
        {4e-6, 4e-6, 0.25, 0.25},                               // too little ease
    };
    for (const auto& c : cases) {
        SplineBase curve;  // zero slopes: the value is the end weight alone
        curve.addPoint(0.0, 0.0, PointInfo::TcbData{0, 0, 0, c.easeFrom, 0});
        curve.addPoint(1.0, 1.0, PointInfo::TcbData{0, 0, 0, 0, c.easeTo});
        EXPECT_EQ(curve(c.s), endWeight(c.eased)) << c.easeFrom << " " << c.easeTo << " " << c.s;
    }
    SplineBase eased;
    eased.addPoint(0.0, 0.0, PointInfo::TcbData{0, 0, 0, 0.5, 0});
    eased.addPoint(1.0, 1.0, PointInfo::TcbData{0, 0, 0, 0, 0.5});
    EXPECT_NEAR(eased(0.25), 0.042967, 1e-6);
}

TEST(CurveEvaluation, OutOfRangeModes)
{
    const struct {
        int mode;
        double at3, at4;
    } cases[] = {{0, 0, 0}, {1, 4, 4}, {2, 2, 0}, {3, 6, 8}, {9, 6, 8}};
    for (const auto& c : cases) {
        SplineBase curve;
        curve.addPoint(0.0, 0.0);
        addTyped(curve, 2, 4, kv_spline::LINEAR);
        curve.postExtrapolation = c.mode;
        EXPECT_EQ(curve(3.0), c.at3) << c.mode;
        EXPECT_EQ(curve(4.0), c.at4) << c.mode;
    }

    // A whole number of periods lands on the first point: before the curve.
    SplineBase raised;
    raised.addPoint(0.0, 1.0);
    addTyped(raised, 2, 5, kv_spline::LINEAR);
    const struct {
        int pre, post;
        double atMinus1, at4;
    } boundaries[] = {{0, 2, 0, 0}, {1, 2, 1, 1}, {0, 3, 0, 8}, {1, 3, 1, 9},
                        {2, 2, 1, 1}, {3, 2, 1, 1}, {4, 2, 1, 1}, {7, 2, 1, 1}};
    for (const auto& b : boundaries) {
        raised.preExtrapolation = b.pre;
        raised.postExtrapolation = b.post;
        EXPECT_EQ(raised(-1.0), b.atMinus1) << b.pre << " " << b.post;
        EXPECT_EQ(raised(4.0), b.at4) << b.pre << " " << b.post;
    }
}

TEST(CurveEvaluation, LinearExtrapolationSlope)
{
    const struct {
        int lastType;
        double expected;
    } cases[] = {{kv_spline::LINEAR, 4.0}, {kv_spline::STEP, 2.0}, {kv_spline::BEZIER, 5.0}};
    for (const auto& c : cases) {
        SplineBase curve;
        curve.addPoint(0.0, 0.0);
        addTyped(curve, 1, 2, c.lastType)->bezier.leftSlope = 3.0;
        curve.postExtrapolation = kv_spline::EXTRAPOLATE_LINEAR;
        EXPECT_EQ(curve(2.0), c.expected) << c.lastType;
    }
}

TEST(CurveEvaluation, DegenerateCurves)
{
    SplineBase empty;
    empty.defaultValue = 2.5;
    EXPECT_EQ(empty(1.0), 2.5);

    SplineBase single;
    single.addPoint(1.0, 7.0);
    for (int mode : {0, 1, 2, 3, 4, 9}) {
        single.preExtrapolation = single.postExtrapolation = mode;
        const double expected = mode == 0 ? 0.0 : 7.0;
        for (double t : {0.0, 1.0, 5.0})
            EXPECT_EQ(single(t), expected) << mode << " " << t;
    }

    // Equal times: the span is 0, cycling gives a NaN time, i.e. before.
    SplineBase pinched;
    pinched.addPoint(1.0, 3.0);
    pinched.addPoint(1.0, 7.0);
    pinched.postExtrapolation = kv_spline::EXTRAPOLATE_CYCLE;
    EXPECT_EQ(pinched(2.0), 7.0);
    pinched.preExtrapolation = kv_spline::EXTRAPOLATE_ZERO;
    EXPECT_EQ(pinched(2.0), 0.0);
}

TEST(CurveEvaluation, NaNTimes)
{
    SplineBase curve;
    curve.addPoint(0.0, 1.0);
    addTyped(curve, 2, 4, kv_spline::LINEAR);
    EXPECT_EQ(curve(nan), 1.0);
    curve.preExtrapolation = kv_spline::EXTRAPOLATE_ZERO;
    EXPECT_EQ(curve(nan), 0.0);

    // A NaN point sorts first; no time is beyond it, so up to the last
    // point everything is before the curve.
    addTyped(curve, nan, 9, kv_spline::LINEAR);
    curve.preExtrapolation = kv_spline::EXTRAPOLATE_CONSTANT;
    EXPECT_EQ(curve(1.0), 9.0);
    EXPECT_EQ(curve(3.0), 4.0);
}

TEST(CurveEvaluation, UnsortedListDoesNotCycleForever)
{
    for (int mode : {2, 3}) {
        SplineBase curve;
        curve.addPoint(0.0, 0.0);
        addTyped(curve, 2, 4, kv_spline::LINEAR);
        curve.controlPoints[0]->time = 5.0;  // the last point now lies before the first
        curve.postExtrapolation = mode;
        double value = -1.0;
        EXPECT_DEBUG_DEATH(value = curve(3.0), "numOffsets >= 1.0");
#ifdef NDEBUG
        EXPECT_EQ(value, 4.0);
#else
        EXPECT_EQ(value, -1.0);
#endif
    }
}

TEST(CurveTangents, NodeSlopes)
{
    const PointInfo::TcbData tcb{0.25, 0.5, -0.25, 0, 0};
    SplineBase curve;
    const PointInfo& p0 = *addTyped(curve, 0.0, 0.0, kv_spline::TCB, tcb);
    const PointInfo& p1 = *addTyped(curve, 0.3, 1.0, kv_spline::TCB, tcb);
    const PointInfo& p2 = *addTyped(curve, 1.0, 3.0, kv_spline::TCB, tcb);
    double ratio = -1.0;

    double d = (1.0 - 0.3) + 1e-16;  // the last point is its own successor
    EXPECT_EQ(curve.getTangentLeftAtNode(2, ratio), kbIncoming(p1, p2, p2) * (2.0 / d));
    EXPECT_EQ(ratio, (1.0 - 0.3) / d);
    d = (1.0 - 0.0) + 1e-16;
    EXPECT_EQ(curve.getTangentLeftAtNode(1, ratio), kbIncoming(p0, p1, p2) * (2.0 / d));
    EXPECT_EQ(ratio, 0.3 / d);

    d = (0.3 - 0.0) + 1.0000000168623835e-16;  // the first point is its own predecessor
    EXPECT_EQ(curve.getTangentRightAtNode(1, ratio), kbOutgoing(p0, p0, p1) * (2.0 / d));
    EXPECT_EQ(ratio, 0.3 / d);
    d = (1.0 - 0.0) + 1.0000000168623835e-16;
    EXPECT_EQ(curve.getTangentRightAtNode(2, ratio), kbOutgoing(p0, p1, p2) * (2.0 / d));
    EXPECT_EQ(ratio, (1.0 - 0.3) / d);

    curve.controlPoints[1]->type = kv_spline::BEZIER;
    curve.controlPoints[1]->bezier = {-2.0, 6.0};
    EXPECT_EQ(curve.getTangentLeftAtNode(1, ratio), -2.0);
    EXPECT_EQ(ratio, 0.5);
    ratio = -1.0;
    EXPECT_EQ(curve.getTangentRightAtNode(2, ratio), 6.0);
    EXPECT_EQ(ratio, 0.5);

    for (unsigned int outside : {0u, 3u}) {
        ratio = -1.0;
        EXPECT_EQ(curve.getTangentLeftAtNode(outside, ratio), 0.0);
        EXPECT_EQ(ratio, 0.0);
        ratio = -1.0;
        EXPECT_EQ(curve.getTangentRightAtNode(outside, ratio), 0.0);
        EXPECT_EQ(ratio, 0.0);
    }
}

// Neighbours at one time: the two queries differ only in their guard.
TEST(CurveTangents, CoincidentNeighboursUseTheGuards)
{
    SplineBase curve;
    addTyped(curve, 0.0, 1.0, kv_spline::TCB);
    addTyped(curve, 0.0, 0.0, kv_spline::TCB);  // goes in front
    double ratio;
    EXPECT_EQ(curve.getTangentLeftAtNode(1, ratio), 0.5 * (2.0 / 1e-16));
    EXPECT_EQ(curve.getTangentRightAtNode(1, ratio), 0.5 * (2.0 / 1.0000000168623835e-16));
}

TEST(CurveTangents, SegmentTangents)
{
    // Values for which (x * y) / z and x * (y / z) differ.
    const PointInfo::TcbData tcb{0.25, 0.2, -0.25, 0, 0};
    SplineBase curve;
    const PointInfo* p0 = addTyped(curve, 0.0, 0.0, kv_spline::TCB, tcb);
    PointInfo* p1 = addTyped(curve, 0.3, 1.0, kv_spline::TCB, tcb);
    const PointInfo* p2 = addTyped(curve, 1.7, 3.0, kv_spline::TCB, tcb);
    EXPECT_EQ(curve.getBruteLeftTan(p0, p1, p2), kbOutgoing(*p0, *p1, *p2));
    EXPECT_EQ(curve.getBruteRightTan(p0, p1, p2), kbIncoming(*p0, *p1, *p2));
    const double dR = 1.7 - 0.3, dL = 0.3 - 0.0;
    EXPECT_EQ(curve.getLeftTan(p0, p1, p2), (kbOutgoing(*p0, *p1, *p2) * (dR + dR)) / (dL + dR));
    EXPECT_EQ(curve.getRightTan(p0, p1, p2), (kbIncoming(*p0, *p1, *p2) * (dL + dL)) / (dR + dL));

    p1->type = kv_spline::BEZIER;
    p1->bezier = {-2.0, 6.0};
    EXPECT_EQ(curve.getLeftTan(p0, p1, p2), dR * 6.0);
    EXPECT_EQ(curve.getRightTan(p0, p1, p2), dL * -2.0);
}

}  // namespace
