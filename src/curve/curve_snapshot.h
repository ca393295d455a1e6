// A snapshot of everything a curve's evaluation reads, laid out for lookups
// and bulk evaluation (internal): the runtime form behind CompiledCurve and
// the one implementation of bulk sampling.
//
// One array per field, indexed by point, and the per-segment data that the
// evaluation would compute for every time (kind, tangents, ease constants)
// computed once, from the curve's records, by the same functions. Only what
// the plain evaluation computes from the same operands with the same
// operations is stored; the per-time division and the Hermite weights stay
// per time, so every value is the curve's own bit for bit.
//
// A list whose times never decrease and hold no NaN is searched: the first
// index whose time is not below an inside time is the one the front-to-back
// scan stops at (along such a list "t <= time" is false up to a point and
// true from there on, and true at the last point). Any other list is scanned
// as the curve itself would be, on the snapshot's own arrays.
#ifndef EXPRCURVE_SRC_CURVE_CURVE_SNAPSHOT_H
#define EXPRCURVE_SRC_CURVE_CURVE_SNAPSHOT_H

#include <cstddef>
#include <vector>

#include "curveevaluation.h"
#include "splinebase.h"

namespace exprcurve_detail {

class CurveSnapshot {
public:
    // Where the last lookup ended, for the next one to start from: any value
    // is valid.
    using Cursor = std::size_t;

    CurveSnapshot();
    // Copies what evaluation reads from `curve`, reusing this object's
    // storage.
    void build(const SplineBase& curve);

    // The evaluation interface of a curve source (curveevaluation.h).
    std::size_t pointCount() const { return times.size(); }
    double defaultValue() const { return emptyValue; }
    int preMode() const { return preExtrapolation; }
    int postMode() const { return postExtrapolation; }
    double firstTime() const { return times.front(); }
    double firstValue() const { return values.front(); }
    double lastTime() const { return times.back(); }
    double lastValue() const { return values.back(); }
    bool lastIsStep() const { return lastPointIsStep; }
    double arrivalSlope() const { return slopeAtLast; }
    CurveLocation locate(const double& t, Cursor& cursor) const
    {
        return locateBetween(times.front(), times.back(), times.size(), t,
                             [&] { return searchFrom(cursor, t); });
    }
    double value(const std::size_t& segment, const double& t) const
    {
        return valueInSegment(shapeOf(segment), t);
    }

    // Every time's value without a cursor: a search from the whole list.
    double operator()(const double& t) const;
    // values[i] = (*this)(times[i]) for every i; `values` may be `times`.
    void sample(const double* times, double* values, std::size_t count) const;
    // The expression-driven evaluation at every time in order, with the same
    // writes of the keys and evaluations of the expression as one call per
    // time; the keys are looked up at most once.
    void sample(const double* times, double* values, std::size_t count,
                FunctionFloatBase* expression, const double& timeScale) const;

private:
    SegmentShape shapeOf(const std::size_t& segment) const;
    // Inside times only: the segment holding t.
    std::size_t searchFrom(Cursor& cursor, const double& t) const;
    std::size_t segmentFromCursor(const Cursor& cursor, const double& t) const;
    std::size_t segmentByHalving(std::size_t low, std::size_t high, const double& t) const;
    std::size_t fillRun(const std::size_t& segment, const double* times, double* values,
                        std::size_t begin, const std::size_t& count) const;

    // By point, in list order.
    std::vector<double> times;
    std::vector<double> values;
    // By segment (index of its end point; index 0 unused).
    std::vector<SegmentKind> kinds;
    std::vector<double> startTangents;  // Hermite kinds only
    std::vector<double> endTangents;
    std::vector<EaseShape> eases;  // empty unless some segment eases

    int preExtrapolation;
    int postExtrapolation;
    double emptyValue;
    double slopeAtLast;  // at least two points
    bool lastPointIsStep;
    bool searchable;  // times never decrease and hold no NaN
};

}  // namespace exprcurve_detail

#endif  // EXPRCURVE_SRC_CURVE_CURVE_SNAPSHOT_H
