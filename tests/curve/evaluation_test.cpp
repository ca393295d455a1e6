#include <gtest/gtest.h>

#include <limits>

#include "curve/point_fields.h"
#include "splinebase.h"

namespace {

using point_fields::curveOf;
using kv_spline::BEZIER;
using kv_spline::EXTRAPOLATE_CONSTANT;
using kv_spline::EXTRAPOLATE_CYCLE;
using kv_spline::EXTRAPOLATE_CYCLE_OFFSET;
using kv_spline::EXTRAPOLATE_LINEAR;
using kv_spline::EXTRAPOLATE_ZERO;
using kv_spline::LINEAR;
using kv_spline::STEP;
using kv_spline::TCB;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

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
    // The curve is (0, 5) then (1, 10), the second point's kind naming the segment.
    const struct {
        const char* name;
        int pre, type;
        double t, expected;
    } cases[] = {
        {"linear, a quarter in", EXTRAPOLATE_CONSTANT, LINEAR, 0.25, 6.25},
        {"linear at its end", EXTRAPOLATE_CONSTANT, LINEAR, 1.0, 10.0},
        {"the first point's own time holds before", EXTRAPOLATE_CONSTANT, LINEAR, 0.0, 5.0},
        {"the first point's own time is zero before", EXTRAPOLATE_ZERO, LINEAR, 0.0, 0.0},
        {"step holds its start", EXTRAPOLATE_CONSTANT, STEP, 0.5, 5.0},
        {"step holds its start up to its end", EXTRAPOLATE_CONSTANT, STEP, 1.0, 5.0},
        {"step after the curve", EXTRAPOLATE_CONSTANT, STEP, 1.5, 10.0},
        {"flat bezier halfway", EXTRAPOLATE_CONSTANT, BEZIER, 0.5, 7.5},
        {"flat bezier a quarter in", EXTRAPOLATE_CONSTANT, BEZIER, 0.25, 5.0 + 5.0 * 0.15625},
    };
    for (const auto& c : cases)
        EXPECT_EQ((*curveOf({{0, 5, BEZIER}, {1, 10, c.type}}, c.pre))(c.t), c.expected) << c.name;
    SplineBase sloped;  // slopes are scaled by the segment's length
    sloped.addPoint(0.0, 1.0, PointInfo::BezierData{0.0, 2.0});
    sloped.addPoint(2.0, 3.0, PointInfo::BezierData{-1.0, 0.0});
    const double s = 0.25, s2 = s * s, s3 = s * s2;
    const double h1 = (s3 + s3) - 3.0 * s2 + 1.0, h3 = (s3 - (s2 + s2)) + s, h4 = s3 - s2;
    EXPECT_EQ(sloped(0.5), ((1.0 * h1 + 3.0 * endWeight(s)) + (2.0 * 2.0) * h3) + (2.0 * -1.0) * h4);
    for (int type : {int(TCB), 7, -1}) {  // unknown codes evaluate as TCB
        const auto curve = curveOf({{0, 0, type}, {1, 1, type}, {2, 3, type}});
        EXPECT_EQ((*curve)(0.5), 0.4375) << type;
        EXPECT_EQ((*curve)(1.5), 1.9375) << type;
        curve->controlPoints[1]->tcb.tension = 1.0;
        EXPECT_EQ((*curve)(0.5), 0.625) << type;
    }
}

TEST(CurveEvaluation, EaseRemapsTheSegmentPosition)
{
    const struct { double easeFrom, easeTo, s, eased; } cases[] = {
        {0.5, 0.5, 0.25, 0.25 * ((1.0 / (0.5 + 1e-5)) * 0.25)},
        {0.5, 0.5, 0.5, 1.0 - ((1.0 / (0.5 + 1e-5)) * 0.5) * 0.5},
        {0.2, 0.2, 0.5, ((0.5 + 0.5) - 0.2) * (1.0 / (2.0 - (0.2 + 0.2)))},
        {1.5, 0.5, 0.5, 0.5 * ((1.0 / (0.75 + 1e-5)) * 0.5)},  // sum above 1: a = 0.75
        {-0.5, 0.8, 0.25, 0.25},                                // a negative ease
        {4e-6, 4e-6, 0.25, 0.25},                               // too little ease
    };
    for (const auto& c : cases) {
        const auto curve = curveOf({{0, 0, BEZIER}, {1, 1, BEZIER}});  // zero slopes: the end weight alone
        curve->controlPoints[0]->tcb.easeFrom = c.easeFrom;
        curve->controlPoints[1]->tcb.easeTo = c.easeTo;
        EXPECT_EQ((*curve)(c.s), endWeight(c.eased)) << c.easeFrom << " " << c.easeTo << " " << c.s;
    }
}

TEST(CurveEvaluation, OutOfRangeModes)
{
    // A whole number of periods lands on the first point: before the curve.
    // The curve is (0, 1) then (2, 5), linear; a NaN time reads as before it.
    const struct {
        const char* name;
        int pre, post;
        double atMinus1, at3, at4;
    } cases[] = {
        {"hold before, zero after", EXTRAPOLATE_CONSTANT, EXTRAPOLATE_ZERO, 1, 0, 0},
        {"hold on both sides", EXTRAPOLATE_CONSTANT, EXTRAPOLATE_CONSTANT, 1, 5, 5},
        {"zero before, cycle after", EXTRAPOLATE_ZERO, EXTRAPOLATE_CYCLE, 0, 3, 0},
        {"hold before, cycle after", EXTRAPOLATE_CONSTANT, EXTRAPOLATE_CYCLE, 1, 3, 1},
        {"zero before, cycle with offset after", EXTRAPOLATE_ZERO, EXTRAPOLATE_CYCLE_OFFSET, 0, 7, 8},
        {"hold before, cycle with offset after", EXTRAPOLATE_CONSTANT, EXTRAPOLATE_CYCLE_OFFSET, 1, 7, 9},
        {"an unknown mode after cycles with offset", EXTRAPOLATE_CONSTANT, 9, 1, 7, 9},
        {"linear before holds, linear after extends", EXTRAPOLATE_LINEAR, EXTRAPOLATE_LINEAR, 1, 7, 9},
        {"an unknown mode before holds", 7, EXTRAPOLATE_CYCLE, 1, 3, 1},
    };
    for (const auto& c : cases) {
        const auto curve = curveOf({{0, 1, BEZIER}, {2, 5, LINEAR}}, c.pre, c.post);
        for (const auto& [t, expected] :
             {std::pair{-1.0, c.atMinus1}, {3.0, c.at3}, {4.0, c.at4}, {nan, c.atMinus1}})
            EXPECT_EQ((*curve)(t), expected) << c.name << " at " << t;
    }
    // The slope after the curve: the last segment's, or the left slope of a bezier end.
    for (const auto& c : {std::make_pair(LINEAR, 4.0), {STEP, 2.0}, {BEZIER, 5.0}}) {
        const auto curve =
            curveOf({{0, 0, BEZIER}, {1, 2, c.first}}, EXTRAPOLATE_CONSTANT, EXTRAPOLATE_LINEAR);
        curve->controlPoints[1]->bezier.leftSlope = 3.0;
        EXPECT_EQ((*curve)(2.0), c.second) << c.first;
    }
    // A one-point curve holds its value in every mode but zero.
    const int unknownMode = 9;
    for (int mode : {int(EXTRAPOLATE_ZERO), int(EXTRAPOLATE_CONSTANT), int(EXTRAPOLATE_CYCLE),
                     int(EXTRAPOLATE_CYCLE_OFFSET), int(EXTRAPOLATE_LINEAR), unknownMode})
        for (double t : {0.0, 1.0, 5.0})
            EXPECT_EQ((*curveOf({{1, 7, LINEAR}}, mode, mode))(t), mode == EXTRAPOLATE_ZERO ? 0.0 : 7.0)
                << mode << " " << t;
    // Equal times: the span is 0, cycling gives a NaN time, i.e. before.
    EXPECT_EQ((*curveOf({{1, 3, BEZIER}, {1, 7, BEZIER}}, EXTRAPOLATE_CONSTANT, EXTRAPOLATE_CYCLE))(2.0),
              7.0);
    const auto unsorted =
        curveOf({{0, 0, BEZIER}, {2, 4, LINEAR}}, EXTRAPOLATE_CONSTANT, EXTRAPOLATE_CYCLE_OFFSET);
    unsorted->controlPoints[0]->time = 5.0;  // the last point now lies before the first
    EXPECT_DEBUG_DEATH((*unsorted)(3.0), "numOffsets >= 1.0");
}

TEST(CurveTangents, NodeTangentsScaleByTheSpanAndEndsAreTheirOwnNeighbours)
{
    const auto curve = curveOf({{0.0, 0.0, TCB}, {0.3, 1.0, TCB}, {1.7, 3.0, TCB}});
    for (PointInfo* point : curve->controlPoints)
        point->tcb = {0.25, 0.2, -0.25, 0, 0};  // values for which (x * y) / z and x * (y / z) differ
    PointInfo &p0 = *curve->controlPoints[0], &p1 = *curve->controlPoints[1], &p2 = *curve->controlPoints[2];
    double ratio = -1.0;
    EXPECT_EQ(curve->getTangentLeftAtNode(2, ratio),
              kbTangent(p1, p2, p2, false) * (2.0 / (1.7 - 0.3 + 1e-16)));
    EXPECT_EQ(ratio, (1.7 - 0.3) / (1.7 - 0.3 + 1e-16));
    EXPECT_EQ(curve->getTangentRightAtNode(1, ratio),
              kbTangent(p0, p0, p1, true) * (2.0 / (0.3 + 1.0000000168623835e-16)));
    const double dR = 1.7 - 0.3;
    EXPECT_EQ(curve->getLeftTan(&p0, &p1, &p2), (kbTangent(p0, p1, p2, true) * (dR + dR)) / (0.3 + dR));
    p1.type = BEZIER;
    p1.bezier = {-2.0, 6.0};
    EXPECT_EQ(curve->getTangentLeftAtNode(1, ratio), -2.0);
    EXPECT_EQ(ratio, 0.5);
}

}  // namespace
