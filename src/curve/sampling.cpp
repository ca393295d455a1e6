// Evaluating a curve at many times at once, with exactly the results of
// evaluating it at each time in turn.
//
// The single-time evaluation scans the list from the front, since a list may
// legally be unsorted or hold NaN times. A bulk call checks the list once;
// when its times never decrease and none is NaN it runs the same evaluation
// over SortedWalk, which finds each segment from where the previous time
// left off and prepares each segment's tangents once while the times stay in
// it. Any other list is evaluated time by time.
//
// The plain sampling goes further: the times that follow one another inside
// a segment form a run, evaluated by a kernel over the prepared segment, two
// times per instruction where the processor has SSE2.
#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "bezierbase.h"
#include "controlpoints.h"
#include "curveevaluation.h"
#include "splinebase.h"

using exprcurve_detail::CurveLocation;
using exprcurve_detail::ExpressionEvaluation;
using exprcurve_detail::PlainEvaluation;

namespace {

// The times that lie in one segment of a list whose times never decrease and
// hold no NaN: exactly those above the segment's start and not above its
// end, as every earlier point's time is then below such a time and the
// end's is the first one that is not.
struct SegmentSpan {
    double start;
    double end;

    // The end first: ascending times leave a segment through its end.
    bool holds(const double& t) const { return t <= end && start < t; }
};

#if defined(__SSE2__)
// How the times of a run inside one segment are evaluated.
enum class RunKind {
    Step,     // the start value throughout
    Linear,
    Hermite,  // a Hermite segment whose ease keeps every position as it is
    Eased,    // a Hermite segment with active ease, left to the scalar path
};

RunKind runKindOf(const exprcurve_detail::SegmentShape& shape)
{
    const PointInfo& end = *shape.end;
    if (end.type == kv_spline::STEP)
        return RunKind::Step;
    if (end.type == kv_spline::LINEAR)
        return RunKind::Linear;
    return exprcurve_detail::easeIsInactive(shape.start->tcb.easeFrom, end.tcb.easeTo)
               ? RunKind::Hermite
               : RunKind::Eased;
}

// A segment evaluated at two times at once. Each lane goes through the
// operations that valueInSegment applies to one time, in the same order and
// grouping; packed SSE2 arithmetic rounds every lane as the scalar
// instruction does and the build never contracts into fused multiply-adds,
// so every value is the scalar one bit for bit, NaN and -0.0 included (only
// where two NaNs of different bits meet may either survive, in the scalar
// code as well: the compiler is free to swap the operands of an addition or
// a product). A change to valueInSegment must be made here too. The
// differences that do not depend on the time are taken once: the same
// operation on the same operands gives the same result.
class PackedSegment {
public:
    explicit PackedSegment(const exprcurve_detail::SegmentShape& shape)
        : startTime(_mm_set1_pd(shape.start->time)),
          endTime(_mm_set1_pd(shape.end->time)),
          duration(_mm_set1_pd(shape.end->time - shape.start->time)),
          startValue(_mm_set1_pd(shape.start->value)),
          endValue(_mm_set1_pd(shape.end->value)),
          rise(_mm_set1_pd(shape.end->value - shape.start->value)),
          startTangent(_mm_set1_pd(shape.startTangent)),
          endTangent(_mm_set1_pd(shape.endTangent))
    {
    }

    // SegmentSpan::holds for both times.
    bool holdsBoth(const __m128d& t) const
    {
        const __m128d held = _mm_and_pd(_mm_cmplt_pd(startTime, t), _mm_cmple_pd(t, endTime));
        return _mm_movemask_pd(held) == 3;
    }

    __m128d step() const { return startValue; }

    __m128d linear(const __m128d& t) const
    {
        return _mm_add_pd(startValue, _mm_mul_pd(position(t), rise));
    }

    // Without ease: the position goes to the basis unchanged.
    __m128d hermite(const __m128d& t) const
    {
        __m128d h1, h2, h3, h4;
        hermiteBasis(position(t), h1, h2, h3, h4);
        const __m128d values = _mm_add_pd(_mm_mul_pd(startValue, h1), _mm_mul_pd(endValue, h2));
        return _mm_add_pd(_mm_add_pd(values, _mm_mul_pd(startTangent, h3)),
                          _mm_mul_pd(endTangent, h4));
    }

private:
    __m128d position(const __m128d& t) const
    {
        return _mm_div_pd(_mm_sub_pd(t, startTime), duration);
    }

    __m128d startTime;
    __m128d endTime;
    __m128d duration;
    __m128d startValue;
    __m128d endValue;
    __m128d rise;
    __m128d startTangent;
    __m128d endTangent;
};

// Evaluates times from `begin` on, two at a time, with `kernel` while the
// segment holds both, and returns where it stopped. Each pair is read before
// its values are written, so the times may be the values' array.
template <typename Kernel>
std::size_t fillPairs(const PackedSegment& segment, const double* times, double* values,
                      std::size_t begin, const std::size_t& count, Kernel&& kernel)
{
    for (; count - begin >= 2; begin += 2) {
        const __m128d t = _mm_loadu_pd(times + begin);
        if (!segment.holdsBoth(t))
            break;
        _mm_storeu_pd(values + begin, kernel(t));
    }
    return begin;
}
#endif

// Evaluates the times from `begin` on while the segment holds them, and
// returns where the run ends. Each value is written after its time is read.
std::size_t fillRun(const exprcurve_detail::SegmentShape& shape, const double* times,
                    double* values, std::size_t begin, const std::size_t& count)
{
#if defined(__SSE2__)
    const PackedSegment packed(shape);
    switch (runKindOf(shape)) {
    case RunKind::Step:
        begin = fillPairs(packed, times, values, begin, count,
                          [&](const __m128d&) { return packed.step(); });
        break;
    case RunKind::Linear:
        begin = fillPairs(packed, times, values, begin, count,
                          [&](const __m128d& t) { return packed.linear(t); });
        break;
    case RunKind::Hermite:
        begin = fillPairs(packed, times, values, begin, count,
                          [&](const __m128d& t) { return packed.hermite(t); });
        break;
    case RunKind::Eased:
        break;
    }
#endif
    const SegmentSpan span{shape.start->time, shape.end->time};
    for (; begin < count && span.holds(times[begin]); ++begin)
        values[begin] = exprcurve_detail::valueInSegment(shape, times[begin]);
    return begin;
}

// The segment source for a list whose times never decrease and hold no NaN.
//
// Why a search gives the front scan's segment: a time inside such a curve
// (first time < t <= last time) is not NaN, so along the list "t <= time"
// is false up to some index and true from there on, and it is true at the
// last index. The scan returns the first index >= 1 where it is true, which
// is the boundary that any search for it finds.
class SortedWalk {
public:
    // Reads the list's times once, and tells through walkable() whether they
    // never decrease and hold no NaN, which is what the walk needs.
    explicit SortedWalk(const SplineBase& curve) : curve(curve)
    {
        const std::vector<PointInfo*>& points = curve.controlPoints;
        times.resize(points.size());
        // Written through a pointer, so that the previous time stays in a
        // register: the check reads every record of the list on each call.
        double* copied = times.data();
        double previous = -std::numeric_limits<double>::infinity();
        for (const PointInfo* point : points) {
            const double time = point->time;
            if (!exprcurve_detail::staysSortedWithoutNaN(previous, time)) {
                times.clear();
                return;
            }
            *copied++ = time;
            previous = time;
        }
    }

    bool walkable() const { return !times.empty(); }

    CurveLocation locate(const double& t)
    {
        return exprcurve_detail::locateBetween(times.front(), times.back(), times.size(), t,
                                               [&] { return findSegment(t); });
    }

    double value(const std::size_t& segment, const double& t)
    {
        return exprcurve_detail::valueInSegment(shapeOf(segment), t);
    }

    bool isPrepared(const std::size_t& segment) const { return segment == shapeSegment; }

    const exprcurve_detail::SegmentShape& shapeOf(const std::size_t& segment)
    {
        if (segment == shapeSegment)
            return shape;
        shapeSegment = segment;
        if (shapes.empty()) {
            shape = exprcurve_detail::segmentShape(curve, segment);
            return shape;
        }
        exprcurve_detail::SegmentShape& kept = shapes[segment];
        if (!kept.start)
            kept = exprcurve_detail::segmentShape(curve, segment);
        shape = kept;
        return shape;
    }

private:
    // For an inside t: the first index >= 1 whose time is not below t. The
    // cursor is kept when t is still in its segment, searched for below it,
    // and otherwise approached from it in doubling steps, so times that
    // ascend cost no more than one walk over the list in all.
    std::size_t findSegment(const double& t)
    {
        if (t <= times[cursor]) {
            if (cursor > 1 && t <= times[cursor - 1]) {
                keepEveryShape();
                cursor = firstNotBelow(1, cursor - 1, t);
            }
            return cursor;
        }
        const std::size_t last = times.size() - 1;
        std::size_t low = cursor + 1;  // everything below low lies before t
        std::size_t high = low;
        std::size_t step = 1;
        while (times[high] < t) {  // stops at the latest at `last`
            low = high + 1;
            step += step;
            high = std::min(last, low + step);
        }
        cursor = firstNotBelow(low, high, t);
        return cursor;
    }

    // Times that go back come in no order, and would prepare the same
    // segments over and over: from the first one on, each segment is
    // prepared once and kept.
    void keepEveryShape()
    {
        if (shapes.empty())
            shapes.resize(times.size());
    }

    // The first index in [low, high] whose time is not below t; the time at
    // `high` is known not to be. Halving without a branch on the data: the
    // outcome of each comparison is a coin toss for scattered times.
    std::size_t firstNotBelow(const std::size_t& low, const std::size_t& high, const double& t) const
    {
        const double* first = times.data() + low;
        std::size_t length = high - low + 1;
        while (length > 1) {
            const std::size_t half = length / 2;
            first = first[half - 1] < t ? first + half : first;
            length -= half;
        }
        return static_cast<std::size_t>(first - times.data());
    }

    const SplineBase& curve;
    std::vector<double> times;
    std::size_t cursor = 1;
    std::size_t shapeSegment = 0;  // no segment 0: nothing prepared yet
    exprcurve_detail::SegmentShape shape{};
    std::vector<exprcurve_detail::SegmentShape> shapes;  // by segment; start null until prepared
};

}  // namespace

void SplineBase::sample(const double* times, double* values, std::size_t count) const
{
    SortedWalk walk(*this);
    if (!walk.walkable()) {
        for (std::size_t i = 0; i < count; ++i)
            values[i] = (*this)(times[i]);
        return;
    }
    const PlainEvaluation<SortedWalk> evaluate(*this, walk);
    for (std::size_t i = 0; i < count;) {
        const double& t = times[i];
        const CurveLocation location = walk.locate(t);
        if (location.region != CurveLocation::Inside) {
            values[i] = evaluate(t);
            ++i;
            continue;
        }
        // A time inside the curve goes straight to its segment, which is all
        // that the full evaluation (a call that handles the out-of-range
        // modes as well) would do with it, and so do the times after it
        // while the segment holds them. A run is set up for a segment met a
        // second time, so that times which each fall in a segment of their
        // own pay nothing for it.
        const std::size_t segment = location.segment;
        if (walk.isPrepared(segment)) {
            i = fillRun(walk.shapeOf(segment), times, values, i, count);
        } else {
            values[i] = walk.value(segment, t);
            ++i;
        }
    }
}

void SplineBase::sample(const double* times, double* values, std::size_t count,
                        FunctionFloatBase* expression, const double& timeScale)
{
    SortedWalk walk(*this);
    if (!walk.walkable()) {
        for (std::size_t i = 0; i < count; ++i)
            values[i] = (*this)(times[i], expression, timeScale);
        return;
    }
    ExpressionEvaluation<SortedWalk> evaluate(*this, expression, timeScale, walk);
    for (std::size_t i = 0; i < count; ++i)
        values[i] = evaluate(times[i]);
}

std::vector<double> SplineBase::sample(const std::vector<double>& times) const
{
    std::vector<double> values(times.size());
    sample(times.data(), values.data(), times.size());
    return values;
}

std::vector<double> SplineBase::sample(const std::vector<double>& times,
                                       FunctionFloatBase* expression, const double& timeScale)
{
    std::vector<double> values(times.size());
    sample(times.data(), values.data(), times.size(), expression, timeScale);
    return values;
}
