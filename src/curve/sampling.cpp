// Evaluating a curve at many times at once, with exactly the results of
// evaluating it at each time in turn.
//
// The single-time evaluation scans the list from the front, since a list may
// legally be unsorted or hold NaN times. A bulk call checks the list once;
// when its times never decrease and none is NaN it runs the same evaluation
// over SortedWalk, which finds each segment from where the previous time
// left off and prepares each segment's tangents once while the times stay in
// it. Any other list is evaluated time by time.
#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

#include "controlpoints.h"
#include "curveevaluation.h"
#include "splinebase.h"

using exprcurve_detail::CurveLocation;
using exprcurve_detail::ExpressionEvaluation;
using exprcurve_detail::PlainEvaluation;

namespace {

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
        times.reserve(points.size());
        double previous = -std::numeric_limits<double>::infinity();
        for (const PointInfo* point : points) {
            if (!exprcurve_detail::staysSortedWithoutNaN(previous, point->time))
                return;
            previous = point->time;
            times.push_back(previous);
        }
    }

    bool walkable() const { return !times.empty() && times.size() == curve.controlPoints.size(); }

    CurveLocation locate(const double& t)
    {
        return exprcurve_detail::locateBetween(times.front(), times.back(), times.size(), t,
                                               [&] { return findSegment(t); });
    }

    double value(const std::size_t& segment, const double& t)
    {
        if (segment != shapeSegment) {
            shape = exprcurve_detail::segmentShape(curve, segment);
            shapeSegment = segment;
        }
        return exprcurve_detail::valueInSegment(shape, t);
    }

private:
    // For an inside t: the first index >= 1 whose time is not below t. The
    // cursor is kept when t is still in its segment, searched for below it,
    // and otherwise approached from it in doubling steps, so times that
    // ascend cost no more than one walk over the list in all.
    std::size_t findSegment(const double& t)
    {
        if (t <= times[cursor]) {
            if (cursor > 1 && t <= times[cursor - 1])
                cursor = firstNotBelow(1, cursor - 1, t);
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
    for (std::size_t i = 0; i < count; ++i) {
        // A time inside the curve goes straight to its segment, which is all
        // that the full evaluation (a call that handles the out-of-range
        // modes as well) would do with it.
        const double& t = times[i];
        const CurveLocation location = walk.locate(t);
        values[i] = location.region == CurveLocation::Inside ? walk.value(location.segment, t)
                                                             : evaluate(t);
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
