// The pieces of curve evaluation shared by the plain and the
// expression-driven evaluation of a curve and of its snapshot (internal, not
// installed): where a time falls, the value inside a segment, the ease
// mapping, the cycle shift, and the two evaluations themselves. The grouping
// of every floating-point operation is part of the curve's bit-exact results.
//
// Both evaluations are written once, over a curve source: a class that gives
// the curve's ends and modes, tells where a time falls (locate) and gives the
// value inside a segment (value). FrontScan is the source over a SplineBase's
// own records and works on any list; the snapshot (curve_snapshot.h) is the
// other, and must give the same answers.
//
// The value inside a segment is written once for any lane type: a double, or
// a group of doubles whose every operation rounds each lane as the scalar
// operation does (lane_pair.h), so that bulk evaluation gives every time its
// single-time value bit for bit.
#ifndef EXPRCURVE_CURVE_EVALUATION_H
#define EXPRCURVE_CURVE_EVALUATION_H

#include <cassert>
#include <cmath>
#include <cstddef>
#include <vector>

#include "bezierbase.h"
#include "control_points.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "splinebase.h"

namespace exprcurve::curves {

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
inline CurveLocation locateBetween(double firstTime, double lastTime, std::size_t count, double t,
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
inline CurveLocation locateTime(const std::vector<PointInfo*>& points, double t)
{
    const std::size_t count = points.size();
    return locateBetween(points.front()->time, points.back()->time, count, t,
                         [&] { return firstNotBelow(points, t, 1, count - 1); });
}

// ------------------------------------------------------------ one segment

// How the value inside a segment is computed: from the type of its end point,
// and for a Hermite segment whether its ease moves any position.
enum class SegmentKind : unsigned char { Step, Linear, Hermite, EasedHermite };

// Whether the ease of a segment's start (a, the easeFrom of its first point)
// and end (b, the easeTo of its last point) leaves every position in it as it
// is: too little ease in all, or a negative one.
inline bool easeIsInactive(double a, double b)
{
    return 1e-5 > a + b || a < 0.0 || b < 0.0;
}

inline SegmentKind segmentKind(const PointInfo& start, const PointInfo& end)
{
    if (end.type == kv_spline::STEP)
        return SegmentKind::Step;
    if (end.type == kv_spline::LINEAR)
        return SegmentKind::Linear;
    return easeIsInactive(start.tcb.easeFrom, end.tcb.easeTo) ? SegmentKind::Hermite
                                                                : SegmentKind::EasedHermite;
}

// The constants of an active ease: the two ease values scaled to a sum of at
// most 1, the factor k, and the factors of the two curved ends. Each is what
// the mapping of a position computes from the same operands.
struct EaseShape {
    double start;      // a
    double endBegins;  // 1.0 - b
    double factor;     // k
    double startRate;  // k / (a + 1e-5)
    double endRate;    // k / (b + 1e-5)
};

inline EaseShape easeShape(double a, double b)
{
    const double sum = a + b;
    double k;
    if (sum > 1.0) {
        a = a / sum;
        b = b / sum;
        k = 1.0;
    } else {
        k = 1.0 / (2.0 - sum);
    }
    return {a, 1.0 - b, k, k / (a + 1e-5), k / (b + 1e-5)};
}

// Per lane, ifTrue where the condition holds, else ifFalse; for one lane, a
// plain choice.
inline double select(bool condition, double ifTrue, double ifFalse)
{
    return condition ? ifTrue : ifFalse;
}

// Maps the segment position s through an active ease: a quadratic start
// while s is below a, a straight middle, a quadratic end from 1 - b on.
template <typename Lane>
inline Lane easedPosition(const EaseShape& ease, const Lane& s)
{
    const Lane rest = Lane(1.0) - s;
    const Lane easingIn = s * (Lane(ease.startRate) * s);
    const Lane cruising = ((s + s) - Lane(ease.start)) * Lane(ease.factor);
    const Lane easingOut = Lane(1.0) - (Lane(ease.endRate) * rest) * rest;
    return select(Lane(ease.start) > s, easingIn,
                  select(Lane(ease.endBegins) > s, cruising, easingOut));
}

// Everything the value inside one segment needs besides the time.
struct SegmentShape {
    SegmentKind kind;
    double startTime;
    double endTime;
    double startValue;
    double endValue;
    double startTangent;  // Hermite kinds only
    double endTangent;
    EaseShape ease;  // EasedHermite only
};

// Segment `segment` (1 <= segment < count). A segment at either end of the
// curve stands in its own end point for the missing neighbour.
inline SegmentShape segmentShape(const SplineBase& curve, std::size_t segment)
{
    const std::vector<PointInfo*>& points = curve.controlPoints;
    const PointInfo* start = points[segment - 1];
    const PointInfo* end = points[segment];
    SegmentShape shape{segmentKind(*start, *end), start->time, end->time, start->value,
                       end->value, 0.0, 0.0, {}};
    if (shape.kind == SegmentKind::Step || shape.kind == SegmentKind::Linear)
        return shape;
    const PointInfo* beforeStart = segment == 1 ? start : points[segment - 2];
    const PointInfo* afterEnd = segment + 1 == points.size() ? end : points[segment + 1];
    shape.startTangent = curve.getLeftTan(beforeStart, start, end);
    shape.endTangent = curve.getRightTan(start, end, afterEnd);
    if (shape.kind == SegmentKind::EasedHermite)
        shape.ease = easeShape(start->tcb.easeFrom, end->tcb.easeTo);
    return shape;
}

// The position of t in the segment: 0 at its start, 1 at its end.
template <typename Lane>
inline Lane segmentPosition(const SegmentShape& shape, const Lane& t)
{
    return (t - Lane(shape.startTime)) / Lane(shape.endTime - shape.startTime);
}

// The Hermite value at the position s, eased already where the segment eases.
template <typename Lane>
inline Lane hermiteAtPosition(const SegmentShape& shape, const Lane& s)
{
    Lane h1, h2, h3, h4;
    hermiteBasis(s, h1, h2, h3, h4);
    return ((Lane(shape.startValue) * h1 + Lane(shape.endValue) * h2) +
            Lane(shape.startTangent) * h3) +
           Lane(shape.endTangent) * h4;
}

// The value at t inside a segment of each kind. A STEP segment holds its
// start value up to and including its end.
template <typename Lane>
inline Lane stepValue(const SegmentShape& shape, const Lane&)
{
    return Lane(shape.startValue);
}

template <typename Lane>
inline Lane linearValue(const SegmentShape& shape, const Lane& t)
{
    return Lane(shape.startValue) +
           segmentPosition(shape, t) * Lane(shape.endValue - shape.startValue);
}

template <typename Lane>
inline Lane hermiteValue(const SegmentShape& shape, const Lane& t)
{
    return hermiteAtPosition(shape, segmentPosition(shape, t));
}

template <typename Lane>
inline Lane easedHermiteValue(const SegmentShape& shape, const Lane& t)
{
    return hermiteAtPosition(shape, easedPosition(shape.ease, segmentPosition(shape, t)));
}

template <typename Lane>
inline Lane valueInSegment(const SegmentShape& shape, const Lane& t)
{
    switch (shape.kind) {
    case SegmentKind::Step:
        return stepValue(shape, t);
    case SegmentKind::Linear:
        return linearValue(shape, t);
    case SegmentKind::Hermite:
        return hermiteValue(shape, t);
    case SegmentKind::EasedHermite:
        break;
    }
    return easedHermiteValue(shape, t);
}

// ------------------------------------------------------------ whole curve

// The whole periods between the first point and t, and t moved back by them.
struct CycleShift {
    double numOffsets;
    double shiftedTime;
};

inline CycleShift cycleShift(double firstTime, double lastTime, double t)
{
    const double span = lastTime - firstTime;
    const double numOffsets = std::floor((t - firstTime) / span);
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

// The curve source of the single-time evaluation of a SplineBase: its own
// records, a front-to-back scan, and a segment prepared afresh for every
// time. Any list.
class FrontScan {
public:
    struct Cursor {};  // a scan starts at the front every time

    explicit FrontScan(const SplineBase& curve) : curve(curve) {}

    std::size_t pointCount() const { return curve.controlPoints.size(); }
    double defaultValue() const { return curve.defaultValue; }
    int preMode() const { return curve.preExtrapolation; }
    int postMode() const { return curve.postExtrapolation; }
    double firstTime() const { return curve.controlPoints.front()->time; }
    double firstValue() const { return curve.controlPoints.front()->value; }
    double lastTime() const { return curve.controlPoints.back()->time; }
    double lastValue() const { return curve.controlPoints.back()->value; }
    bool lastIsStep() const { return curve.controlPoints.back()->type == kv_spline::STEP; }
    double arrivalSlope() const { return exprcurve::curves::arrivalSlope(curve); }

    CurveLocation locate(double t, Cursor&) const
    {
        return locateTime(curve.controlPoints, t);
    }
    double value(std::size_t segment, double t) const
    {
        return valueInSegment(segmentShape(curve, segment), t);
    }

private:
    const SplineBase& curve;
};

// The plain evaluation of a curve source at one time. The cursor is the
// source's own: where its last lookup ended.
template <typename Curve>
double plainValue(const Curve& curve, double t, typename Curve::Cursor& cursor)
{
    if (curve.pointCount() == 0)
        return curve.defaultValue();

    const CurveLocation location = curve.locate(t, cursor);
    if (location.region == CurveLocation::Before)
        return curve.preMode() == kv_spline::EXTRAPOLATE_ZERO ? 0.0 : curve.firstValue();
    if (location.region == CurveLocation::Inside)
        return curve.value(location.segment, t);

    const int postMode = curve.postMode();
    if (postMode == kv_spline::EXTRAPOLATE_ZERO)
        return 0.0;
    if (postMode == kv_spline::EXTRAPOLATE_CONSTANT || curve.pointCount() == 1)
        return curve.lastValue();
    if (postMode == kv_spline::EXTRAPOLATE_LINEAR) {
        if (curve.lastIsStep())
            return curve.lastValue();
        return curve.lastValue() + (t - curve.lastTime()) * curve.arrivalSlope();
    }

    const CycleShift shift = cycleShift(curve.firstTime(), curve.lastTime(), t);
    const double numOffsets = shift.numOffsets;
    assert(numOffsets >= 1.0);
    // Only a list whose last point lies before its first gets here (a sorted
    // one always has at least one whole period behind t); shifting by no
    // period would come back to this same time for ever.
    if (numOffsets < 1.0)
        return curve.lastValue();
    const double cycled = plainValue(curve, shift.shiftedTime, cursor);
    if (postMode == kv_spline::EXTRAPOLATE_CYCLE)
        return cycled;
    return (curve.lastValue() - curve.firstValue()) * numOffsets + cycled;
}

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
double evaluateAt(const TimeKeys& keys, double x, FunctionFloatBase* expression, double timeScale);

// The backward difference of linear extrapolation: "t" is stepped back from
// where the last evaluation left it, "f" follows, and the expression's own
// slope over the fixed probe step is returned.
double expressionSlopeBack(const TimeKeys& keys, double atLast,
                           FunctionFloatBase* expression, double timeScale);

// The expression and its time keys. The keys are looked up on the first path
// that needs them and then kept for the object's lifetime.
class ExpressionOfTime {
public:
    ExpressionOfTime(FunctionFloatBase* expression, double timeScale)
        : expression(expression), timeScale(timeScale)
    {
    }

    // The expression with the keys as they stand.
    double now() const { return (*expression)(); }
    // The expression shown the time x.
    double at(double x) { return evaluateAt(keys(), x, expression, timeScale); }
    double slopeBack(double atLast)
    {
        return expressionSlopeBack(keys(), atLast, expression, timeScale);
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

    FunctionFloatBase* expression;
    double timeScale;
    TimeKeys timeKeys{nullptr, nullptr};
    bool keysFetched = false;
};

// The curve source plus the expression at one time, with the out-of-range
// modes applied to the sum. `t` stays a reference: a host may pass the very
// variable behind the key "t", which the expression's evaluation writes, and
// linear extrapolation reads `t` after those writes.
template <typename Curve>
double valueWithExpression(const Curve& curve, const double& t, typename Curve::Cursor& cursor,
                           ExpressionOfTime& expression)
{
    if (curve.pointCount() == 0)
        return curve.defaultValue();

    const CurveLocation location = curve.locate(t, cursor);

    // Inside the curve the expression sees the keys as the caller left them.
    if (location.region == CurveLocation::Inside) {
        const double expressionValue = expression.now();
        return expressionValue + curve.value(location.segment, t);
    }

    if (location.region == CurveLocation::Before) {
        if (curve.preMode() == kv_spline::EXTRAPOLATE_ZERO)
            return 0.0;
        return expression.at(curve.firstTime()) + curve.firstValue();
    }

    const int postMode = curve.postMode();
    if (postMode == kv_spline::EXTRAPOLATE_ZERO)
        return 0.0;
    if (postMode == kv_spline::EXTRAPOLATE_CONSTANT || curve.pointCount() == 1)
        return expression.at(curve.lastTime()) + curve.lastValue();

    if (postMode == kv_spline::EXTRAPOLATE_LINEAR) {
        const double atLast = expression.at(curve.lastTime());
        const double curveSlope = curve.arrivalSlope();
        const double expressionSlope = expression.slopeBack(atLast);
        return ((t - curve.lastTime()) * (curveSlope + expressionSlope)) + curve.lastValue() +
               atLast;
    }

    const CycleShift shift = cycleShift(curve.firstTime(), curve.lastTime(), t);
    const double numOffsets = shift.numOffsets;
    assert(numOffsets >= 1.0);
    const double shifted = expression.at(shift.shiftedTime);
    if (postMode == kv_spline::EXTRAPOLATE_CYCLE)
        return shifted + plainValue(curve, shift.shiftedTime, cursor);
    const double atFirst = expression.at(curve.firstTime());
    const double atLast = expression.at(curve.lastTime());
    return shifted + (numOffsets * ((atLast + curve.lastValue()) -
                                    (atFirst + curve.firstValue())) +
                      plainValue(curve, shift.shiftedTime, cursor));
}

}  // namespace exprcurve::curves

#endif  // EXPRCURVE_CURVE_EVALUATION_H
