// The pieces of curve evaluation shared by the plain and the
// expression-driven evaluation, one time at a time or in bulk (internal, not
// installed): where a time falls, the value inside a segment, the ease
// mapping, the cycle shift, the slope of linear extrapolation, and the two
// evaluations themselves. The grouping of every floating-point operation is
// part of the curve's bit-exact results.
//
// Both evaluations are written once, over a segment source: a class that
// tells where a time falls (locate) and gives the value inside a segment
// (value). FrontScan is the source of the single-time evaluation and works on
// any list; the bulk sampling brings its own source for verified-sorted
// lists, which must give the same answers.
#ifndef EXPRCURVE_PRIVATE_CURVEEVALUATION_H
#define EXPRCURVE_PRIVATE_CURVEEVALUATION_H

#include <cassert>
#include <cmath>
#include <cstddef>
#include <vector>

#include "bezierbase.h"
#include "controlpoints.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
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
// segment that `findSegment()` names.
template <typename FindSegment>
inline CurveLocation locateBetween(const double& firstTime, const double& lastTime,
                                   const std::size_t& count, const double& t,
                                   FindSegment&& findSegment)
{
    if (t > lastTime)
        return {CurveLocation::After, count};
    if (!(t > firstTime))
        return {CurveLocation::Before, 0};
    return {CurveLocation::Inside, findSegment()};
}

// The inside segment is the lowest one whose end time is not below t, or the
// last segment. The list is scanned front to back, so an unsorted list or NaN
// times still give a segment index within the list.
inline CurveLocation locateTime(const std::vector<PointInfo*>& points, const double& t)
{
    const std::size_t count = points.size();
    return locateBetween(points.front()->time, points.back()->time, count, t,
                         [&] { return firstNotBelow(points, t, 1, count - 1); });
}

// Whether the ease of a segment's start (a, the easeFrom of its first point)
// and end (b, the easeTo of its last point) leaves every position in it as it
// is: too little ease in all, or a negative one. It depends on the segment
// alone, so a bulk evaluation can decide it once per segment.
inline bool easeIsInactive(const double& a, const double& b)
{
    return 1e-5 > a + b || a < 0.0 || b < 0.0;
}

// Maps the segment position s through the ease of the segment's start and
// end (see easeIsInactive).
inline double easedPosition(const double& s, double a, double b)
{
    if (easeIsInactive(a, b))
        return s;
    const double sum = a + b;
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

// What the value inside one segment needs besides the time: its two points
// and, for a Hermite segment, its two end tangents. Preparing it once lets a
// bulk evaluation reuse it for every time in the segment.
struct SegmentShape {
    const PointInfo* start;
    const PointInfo* end;
    double startTangent;  // Hermite segments only
    double endTangent;
};

// A segment is Hermite unless its end point is STEP or LINEAR.
inline bool isHermite(const PointInfo& end)
{
    return end.type != kv_spline::STEP && end.type != kv_spline::LINEAR;
}

// Segment `segment` (1 <= segment < count). A segment at either end of the
// curve stands in its own end point for the missing neighbour.
inline SegmentShape segmentShape(const SplineBase& curve, const std::size_t& segment)
{
    const std::vector<PointInfo*>& points = curve.controlPoints;
    const PointInfo* start = points[segment - 1];
    const PointInfo* end = points[segment];
    if (!isHermite(*end))
        return {start, end, 0.0, 0.0};
    const PointInfo* beforeStart = segment == 1 ? start : points[segment - 2];
    const PointInfo* afterEnd = segment + 1 == points.size() ? end : points[segment + 1];
    return {start, end, curve.getLeftTan(beforeStart, start, end),
            curve.getRightTan(start, end, afterEnd)};
}

// The curve's value at t inside the segment. The kind of the segment is the
// type of its end point; every code other than STEP and LINEAR is a Hermite
// segment.
inline double valueInSegment(const SegmentShape& shape, const double& t)
{
    const PointInfo* start = shape.start;
    const PointInfo* end = shape.end;
    const double dt = end->time - start->time;
    const double s = (t - start->time) / dt;

    if (end->type == kv_spline::STEP)
        return start->value;
    if (end->type == kv_spline::LINEAR)
        return start->value + s * (end->value - start->value);

    double h1, h2, h3, h4;
    hermiteBasis(easedPosition(s, start->tcb.easeFrom, end->tcb.easeTo), h1, h2, h3, h4);
    return ((start->value * h1 + end->value * h2) + shape.startTangent * h3) +
           shape.endTangent * h4;
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

// The segment source of the single-time evaluation: a front-to-back scan and
// a segment prepared afresh for every time. Any list.
class FrontScan {
public:
    explicit FrontScan(const SplineBase& curve) : curve(curve) {}

    CurveLocation locate(const double& t) const { return locateTime(curve.controlPoints, t); }
    double value(const std::size_t& segment, const double& t) const
    {
        return valueInSegment(segmentShape(curve, segment), t);
    }

private:
    const SplineBase& curve;
};

// The plain evaluation of `curve` at one time, over a segment source.
template <typename Segments>
class PlainEvaluation {
public:
    PlainEvaluation(const SplineBase& curve, Segments& segments)
        : curve(curve), segments(segments)
    {
    }

    double operator()(const double& t) const
    {
        const std::vector<PointInfo*>& points = curve.controlPoints;
        if (points.empty())
            return curve.defaultValue;

        const PointInfo& first = *points.front();
        const PointInfo& last = *points.back();
        const CurveLocation location = segments.locate(t);
        if (location.region == CurveLocation::Before)
            return curve.preExtrapolation == kv_spline::EXTRAPOLATE_ZERO ? 0.0 : first.value;
        if (location.region == CurveLocation::Inside)
            return segments.value(location.segment, t);

        if (curve.postExtrapolation == kv_spline::EXTRAPOLATE_ZERO)
            return 0.0;
        if (curve.postExtrapolation == kv_spline::EXTRAPOLATE_CONSTANT || points.size() == 1)
            return last.value;
        if (curve.postExtrapolation == kv_spline::EXTRAPOLATE_LINEAR) {
            if (last.type == kv_spline::STEP)
                return last.value;
            return last.value + (t - last.time) * arrivalSlope(curve);
        }

        const CycleShift shift = cycleShift(first, last, t);
        const double numOffsets = shift.numOffsets;
        assert(numOffsets >= 1.0);
        // Only a list whose last point lies before its first gets here (a
        // sorted one always has at least one whole period behind t); shifting
        // by no period would come back to this same time for ever.
        if (numOffsets < 1.0)
            return last.value;
        const double cycled = (*this)(shift.shiftedTime);
        if (curve.postExtrapolation == kv_spline::EXTRAPOLATE_CYCLE)
            return cycled;
        return (last.value - first.value) * numOffsets + cycled;
    }

private:
    const SplineBase& curve;
    Segments& segments;
};

// ------------------------------------------------ expression-driven evaluation

// The process-wide parser's keys "t" and "f" (the time times timeScale).
// Either may be missing; a missing key is skipped where it would be written
// and reads back as 0.0.
struct TimeKeys {
    FunctionParserBase::keyStruct* time;
    FunctionParserBase::keyStruct* scaled;
};

// Looks both keys up by name.
TimeKeys fetchTimeKeys();

// The expression shown the time x: "t" gets x, then "f" gets x * timeScale,
// each stored in its variable's own kind.
double evaluateAt(const TimeKeys& keys, const double& x, FunctionFloatBase* expression,
                  const double& timeScale);

// The backward difference of linear extrapolation: "t" is stepped back from
// where the last evaluation left it, "f" follows, and the expression's own
// slope over the fixed probe step is returned.
double expressionSlopeBack(const TimeKeys& keys, const double& atLast,
                           FunctionFloatBase* expression, const double& timeScale);

// The curve plus the expression at one time, over a segment source. The keys
// are looked up on the first path that needs them and then kept for the
// object's lifetime.
template <typename Segments>
class ExpressionEvaluation {
public:
    ExpressionEvaluation(const SplineBase& curve, FunctionFloatBase* expression,
                         const double& timeScale, Segments& segments)
        : curve(curve), expression(expression), timeScale(timeScale), segments(segments)
    {
    }

    double operator()(const double& t)
    {
        const std::vector<PointInfo*>& points = curve.controlPoints;
        if (points.empty())
            return curve.defaultValue;

        const PointInfo& first = *points.front();
        const PointInfo& last = *points.back();
        const CurveLocation location = segments.locate(t);

        // Inside the curve the expression sees the keys as the caller left them.
        if (location.region == CurveLocation::Inside) {
            const double expressionValue = (*expression)();
            return expressionValue + segments.value(location.segment, t);
        }

        if (location.region == CurveLocation::Before) {
            if (curve.preExtrapolation == kv_spline::EXTRAPOLATE_ZERO)
                return 0.0;
            return evaluateAt(keys(), first.time, expression, timeScale) + first.value;
        }

        if (curve.postExtrapolation == kv_spline::EXTRAPOLATE_ZERO)
            return 0.0;
        if (curve.postExtrapolation == kv_spline::EXTRAPOLATE_CONSTANT || points.size() == 1)
            return evaluateAt(keys(), last.time, expression, timeScale) + last.value;

        if (curve.postExtrapolation == kv_spline::EXTRAPOLATE_LINEAR) {
            const double atLast = evaluateAt(keys(), last.time, expression, timeScale);
            const double curveSlope = arrivalSlope(curve);
            const double expressionSlope =
                expressionSlopeBack(keys(), atLast, expression, timeScale);
            return ((t - last.time) * (curveSlope + expressionSlope)) + last.value + atLast;
        }

        const CycleShift shift = cycleShift(first, last, t);
        const double numOffsets = shift.numOffsets;
        assert(numOffsets >= 1.0);
        const double shifted = evaluateAt(keys(), shift.shiftedTime, expression, timeScale);
        const PlainEvaluation<Segments> plain(curve, segments);
        if (curve.postExtrapolation == kv_spline::EXTRAPOLATE_CYCLE)
            return shifted + plain(shift.shiftedTime);
        const double atFirst = evaluateAt(keys(), first.time, expression, timeScale);
        const double atLast = evaluateAt(keys(), last.time, expression, timeScale);
        return shifted + (numOffsets * ((atLast + last.value) - (atFirst + first.value)) +
                          plain(shift.shiftedTime));
    }

private:
    const TimeKeys& keys()
    {
        if (!keysFetched) {
            timeKeys = fetchTimeKeys();
            keysFetched = true;
        }
        return timeKeys;
    }

    const SplineBase& curve;
    FunctionFloatBase* expression;
    const double& timeScale;
    Segments& segments;
    TimeKeys timeKeys{nullptr, nullptr};
    bool keysFetched = false;
};

}  // namespace exprcurve_detail

#endif  // EXPRCURVE_PRIVATE_CURVEEVALUATION_H
