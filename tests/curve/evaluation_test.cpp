#include <gtest/gtest.h>

#include <limits>

#include "splinebase.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

PointInfo* addTyped(SplineBase& curve, double time, double value, int type,
                    const PointInfo::TcbData& tcb = {})
{
    return curve.addPointPtr(
        new PointInfo{time, value, {}, tcb, static_cast<kv_spline::interpolationType>(type), false});
}

// (0, 0) and (2, 4), the second LINEAR.
void addRamp(SplineBase& curve, double startValue = 0.0)
{
    curve.addPoint(0.0, startValue);
    addTyped(curve, 2, 4 + startValue, kv_spline::LINEAR);
}

// The Hermite weight of the end value, written out independently.
double endWeight(double s)
{
    const double s2 = s * s;
    return -2.0 * (s * s2) + 3.0 * s2;
}

// Kochanek-Bartels tangent at `cur`: incoming when `outgoing` is false.
double kbTangent(const PointInfo& prev, const PointInfo& cur, const PointInfo& next, bool outgoing)
{
    const double a = (1.0 - cur.tcb.tension) * 0.5;
    const double c = outgoing ? cur.tcb.continuity : -cur.tcb.continuity, b = cur.tcb.bias;
    return (cur.value - prev.value) * ((1 + b) * ((1 + c) * a)) +
           (next.value - cur.value) * ((1 - b) * ((1 - c) * a));
}

TEST(CurveEvaluation, SegmentKinds)
{
    SplineBase linear;
    linear.addPoint(0.0, 5.0);
    linear.addPoint(1.0, 10.0);
    linear.setType(linear.controlPoints[1], kv_spline::LINEAR);
    EXPECT_EQ(linear(0.25), 6.25);
    EXPECT_EQ(linear(1.0), 10.0);
    EXPECT_EQ(linear(0.0), 5.0);
    linear.preExtrapolation = kv_spline::EXTRAPOLATE_ZERO;  // the first point's time is before
    EXPECT_EQ(linear(0.0), 0.0);

    SplineBase step;
    step.addPoint(0.0, 0.0);
    addTyped(step, 1, 10, kv_spline::STEP);
    EXPECT_EQ(step(0.5), 0.0);
    EXPECT_EQ(step(1.0), 0.0);
    EXPECT_EQ(step(1.5), 10.0);

    SplineBase flat;
    flat.addPoint(0.0, 0.0);
    flat.addPoint(1.0, 1.0);
    EXPECT_EQ(flat(0.5), 0.5);
    EXPECT_EQ(flat(0.25), 0.15625);

    SplineBase sloped;  // slopes are scaled by the segment's length
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
}

TEST(CurveEvaluation, OutOfRangeModes)
{
    // A whole number of periods lands on the first point: before the curve.
    const struct {
        int pre, post;
        double atMinus1, at3, at4;
    } cases[] = {{1, 0, 1, 0, 0}, {1, 1, 1, 5, 5}, {0, 2, 0, 3, 0}, {1, 2, 1, 3, 1},
                 {0, 3, 0, 7, 8}, {1, 3, 1, 7, 9}, {1, 9, 1, 7, 9}, {4, 4, 1, 7, 9},
                 {7, 2, 1, 3, 1}};
    SplineBase curve;
    addRamp(curve, 1.0);
    for (const auto& c : cases) {
        curve.preExtrapolation = c.pre;
        curve.postExtrapolation = c.post;
        EXPECT_EQ(curve(-1.0), c.atMinus1) << c.pre << " " << c.post;
        EXPECT_EQ(curve(3.0), c.at3) << c.pre << " " << c.post;
        EXPECT_EQ(curve(4.0), c.at4) << c.pre << " " << c.post;
    }
    // The slope after the curve: the last segment's, or the left slope of a bezier end.
    const struct {
        int lastType;
        double expected;
    } slopes[] = {{kv_spline::LINEAR, 4.0}, {kv_spline::STEP, 2.0}, {kv_spline::BEZIER, 5.0}};
    for (const auto& c : slopes) {
        SplineBase line;
        line.addPoint(0.0, 0.0);
        addTyped(line, 1, 2, c.lastType)->bezier.leftSlope = 3.0;
        line.postExtrapolation = kv_spline::EXTRAPOLATE_LINEAR;
        EXPECT_EQ(line(2.0), c.expected) << c.lastType;
    }
}

TEST(CurveEvaluation, DegenerateCurvesAndNaNTimes)
{
    SplineBase empty;
    empty.defaultValue = 2.5;
    EXPECT_EQ(empty(1.0), 2.5);

    SplineBase single;
    single.addPoint(1.0, 7.0);
    for (int mode : {0, 1, 2, 3, 4, 9}) {
        single.preExtrapolation = single.postExtrapolation = mode;
        for (double t : {0.0, 1.0, 5.0})
            EXPECT_EQ(single(t), mode == 0 ? 0.0 : 7.0) << mode << " " << t;
    }

    // Equal times: the span is 0, cycling gives a NaN time, i.e. before.
    SplineBase pinched;
    pinched.addPoint(1.0, 3.0);
    pinched.addPoint(1.0, 7.0);
    pinched.postExtrapolation = kv_spline::EXTRAPOLATE_CYCLE;
    EXPECT_EQ(pinched(2.0), 7.0);

    SplineBase curve;
    addRamp(curve, 1.0);
    EXPECT_EQ(curve(nan), 1.0);
    // A NaN point sorts first and nothing lies beyond it: up to the last
    // point everything is before the curve.
    addTyped(curve, nan, 9, kv_spline::LINEAR);
    EXPECT_EQ(curve(1.0), 9.0);
    EXPECT_EQ(curve(3.0), 5.0);
}

TEST(CurveEvaluation, UnsortedListDoesNotCycleForever)
{
    for (int mode : {2, 3}) {
        SplineBase curve;
        addRamp(curve);
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

TEST(CurveTangents, NodeAndSegmentTangents)
{
    // Values for which (x * y) / z and x * (y / z) differ.
    const PointInfo::TcbData tcb{0.25, 0.2, -0.25, 0, 0};
    SplineBase curve;
    const PointInfo& p0 = *addTyped(curve, 0.0, 0.0, kv_spline::TCB, tcb);
    PointInfo& p1 = *addTyped(curve, 0.3, 1.0, kv_spline::TCB, tcb);
    const PointInfo& p2 = *addTyped(curve, 1.7, 3.0, kv_spline::TCB, tcb);
    constexpr double rightGuard = 1.0000000168623835e-16;
    const struct {
        bool left;
        unsigned int index;
        double tangent, span, ratioNumerator;
    } nodes[] = {
        {true, 2, kbTangent(p1, p2, p2, false), 1.7 - 0.3 + 1e-16, 1.7 - 0.3},  // own successor
        {true, 1, kbTangent(p0, p1, p2, false), 1.7 + 1e-16, 0.3},
        {false, 1, kbTangent(p0, p0, p1, true), 0.3 + rightGuard, 0.3},  // own predecessor
        {false, 2, kbTangent(p0, p1, p2, true), 1.7 + rightGuard, 1.7 - 0.3},
    };
    for (const auto& n : nodes) {
        double ratio = -1.0;
        const double tangent = n.left ? curve.getTangentLeftAtNode(n.index, ratio)
                                      : curve.getTangentRightAtNode(n.index, ratio);
        EXPECT_EQ(tangent, n.tangent * (2.0 / n.span)) << n.left << n.index;
        EXPECT_EQ(ratio, n.ratioNumerator / n.span) << n.left << n.index;
    }
    const double dR = 1.7 - 0.3, dL = 0.3;
    EXPECT_EQ(curve.getBruteLeftTan(&p0, &p1, &p2), kbTangent(p0, p1, p2, true));
    EXPECT_EQ(curve.getBruteRightTan(&p0, &p1, &p2), kbTangent(p0, p1, p2, false));
    EXPECT_EQ(curve.getLeftTan(&p0, &p1, &p2), (kbTangent(p0, p1, p2, true) * (dR + dR)) / (dL + dR));
    EXPECT_EQ(curve.getRightTan(&p0, &p1, &p2), (kbTangent(p0, p1, p2, false) * (dL + dL)) / (dR + dL));

    p1.type = kv_spline::BEZIER;
    p1.bezier = {-2.0, 6.0};
    double ratio = -1.0;
    EXPECT_EQ(curve.getTangentLeftAtNode(1, ratio), -2.0);
    EXPECT_EQ(ratio, 0.5);
    EXPECT_EQ(curve.getLeftTan(&p0, &p1, &p2), dR * 6.0);
    EXPECT_EQ(curve.getRightTan(&p0, &p1, &p2), dL * -2.0);
    for (unsigned int outside : {0u, 3u}) {
        ratio = -1.0;
        EXPECT_EQ(curve.getTangentRightAtNode(outside, ratio), 0.0);
        EXPECT_EQ(ratio, 0.0);
    }

    // Neighbours at one time: the two queries differ only in their guard.
    SplineBase coincident;
    addTyped(coincident, 0.0, 1.0, kv_spline::TCB);
    addTyped(coincident, 0.0, 0.0, kv_spline::TCB);
    EXPECT_EQ(coincident.getTangentLeftAtNode(1, ratio), 0.5 * (2.0 / 1e-16));
    EXPECT_EQ(coincident.getTangentRightAtNode(1, ratio), 0.5 * (2.0 / rightGuard));
}

}  // namespace
