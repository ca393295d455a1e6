// The pieces of curve evaluation shared by the plain and the
// expression-driven evaluation (internal, not installed): where a time falls,
// the value inside a segment, the ease mapping, the cycle shift and the slope
// of linear extrapolation. The grouping of every floating-point operation is
// part of the curve's bit-exact results.
#ifndef EXPRCURVE_PRIVATE_CURVEEVALUATION_H
#define EXPRCURVE_PRIVATE_CURVEEVALUATION_H

#include <cmath>
#include <cstddef>
#include <vector>

#include "bezierbase.h"
#include "splinebase.h"

namespace exprcurve_detail {

// Where a time falls relative to a curve that has at least one point.
struct CurveLocation {
    enum Region { Before, Inside, After };
    Region region;
    std::size_t segment;  // Inside only: the segment from point segment-1 to point segment
};

// After the curve when t is beyond the last point; before it when t is not
// beyond the first point (the first point's own time and a NaN t included, and
// every t of a one-point curve that is not after it); otherwise inside, in the
// lowest segment whose end time is not below t, or the last segment. The list
// is scanned front to back, so an unsorted list or NaN times still give a
// segment index within the list.
inline CurveLocation locateTime(const std::vector<PointInfo*>& points, const double& t)
{
    const std::size_t count = points.size();
    if (t > points.back()->time)
        return {CurveLocation::After, count};
    if (!(t > points.front()->time))
        return {CurveLocation::Before, 0};
    std::size_t segment = 1;
    while (segment + 1 < count && !(t <= points[segment]->time))
        ++segment;
    return {CurveLocation::Inside, segment};
}

// Maps the segment position s through the ease of the segment's start (a, the
// easeFrom of its first point) and end (b, the easeTo of its last point).
// Without enough ease, or with a negative one, s is kept.
inline double easedPosition(const double& s, double a, double b)
{
    const double sum = a + b;
    if (1e-5 > sum || a < 0.0 || b < 0.0)
        return s;
    double k;
    if (sum > 1.0) {
        a = a / sum;
        b = b / sum;
        k = 1.0;
    } else {
        k = 1.0 / (2.0 - sum);
    }
    if (a > s)
        return s * ((k / (a + 1e-5)) * s);
    if ((1.0 - b) > s)
        return ((s + s) - a) * k;
    return 1.0 - ((k / (b + 1e-5)) * (1.0 - s)) * (1.0 - s);
}

// The curve's value at t inside segment `segment` (1 <= segment < count). The
// kind of the segment is the type of its end point; every code other than
// STEP and LINEAR is a Hermite segment.
inline double segmentValue(const SplineBase& curve, const std::size_t& segment, const double& t)
{
    const std::vector<PointInfo*>& points = curve.controlPoints;
    const PointInfo* start = points[segment - 1];
    const PointInfo* end = points[segment];
    const double dt = end->time - start->time;
    const double s = (t - start->time) / dt;

    if (end->type == kv_spline::STEP)
        return start->value;
    if (end->type == kv_spline::LINEAR)
        return start->value + s * (end->value - start->value);

    // A segment at either end of the curve stands in its own end point for
    // the missing neighbour.
    const PointInfo* beforeStart = segment == 1 ? start : points[segment - 2];
    const PointInfo* afterEnd = segment + 1 == points.size() ? end : points[segment + 1];
    const double m0 = curve.getLeftTan(beforeStart, start, end);
    const double m1 = curve.getRightTan(start, end, afterEnd);

    double h1, h2, h3, h4;
    hermiteBasis(easedPosition(s, start->tcb.easeFrom, end->tcb.easeTo), h1, h2, h3, h4);
    return ((start->value * h1 + end->value * h2) + m0 * h3) + m1 * h4;
}

// The whole periods between the first point and t, and t moved back by them.
struct CycleShift {
    double numOffsets;
    double shiftedTime;
};

inline CycleShift cycleShift(const PointInfo& first, const PointInfo& last, const double& t)
{
    const double span = last.time - first.time;
    const double numOffsets = std::floor((t - first.time) / span);
    return {numOffsets, t - span * numOffsets};
}

// The slope at which the curve arrives at its last point (at least two
// points): flat after a STEP point, the point's own left slope after a BEZIER
// one, else its incoming tangent with the point standing in for its missing
// successor.
inline double arrivalSlope(const SplineBase& curve)
{
    const PointInfo& last = *curve.controlPoints.back();
    if (last.type == kv_spline::STEP)
        return 0.0;
    if (last.type == kv_spline::BEZIER)
        return last.bezier.leftSlope;
    double ratio;
    const unsigned int lastIndex = static_cast<unsigned int>(curve.controlPoints.size() - 1);
    return curve.getTangentLeftAtNode(lastIndex, ratio);
}

}  // namespace exprcurve_detail

#endif  // EXPRCURVE_PRIVATE_CURVEEVALUATION_H
