#include "curve_snapshot.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lane_pair.h"

namespace exprcurve::curves {

namespace {

bool holds(const SegmentShape& shape, double t)
{
    return shape.startTime < t && t <= shape.endTime;
}

// Evaluates the times from `begin` on while the segment holds them (its start
// time below, its end time not), two at a time and the rest one at a time,
// with `kernel`, which computes each lane as the single-time evaluation does.
// Each time is read before its value is written, so the times may be the
// values' array. Returns where the run ends.
template <typename Kernel>
std::size_t fillWhileHeld(const SegmentShape& shape, const double* times, double* values,
                          std::size_t begin, std::size_t count, const Kernel& kernel)
{
    const LanePair start(shape.startTime);
    const LanePair end(shape.endTime);
    for (; count - begin >= LanePair::width; begin += LanePair::width) {
        const LanePair t = LanePair::load(times + begin);
        if (!((start < t) & (t <= end)).both())
            break;
        kernel(t).store(values + begin);
    }
    for (; begin < count && holds(shape, times[begin]); ++begin)
        values[begin] = kernel(times[begin]);
    return begin;
}

template <SegmentKind kind>
std::size_t fillRunOfKind(const SegmentShape& shape, const double* times, double* values,
                          std::size_t begin, std::size_t count)
{
    return fillWhileHeld(shape, times, values, begin, count, [&](const auto& t) {
        if constexpr (kind == SegmentKind::Step)
            return stepValue(shape, t);
        else if constexpr (kind == SegmentKind::Linear)
            return linearValue(shape, t);
        else if constexpr (kind == SegmentKind::Hermite)
            return hermiteValue(shape, t);
        else
            return easedHermiteValue(shape, t);
    });
}

// A run of the shape's own kind.
std::size_t fillRun(const SegmentShape& shape, const double* times, double* values,
                    std::size_t begin, std::size_t count)
{
    switch (shape.kind) {
    case SegmentKind::Step:
        return fillRunOfKind<SegmentKind::Step>(shape, times, values, begin, count);
    case SegmentKind::Linear:
        return fillRunOfKind<SegmentKind::Linear>(shape, times, values, begin, count);
    case SegmentKind::Hermite:
        return fillRunOfKind<SegmentKind::Hermite>(shape, times, values, begin, count);
    case SegmentKind::EasedHermite:
        break;
    }
    return fillRunOfKind<SegmentKind::EasedHermite>(shape, times, values, begin, count);
}

// Where the walk finds each segment's shape, and how it runs through one:
//
// - a snapshot's arrays, prepared once for any number of walks, with every
//   segment of one kind known before the walk, so that the compiler drops
//   what the other kinds would need (EverySegment), or each segment's own
//   kind (EachSegment);
// - a curve's own records, each segment prepared from them as the walk meets
//   it (RecordSegments): a curve sampled once, where preparing every segment
//   would cost more than the walk.
// A run is given its segment's index and gathers the shape again, so that
// the walk's own copy never leaves registers: a shape stored field by field
// and read back in wider pieces stalls the processor.
template <SegmentKind kind>
struct EverySegment {
    SegmentShape shapeOf(std::size_t segment) const { return table.shapeOf(segment, kind); }
    std::size_t run(std::size_t segment, const double* times, double* values,
                    std::size_t begin, std::size_t count) const
    {
        return fillRunOfKind<kind>(shapeOf(segment), times, values, begin, count);
    }
    SegmentTable table;
};

struct EachSegment {
    SegmentShape shapeOf(std::size_t segment) const { return table.shapeOf(segment); }
    std::size_t run(std::size_t segment, const double* times, double* values,
                    std::size_t begin, std::size_t count) const
    {
        return fillRun(shapeOf(segment), times, values, begin, count);
    }
    SegmentTable table;
};

struct RecordSegments {
    SegmentShape shapeOf(std::size_t segment) const { return segmentShape(curve, segment); }
    std::size_t run(std::size_t segment, const double* times, double* values,
                    std::size_t begin, std::size_t count) const
    {
        return fillRun(shapeOf(segment), times, values, begin, count);
    }
    const SplineBase& curve;
};

// The bulk sampling of a curve source whose times never decrease and hold no
// NaN, at least two of them. The walk stands in one segment at a time. A time
// beyond its end (and not beyond the curve's) is found by walking on, so
// ascending times walk the list and the times together; any other inside
// time is searched for from the whole list; times outside the curve take the
// whole evaluation. A time that the segment the walk stands in holds starts a
// run: it and the times after it that the segment holds are evaluated by the
// segment's kernel, two at a time. So times that each fall in a segment of
// their own pay nothing for runs.
template <typename Curve, typename Segments>
void walk(const Curve& curve, const SortedTimes& sorted, const Segments& segments,
          const double* at, double* values, std::size_t count)
{
    const double firstTime = sorted.at[0];
    const double lastTime = sorted.at[sorted.last];
    typename Curve::Cursor outside = 0;
    std::size_t segment = 1;
    SegmentShape shape = segments.shapeOf(segment);
    for (std::size_t i = 0; i < count;) {
        const double t = at[i];
        const bool notBeyond = t <= shape.endTime;  // false for NaN
        if (notBeyond && shape.startTime < t) {
            i = segments.run(segment, at, values, i, count);
            continue;
        }
        if (!notBeyond && t <= lastTime) {
            segment = sorted.walkOn(segment + 1, t);
        } else if (notBeyond && firstTime < t) {
            segment = sorted.halving(1, sorted.last, t);
        } else {
            const double outsideTime = t;  // kept apart: its address is taken
            values[i] = plainValue(curve, outsideTime, outside);
            ++i;
            continue;
        }
        shape = segments.shapeOf(segment);
        values[i] = valueInSegment(shape, t);
        ++i;
    }
}

// Any list: walked when its times allow, else each time evaluated as a
// single time is, on the copy of the times.
template <typename Curve, typename Segments>
void sampleSource(const Curve& curve, const PointTimes& times, const Segments& segments,
                  const double* at, double* values, std::size_t count)
{
    if (times.count() >= 2 && times.searchable())
        return walk(curve, times.searched(), segments, at, values, count);
    typename Curve::Cursor cursor = 0;
    for (std::size_t i = 0; i < count; ++i)
        values[i] = plainValue(curve, at[i], cursor);
}

// The expression-driven evaluation at every time in order, the keys looked
// up once.
template <typename Curve>
void sampleWithExpression(const Curve& curve, const double* at, double* values,
                          std::size_t count, FunctionFloatBase* expression,
                          double timeScale)
{
    ExpressionOfTime withExpression(expression, timeScale);
    typename Curve::Cursor cursor = 0;
    for (std::size_t i = 0; i < count; ++i)
        values[i] = valueWithExpression(curve, at[i], cursor, withExpression);
}

}  // namespace

void PointTimes::copyFrom(const std::vector<PointInfo*>& points)
{
    times.resize(points.size());
    sorted = true;
    double previous = -std::numeric_limits<double>::infinity();
    double* copied = times.data();  // the previous time stays in a register
    for (const PointInfo* point : points) {
        const double time = point->time;
        sorted = sorted && staysSortedWithoutNaN(previous, time);
        previous = time;
        *copied++ = time;
    }
}

CurveSnapshot::CurveSnapshot()
    : preExtrapolation(kv_spline::EXTRAPOLATE_CONSTANT),
      postExtrapolation(kv_spline::EXTRAPOLATE_CONSTANT),
      emptyValue(0.0),
      slopeAtLast(0.0),
      lastPointIsStep(false),
      segmentsShareKind(true)
{
}

void CurveSnapshot::build(const SplineBase& curve)
{
    const std::vector<PointInfo*>& points = curve.controlPoints;
    const std::size_t count = points.size();
    try {
        times.copyFrom(points);
        values.resize(count);
        kinds.resize(count);
        startTangents.resize(count);
        endTangents.resize(count);
        eases.clear();
        segmentsShareKind = true;
        for (std::size_t i = 0; i < count; ++i)
            values[i] = points[i]->value;
        if (count > 0) {
            kinds[0] = SegmentKind::Step;  // no segment ends at the first point
            startTangents[0] = endTangents[0] = 0.0;
        }
        for (std::size_t segment = 1; segment < count; ++segment) {
            const SegmentShape shape = segmentShape(curve, segment);
            kinds[segment] = shape.kind;
            segmentsShareKind = segmentsShareKind && shape.kind == kinds[1];
            startTangents[segment] = shape.startTangent;
            endTangents[segment] = shape.endTangent;
            if (shape.kind == SegmentKind::EasedHermite) {
                if (eases.empty())
                    eases.resize(count);
                eases[segment] = shape.ease;
            }
        }
    } catch (...) {
        // Arrays of different lengths would be read out of bounds: the
        // snapshot is left as one of a curve without points.
        times.clear();
        values.clear();
        throw;
    }
    preExtrapolation = curve.preExtrapolation;
    postExtrapolation = curve.postExtrapolation;
    emptyValue = curve.defaultValue;
    lastPointIsStep = count > 0 && points.back()->type == kv_spline::STEP;
    slopeAtLast = count > 1 ? exprcurve::curves::arrivalSlope(curve) : 0.0;
}

// A curve whose segments are all of one kind, the common case, is walked by
// code for that kind alone.
void CurveSnapshot::sample(const double* at, double* values, std::size_t count) const
{
    const SegmentTable table = this->table();
    if (!segmentsShareKind || times.count() < 2)
        return sampleSource(*this, times, EachSegment{table}, at, values, count);
    switch (kinds[1]) {
    case SegmentKind::Step:
        return sampleSource(*this, times, EverySegment<SegmentKind::Step>{table}, at, values, count);
    case SegmentKind::Linear:
        return sampleSource(*this, times, EverySegment<SegmentKind::Linear>{table}, at, values, count);
    case SegmentKind::Hermite:
        return sampleSource(*this, times, EverySegment<SegmentKind::Hermite>{table}, at, values, count);
    case SegmentKind::EasedHermite:
        break;
    }
    sampleSource(*this, times, EverySegment<SegmentKind::EasedHermite>{table}, at, values, count);
}

void CurveSnapshot::sample(const double* at, double* values, std::size_t count,
                           FunctionFloatBase* expression, double timeScale) const
{
    sampleWithExpression(*this, at, values, count, expression, timeScale);
}

void sampleRecords(const SplineBase& curve, const double* at, double* values, std::size_t count)
{
    PointTimes times;
    times.copyFrom(curve.controlPoints);
    sampleSource(SearchedRecords(curve, times), times, RecordSegments{curve}, at, values, count);
}

void sampleRecords(const SplineBase& curve, const double* at, double* values, std::size_t count,
                   FunctionFloatBase* expression, double timeScale)
{
    PointTimes times;
    times.copyFrom(curve.controlPoints);
    sampleWithExpression(SearchedRecords(curve, times), at, values, count, expression, timeScale);
}

}  // namespace exprcurve::curves
