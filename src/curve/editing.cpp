// Building and editing a curve's point list, and the lookups by time.
//
// Lookups are front-to-back scans: a list may legally be unsorted (records
// shared through copyRefs and re-timed through the other curve, or times
// written directly) or hold NaN times, and the results must be those of the
// scan in every such case.
#include <cassert>
#include <cmath>

#include "control_points.h"
#include "splinebase.h"

using exprcurve::curves::deleteAll;
using exprcurve::curves::insertOrdered;

namespace {

// getPrev ignores points less than this below the asked time (2^-23, the
// single-precision epsilon, used as a double).
constexpr double prevTimeEpsilon = 1.1920928955078125e-07;

PointInfo* newPoint(double time, double value)
{
    PointInfo* point = new PointInfo();  // zero slopes, zero tcb, flag false
    point->time = time;
    point->value = value;
    point->type = kv_spline::BEZIER;
    return point;
}

// Index of the first entry equal to `point`, or the list size.
std::size_t indexOf(const std::vector<PointInfo*>& list, const PointInfo* point)
{
    std::size_t index = 0;
    while (index < list.size() && list[index] != point)
        ++index;
    return index;
}

// Takes the first entry equal to `point` out of the list and returns it, or
// null when the list does not hold it.
PointInfo* takeOut(std::vector<PointInfo*>& list, const PointInfo* point)
{
    const std::size_t index = indexOf(list, point);
    if (index == list.size())
        return nullptr;
    PointInfo* record = list[index];
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(index));
    return record;
}

}  // namespace

SplineBase::SplineBase()
    : preExtrapolation(kv_spline::EXTRAPOLATE_CONSTANT),
      postExtrapolation(kv_spline::EXTRAPOLATE_CONSTANT),
      defaultValue(0.0),
      curveFlag(false),
      modified(false)
{
}

SplineBase::~SplineBase()
{
    deleteAll(controlPoints);
    modified = true;
}

void SplineBase::reset()
{
    controlPoints.clear();
    preExtrapolation = kv_spline::EXTRAPOLATE_CONSTANT;
    postExtrapolation = kv_spline::EXTRAPOLATE_CONSTANT;
    defaultValue = 0.0;
}

void SplineBase::removeAllControlPoints()
{
    deleteAll(controlPoints);
    modified = true;
}

unsigned int SplineBase::addPoint(PointInfo* point)
{
    assert(point);
    return insertOrdered(controlPoints, point);
}

PointInfo* SplineBase::addPointPtr(PointInfo* point)
{
    assert(point);
    return controlPoints[insertOrdered(controlPoints, point)];
}

void SplineBase::addPoint(const double& time, const double& value)
{
    insertOrdered(controlPoints, newPoint(time, value));
}

void SplineBase::addPoint(const double& time, const double& value,
                          const PointInfo::BezierData& bezier)
{
    PointInfo* point = newPoint(time, value);
    point->bezier = bezier;
    insertOrdered(controlPoints, point);
}

void SplineBase::addPoint(const double& time, const double& value, const PointInfo::TcbData& tcb)
{
    PointInfo* point = newPoint(time, value);
    point->tcb = tcb;
    insertOrdered(controlPoints, point);
}

void SplineBase::addPoint(const PointInfo& point)
{
    insertOrdered(controlPoints, new PointInfo(point));
}

void SplineBase::remove(const PointInfo* point)
{
    assert(controlPoints.size() > 0);
    if (point != nullptr)
        takeOut(controlPoints, point);
}

namespace {

bool hasType(const std::vector<PointInfo*>& list, int index, kv_spline::interpolationType type)
{
    if (index < 0 || static_cast<std::size_t>(index) >= list.size() || list[index] == nullptr)
        return false;
    return list[index]->type == type;
}

}  // namespace

bool SplineBase::isLinearInterpolation(const int& index) const
{
    return hasType(controlPoints, index, kv_spline::LINEAR);
}

bool SplineBase::isBezierInterpolation(const int& index) const
{
    return hasType(controlPoints, index, kv_spline::BEZIER);
}

bool SplineBase::isTCBInterpolation(const int& index) const
{
    return hasType(controlPoints, index, kv_spline::TCB);
}

bool SplineBase::isStepInterpolation(const int& index) const
{
    return hasType(controlPoints, index, kv_spline::STEP);
}

unsigned int SplineBase::findIndex(const double& t) const
{
    const std::size_t count = controlPoints.size();
    if (count == 0)
        return 0;
    if (controlPoints.front()->time > t)
        return 0;
    if (t > controlPoints.back()->time)
        return static_cast<unsigned int>(count);
    if (count == 1)
        return 0;
    return static_cast<unsigned int>(exprcurve::curves::firstNotBelow(controlPoints, t, 0, count - 1));
}

bool SplineBase::isInterior(const double& t) const
{
    const unsigned int index = findIndex(t);
    return index != 0 && index != controlPoints.size();
}

PointInfo* SplineBase::findBy(const double& t, const double& tolerance) const
{
    PointInfo* nearest = nullptr;
    double nearestDistance = 0.0;
    for (PointInfo* point : controlPoints) {
        const double distance = std::fabs(point->time - t);
        if (tolerance > distance && (nearest == nullptr || distance < nearestDistance)) {
            nearest = point;
            nearestDistance = distance;
        }
    }
    return nearest;
}

PointInfo* SplineBase::getNext(const double& t) const
{
    for (PointInfo* point : controlPoints) {
        if (t < point->time)
            return point;
    }
    return nullptr;
}

PointInfo* SplineBase::getPrev(const double& t) const
{
    for (std::size_t i = 0; i < controlPoints.size(); ++i) {
        if (controlPoints[i]->time + prevTimeEpsilon > t)
            return i == 0 ? nullptr : controlPoints[i - 1];
    }
    return controlPoints.empty() ? nullptr : controlPoints.back();
}

void SplineBase::setTime(const PointInfo* point, const double& time)
{
    if (PointInfo* record = takeOut(controlPoints, point)) {
        record->time = time;
        insertOrdered(controlPoints, record);
    }
}

void SplineBase::setType(const PointInfo* point, const kv_spline::interpolationType& type)
{
    if (PointInfo* record = takeOut(controlPoints, point)) {
        record->type = type;
        insertOrdered(controlPoints, record);
    }
}
