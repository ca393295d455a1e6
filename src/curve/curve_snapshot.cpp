#include "curve_snapshot.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lane_pair.h"

namespace exprcurve_detail {

namespace {

bool holds(const SegmentShape& shape, const double& t)
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
                          std::size_t begin, const std::size_t& count, const Kernel& kernel)
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
                          std::size_t begin, const std::size_t& count)
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

// The segments' kinds as the walk sees them: every segment of one kind, known
// before the walk, so that the compiler drops what the other kinds would
// need; or each segment's own. A run is given its segment's index, not its
// shape, so that the walk keeps the shape of a lone time in registers.
template <SegmentKind kind>
struct EverySegment {
    SegmentKind of(const SegmentTable&, const std::size_t&) const { return kind; }
    std::size_t fillRun(const SegmentTable& table, const std::size_t& segment, const double* times,
                        double* values, std::size_t begin, const std::size_t& count) const
    {
        return fillRunOfKind<kind>(table.shapeOf(segment, kind), times, values, begin, count);
    }
};

struct EachSegment {
    SegmentKind of(const SegmentTable& table, const std::size_t& segment) const
    {
        return table.kinds[segment];
    }
    std::size_t fillRun(const SegmentTable& table, const std::size_t& segment, const double* times,
                        double* values, std::size_t begin, const std::size_t& count) const
    {
        const SegmentShape shape = table.shapeOf(segment);
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
};

}  // namespace

// The walk stands in one segment at a time. A time beyond its end (and not
// beyond the curve's) is found by walking on, so ascending times walk the
// list and the times together; any other inside time is searched for from
// the whole list; times outside the curve take the whole evaluation. A time
// that the segment the walk stands in holds starts a run: it and the times
// after it that the segment holds are evaluated by the segment's kernel,
// two at a time. So times that each fall in a segment of their own pay
// nothing for runs.
template <typename KindOf>
void CurveSnapshot::walk(const double* at, double* values, std::size_t count,
                         const KindOf& kindOf) const
{
    const SortedTimes sorted{times.data(), times.size() - 1};
    const SegmentTable table = this->table();
    const double firstTime = times.front();
    const double lastTime = times.back();
    Cursor outside = 0;
    std::size_t segment = 1;
    SegmentShape shape = table.shapeOf(segment, kindOf.of(table, segment));
    for (std::size_t i = 0; i < count;) {
        const double t = at[i];
        const bool notBeyond = t <= shape.endTime;  // false for NaN
        if (notBeyond && shape.startTime < t) {
            i = kindOf.fillRun(table, segment, at, values, i, count);
            continue;
        }
        if (!notBeyond && t <= lastTime) {
            segment = sorted.walkOn(segment + 1, t);
        } else if (notBeyond && firstTime < t) {
            segment = sorted.halving(1, sorted.last, t);
        } else {
            const double outsideTime = t;  // kept apart: its address is taken
            values[i] = plainValue(*this, outsideTime, outside);
            ++i;
            continue;
        }
        shape = table.shapeOf(segment, kindOf.of(table, segment));
        values[i] = valueInSegment(shape, t);
        ++i;
    }
}

CurveSnapshot::CurveSnapshot()
    : preExtrapolation(kv_spline::EXTRAPOLATE_CONSTANT),
      postExtrapolation(kv_spline::EXTRAPOLATE_CONSTANT),
      emptyValue(0.0),
      slopeAtLast(0.0),
      lastPointIsStep(false),
      searchable(true),
      segmentsShareKind(true)
{
}

void CurveSnapshot::build(const SplineBase& curve)
{
    const std::vector<PointInfo*>& points = curve.controlPoints;
    const std::size_t count = points.size();
    try {
        times.resize(count);
        values.resize(count);
        kinds.resize(count);
        startTangents.resize(count);
        endTangents.resize(count);
        eases.clear();
        searchable = true;
        segmentsShareKind = true;
        double previous = -std::numeric_limits<double>::infinity();
        for (std::size_t i = 0; i < count; ++i) {
            const double time = points[i]->time;
            searchable = searchable && staysSortedWithoutNaN(previous, time);
            previous = time;
            times[i] = time;
            values[i] = points[i]->value;
        }
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
    slopeAtLast = count > 1 ? exprcurve_detail::arrivalSlope(curve) : 0.0;
}

// A curve whose segments are all of one kind, the common case, is walked by
// code for that kind alone.
void CurveSnapshot::sample(const double* times, double* values, std::size_t count) const
{
    if (pointCount() < 2 || !searchable) {  // no inside, or no walk
        Cursor cursor = 0;
        for (std::size_t i = 0; i < count; ++i)
            values[i] = plainValue(*this, times[i], cursor);
        return;
    }
    if (!segmentsShareKind)
        return walk(times, values, count, EachSegment());
    switch (kinds.back()) {
    case SegmentKind::Step:
        return walk(times, values, count, EverySegment<SegmentKind::Step>());
    case SegmentKind::Linear:
        return walk(times, values, count, EverySegment<SegmentKind::Linear>());
    case SegmentKind::Hermite:
        return walk(times, values, count, EverySegment<SegmentKind::Hermite>());
    case SegmentKind::EasedHermite:
        break;
    }
    walk(times, values, count, EverySegment<SegmentKind::EasedHermite>());
}

void CurveSnapshot::sample(const double* times, double* values, std::size_t count,
                           FunctionFloatBase* expression, const double& timeScale) const
{
    ExpressionOfTime withExpression(expression, timeScale);
    Cursor cursor = 0;
    for (std::size_t i = 0; i < count; ++i)
        values[i] = valueWithExpression(*this, times[i], cursor, withExpression);
}

}  // namespace exprcurve_detail
