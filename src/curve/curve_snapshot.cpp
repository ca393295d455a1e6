#include "curve_snapshot.h"

#include <algorithm>
#include <limits>

#include "lane_pair.h"

namespace exprcurve_detail {

namespace {

// How far a lookup gallops from its cursor, in doubling steps, before it
// halves the rest of the list instead: time that follows the cursor is found
// in a few probes, a time far away costs little more than a search from
// scratch.
constexpr int gallopDoublings = 6;

// Evaluates the times from `begin` on while the segment holds them (its start
// time below, its end time not), two at a time and then one at a time, with
// `kernel`, which computes each lane as the single-time evaluation does. The
// time at `begin` is held. Each time is read before its value is written, so
// the times may be the values' array. Returns where the run ends.
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
    for (; begin < count; ++begin) {
        const double t = times[begin];
        if (!(shape.startTime < t && t <= shape.endTime))
            break;
        values[begin] = kernel(t);
    }
    return begin;
}

}  // namespace

CurveSnapshot::CurveSnapshot()
    : preExtrapolation(kv_spline::EXTRAPOLATE_CONSTANT),
      postExtrapolation(kv_spline::EXTRAPOLATE_CONSTANT),
      emptyValue(0.0),
      slopeAtLast(0.0),
      lastPointIsStep(false),
      searchable(true)
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

SegmentShape CurveSnapshot::shapeOf(const std::size_t& segment) const
{
    SegmentShape shape{kinds[segment],    times[segment - 1],     times[segment],
                       values[segment - 1], values[segment],      startTangents[segment],
                       endTangents[segment], {}};
    if (shape.kind == SegmentKind::EasedHermite)
        shape.ease = eases[segment];
    return shape;
}

// Cursor 0 names no segment: the search starts from the whole list.
std::size_t CurveSnapshot::searchFrom(Cursor& cursor, const double& t) const
{
    if (!searchable)
        return firstNotBelow(times.data(), t, 1, times.size() - 1);
    cursor = cursor == 0 ? segmentByHalving(1, times.size() - 1, t) : segmentFromCursor(cursor, t);
    return cursor;
}

// Gallops from the cursor's segment towards t, in steps that double, and
// halves the bracket that holds it.
std::size_t CurveSnapshot::segmentFromCursor(const Cursor& cursor, const double& t) const
{
    const std::size_t last = times.size() - 1;
    const std::size_t start = std::min(cursor, last);
    std::size_t step = 1;
    if (t <= times[start]) {
        if (start == 1 || times[start - 1] < t)
            return start;
        std::size_t high = start - 1;  // the segment is at or below high
        for (int doubling = 0; doubling < gallopDoublings && high > step; ++doubling) {
            const std::size_t probe = high - step;
            if (times[probe] < t)
                return segmentByHalving(probe + 1, high, t);
            high = probe;
            step += step;
        }
        return segmentByHalving(1, high, t);
    }
    std::size_t low = start + 1;  // the segment is at or above low
    for (int doubling = 0; doubling < gallopDoublings; ++doubling) {
        const std::size_t probe = low + step - 1;
        if (probe >= last)
            break;
        if (!(times[probe] < t))
            return segmentByHalving(low, probe, t);
        low = probe + 1;
        step += step;
    }
    return segmentByHalving(low, last, t);
}

// The first index in [low, high] whose time is not below t; the time at
// `high` is known not to be. The comparison's outcome only moves the bracket
// by an addition, never decides a jump: for scattered times it is a coin
// toss that a branch would mispredict half the time.
std::size_t CurveSnapshot::segmentByHalving(std::size_t low, std::size_t high, const double& t) const
{
    const double* first = times.data() + low;
    std::size_t length = high - low + 1;
    while (length > 1) {
        const std::size_t half = length / 2;
        first += static_cast<std::size_t>(first[half - 1] < t) * half;
        length -= half;
    }
    return static_cast<std::size_t>(first - times.data());
}

double CurveSnapshot::operator()(const double& t) const
{
    Cursor cursor = 0;
    return plainValue(*this, t, cursor);
}

std::size_t CurveSnapshot::fillRun(const std::size_t& segment, const double* times,
                                   double* values, std::size_t begin,
                                   const std::size_t& count) const
{
    const SegmentShape shape = shapeOf(segment);
    switch (shape.kind) {
    case SegmentKind::Step:
        return fillWhileHeld(shape, times, values, begin, count,
                             [&](const auto& t) { return stepValue(shape, t); });
    case SegmentKind::Linear:
        return fillWhileHeld(shape, times, values, begin, count,
                             [&](const auto& t) { return linearValue(shape, t); });
    case SegmentKind::Hermite:
        return fillWhileHeld(shape, times, values, begin, count,
                             [&](const auto& t) { return hermiteValue(shape, t); });
    case SegmentKind::EasedHermite:
        break;
    }
    return fillWhileHeld(shape, times, values, begin, count,
                         [&](const auto& t) { return easedHermiteValue(shape, t); });
}

// The times that follow one another inside one segment form a run, evaluated
// by the segment's kernel. Times that go back are searched for from the whole
// list; ascending ones from where the previous one was found, which walks
// the list and the times together.
void CurveSnapshot::sample(const double* times, double* values, std::size_t count) const
{
    Cursor cursor = 0;
    if (pointCount() == 0 || !searchable) {
        for (std::size_t i = 0; i < count; ++i)
            values[i] = plainValue(*this, times[i], cursor);
        return;
    }
    double previous = -std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < count;) {
        const double t = times[i];
        if (t < previous)
            cursor = 0;
        previous = t;
        const CurveLocation location = locate(t, cursor);
        if (location.region == CurveLocation::Inside) {
            i = fillRun(location.segment, times, values, i, count);
        } else {
            values[i] = plainValue(*this, t, cursor);
            ++i;
        }
    }
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
