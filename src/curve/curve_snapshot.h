// A snapshot of everything a curve's evaluation reads, laid out for lookups
// and bulk evaluation (internal): the runtime form behind CompiledCurve, and
// the bulk sampling of a curve and of its snapshot.
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
//
// The lookups are defined in this header: a shared library may not inline a
// function that another library could replace, and these are the few
// instructions every evaluation runs.
#ifndef EXPRCURVE_SRC_CURVE_CURVE_SNAPSHOT_H
#define EXPRCURVE_SRC_CURVE_CURVE_SNAPSHOT_H

#include <cstddef>
#include <vector>

#include "evaluation.h"
#include "splinebase.h"

namespace exprcurve::curves {

// The times of a list that never decrease and hold no NaN, and the searches
// for the segment of an inside time t (first time < t <= last time): the
// first index whose time is not below t.
struct SortedTimes {
    const double* at;
    std::size_t last;  // the last index

    // In [low, high]; the time at `high` is known not to be below t.
    std::size_t halving(std::size_t low, std::size_t high, double t) const;
    // From any cursor.
    std::size_t gallopFrom(std::size_t cursor, double t) const;
    // From a segment whose start lies below t.
    std::size_t walkOn(std::size_t segment, double t) const;
};

// A copy of a list's times, and where a time falls in that list: searched
// (from a cursor, any value valid, 0 for none) when the times never decrease
// and hold no NaN, else scanned front to back as the curve itself scans.
class PointTimes {
public:
    using Cursor = std::size_t;

    // Reuses the storage.
    void copyFrom(const std::vector<PointInfo*>& points);
    void clear() { times.clear(); }

    std::size_t count() const { return times.size(); }
    double first() const { return times.front(); }
    double last() const { return times.back(); }
    bool searchable() const { return sorted; }
    // Searchable lists only.
    SortedTimes searched() const { return {times.data(), times.size() - 1}; }
    const double* data() const { return times.data(); }

    // At least one point.
    CurveLocation locate(double t, Cursor& cursor) const
    {
        return locateBetween(times.front(), times.back(), times.size(), t,
                             [&] { return segmentOf(t, cursor); });
    }

private:
    // Inside times only.
    std::size_t segmentOf(double t, Cursor& cursor) const;

    std::vector<double> times;
    bool sorted = true;
};

// A curve's own records, read through a copy of their times: the curve source
// of the bulk sampling of a SplineBase, which prepares a segment only when a
// time falls in it.
class SearchedRecords {
public:
    using Cursor = PointTimes::Cursor;

    SearchedRecords(const SplineBase& curve, const PointTimes& times) : records(curve), times(times) {}

    std::size_t pointCount() const { return records.pointCount(); }
    double defaultValue() const { return records.defaultValue(); }
    int preMode() const { return records.preMode(); }
    int postMode() const { return records.postMode(); }
    double firstTime() const { return records.firstTime(); }
    double firstValue() const { return records.firstValue(); }
    double lastTime() const { return records.lastTime(); }
    double lastValue() const { return records.lastValue(); }
    bool lastIsStep() const { return records.lastIsStep(); }
    double arrivalSlope() const { return records.arrivalSlope(); }
    CurveLocation locate(double t, Cursor& cursor) const { return times.locate(t, cursor); }
    double value(std::size_t segment, double t) const
    {
        return records.value(segment, t);
    }

private:
    FrontScan records;
    const PointTimes& times;
};

// Where a snapshot's arrays begin, so that a loop over many segments keeps
// them in registers.
struct SegmentTable {
    const double* times;
    const double* values;
    const SegmentKind* kinds;
    const double* startTangents;
    const double* endTangents;
    const EaseShape* eases;

    SegmentShape shapeOf(std::size_t segment) const { return shapeOf(segment, kinds[segment]); }
    // The same, for a segment known to be of the kind given.
    SegmentShape shapeOf(std::size_t segment, SegmentKind kind) const;
};

class CurveSnapshot {
public:
    // Where the last lookup ended, for the next one to start from: any value
    // is valid.
    using Cursor = std::size_t;

    CurveSnapshot();
    // Copies what evaluation reads from `curve`, reusing this object's
    // storage.
    void build(const SplineBase& curve);

    // The evaluation interface of a curve source (evaluation.h).
    std::size_t pointCount() const { return times.count(); }
    double defaultValue() const { return emptyValue; }
    int preMode() const { return preExtrapolation; }
    int postMode() const { return postExtrapolation; }
    double firstTime() const { return times.first(); }
    double firstValue() const { return values.front(); }
    double lastTime() const { return times.last(); }
    double lastValue() const { return values.back(); }
    bool lastIsStep() const { return lastPointIsStep; }
    double arrivalSlope() const { return slopeAtLast; }
    CurveLocation locate(double t, Cursor& cursor) const { return times.locate(t, cursor); }
    double value(std::size_t segment, double t) const
    {
        return valueInSegment(table().shapeOf(segment), t);
    }

    // values[i] = (*this)(times[i]) for every i; `values` may be `times`.
    void sample(const double* times, double* values, std::size_t count) const;
    // The expression-driven evaluation at every time in order, with the same
    // writes of the keys and evaluations of the expression as one call per
    // time; the keys are looked up at most once.
    void sample(const double* times, double* values, std::size_t count,
                FunctionFloatBase* expression, double timeScale) const;

private:
    SegmentTable table() const
    {
        return {times.data(),         values.data(),      kinds.data(),
                startTangents.data(), endTangents.data(), eases.data()};
    }

    // By point, in list order.
    PointTimes times;
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
    bool segmentsShareKind;
};

inline SegmentShape SegmentTable::shapeOf(std::size_t segment, SegmentKind kind) const
{
    SegmentShape shape;
    shape.kind = kind;
    shape.startTime = times[segment - 1];
    shape.endTime = times[segment];
    shape.startValue = values[segment - 1];
    shape.endValue = values[segment];
    if (shape.kind == SegmentKind::Step || shape.kind == SegmentKind::Linear)
        return shape;  // the tangents' arrays stay out of the cache
    shape.startTangent = startTangents[segment];
    shape.endTangent = endTangents[segment];
    if (shape.kind == SegmentKind::EasedHermite)
        shape.ease = eases[segment];
    return shape;
}

// The cursor's own segment first: a time that follows the cursor is most
// often still in it. Cursor 0 names no segment: the search starts from the
// whole list.
inline std::size_t PointTimes::segmentOf(double t, Cursor& cursor) const
{
    if (!sorted)
        return firstNotBelow(times.data(), t, 1, times.size() - 1);
    if (cursor - 1 < times.size() - 1 && t <= times[cursor] && times[cursor - 1] < t)
        return cursor;
    const SortedTimes search = searched();
    cursor = cursor == 0 ? search.halving(1, search.last, t) : search.gallopFrom(cursor, t);
    return cursor;
}

// Gallops from the cursor's segment towards t, in steps that double, and
// halves the bracket that holds it.
inline std::size_t SortedTimes::gallopFrom(std::size_t cursor, double t) const
{
    // How far to gallop, in doubling steps, before halving the rest of the
    // list instead: a time that follows the cursor is found in a few probes,
    // one far away costs little more than a search from scratch.
    constexpr int gallopDoublings = 6;
    const std::size_t start = cursor < last ? cursor : last;
    std::size_t step = 1;
    if (t <= at[start]) {
        if (start == 1 || at[start - 1] < t)
            return start;
        std::size_t high = start - 1;  // the segment is at or below high
        for (int doubling = 0; doubling < gallopDoublings && high > step; ++doubling) {
            const std::size_t probe = high - step;
            if (at[probe] < t)
                return halving(probe + 1, high, t);
            high = probe;
            step += step;
        }
        return halving(1, high, t);
    }
    std::size_t low = start + 1;  // the segment is at or above low
    for (int doubling = 0; doubling < gallopDoublings; ++doubling) {
        const std::size_t probe = low + step - 1;
        if (probe >= last)
            break;
        if (!(at[probe] < t))
            return halving(low, probe, t);
        low = probe + 1;
        step += step;
    }
    return halving(low, last, t);
}

// The next points one by one, as a merge of two ascending sequences walks,
// when t lies among the next few; else a gallop. The first two steps are
// taken before anything else is looked at: ascending times most often stay
// in their segment or move to the next.
inline std::size_t SortedTimes::walkOn(std::size_t segment, double t) const
{
    if (!(at[segment] < t))
        return segment;
    ++segment;
    if (!(at[segment] < t))
        return segment;
    ++segment;
    constexpr std::size_t walkedPoints = 16;
    const std::size_t ahead = segment + walkedPoints < last ? segment + walkedPoints : last;
    if (at[ahead] < t)  // never at the last point, whose time is not below t
        return gallopFrom(ahead, t);
    while (at[segment] < t)
        ++segment;
    return segment;
}

// The comparison's outcome only moves the bracket by an addition, never
// decides a jump: for scattered times it is a coin toss that a branch would
// mispredict half the time.
inline std::size_t SortedTimes::halving(std::size_t low, std::size_t high,
                                        double t) const
{
    const double* first = at + low;
    std::size_t length = high - low + 1;
    while (length > 1) {
        const std::size_t half = length / 2;
        first += static_cast<std::size_t>(first[half - 1] < t) * half;
        length -= half;
    }
    return static_cast<std::size_t>(first - at);
}

// The bulk sampling of a SplineBase (SplineBase::sample): the walk of the
// snapshot's sampling over the curve's own records and a copy of their times,
// which prepares a segment only when a time falls in it.
void sampleRecords(const SplineBase& curve, const double* at, double* values, std::size_t count);
void sampleRecords(const SplineBase& curve, const double* at, double* values, std::size_t count,
                   FunctionFloatBase* expression, double timeScale);

}  // namespace exprcurve::curves

#endif  // EXPRCURVE_SRC_CURVE_CURVE_SNAPSHOT_H
