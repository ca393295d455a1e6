// A curve's value at a time, and the tangent queries.
//
// The grouping of every floating-point operation below is deliberate: results
// are compared bit for bit, so a reordering that is algebraically equal is
// still a change.
#include "evaluation.h"
#include "splinebase.h"

using exprcurve::curves::FrontScan;

namespace {

// Added to the span of a node's neighbours so that neighbours sharing one time
// give a huge slope instead of a division by zero. The right-hand query uses
// the single-precision 1e-16 widened to double, the left-hand one the double.
constexpr double leftNodeSpanGuard = 1e-16;
constexpr double rightNodeSpanGuard = static_cast<double>(1e-16f);
static_assert(rightNodeSpanGuard == 1.0000000168623835e-16, "the float constant widened");

// Kochanek-Bartels weight A of a point.
double tensionWeight(const PointInfo* point)
{
    return (1.0 - point->tcb.tension) * 0.5;
}

}  // namespace

double SplineBase::getBruteLeftTan(const PointInfo* prev, const PointInfo* cur,
                                   const PointInfo* next) const
{
    const double a = tensionWeight(cur);
    const double c = cur->tcb.continuity;
    const double b = cur->tcb.bias;
    return (cur->value - prev->value) * ((1.0 + b) * ((1.0 + c) * a)) +
           (next->value - cur->value) * ((1.0 - b) * ((1.0 - c) * a));
}

double SplineBase::getBruteRightTan(const PointInfo* prev, const PointInfo* cur,
                                    const PointInfo* next) const
{
    const double a = tensionWeight(cur);
    const double c = cur->tcb.continuity;
    const double b = cur->tcb.bias;
    return (cur->value - prev->value) * ((1.0 + b) * ((1.0 - c) * a)) +
           (next->value - cur->value) * ((1.0 - b) * ((1.0 + c) * a));
}

// A bezier slope is per time unit, hence the segment length; a
// Kochanek-Bartels tangent is rescaled from the neighbours' uneven spacing.
double SplineBase::getLeftTan(const PointInfo* prev, const PointInfo* cur,
                              const PointInfo* next) const
{
    const double dR = next->time - cur->time;
    if (cur->type == kv_spline::BEZIER)
        return dR * cur->bezier.rightSlope;
    return (getBruteLeftTan(prev, cur, next) * (dR + dR)) / ((cur->time - prev->time) + dR);
}

double SplineBase::getRightTan(const PointInfo* prev, const PointInfo* cur,
                               const PointInfo* next) const
{
    const double dL = cur->time - prev->time;
    if (cur->type == kv_spline::BEZIER)
        return dL * cur->bezier.leftSlope;
    return (getBruteRightTan(prev, cur, next) * (dL + dL)) / ((next->time - cur->time) + dL);
}

// An index outside 1 .. count-1 names no segment: slope and ratio 0.0.
double SplineBase::getTangentLeftAtNode(const unsigned int& index, double& ratio) const
{
    if (index < 1 || index >= controlPoints.size()) {
        ratio = 0.0;
        return 0.0;
    }
    const PointInfo* point = controlPoints[index];
    if (point->type == kv_spline::BEZIER) {
        ratio = 0.5;
        return point->bezier.leftSlope;
    }
    const PointInfo* prev = controlPoints[index - 1];
    const PointInfo* next = index + 1 < controlPoints.size() ? controlPoints[index + 1] : point;
    const double d = (next->time - prev->time) + leftNodeSpanGuard;
    ratio = (point->time - prev->time) / d;
    return getBruteRightTan(prev, point, next) * (2.0 / d);
}

double SplineBase::getTangentRightAtNode(const unsigned int& index, double& ratio) const
{
    if (index < 1 || index >= controlPoints.size()) {
        ratio = 0.0;
        return 0.0;
    }
    const PointInfo* point = controlPoints[index - 1];
    if (point->type == kv_spline::BEZIER) {
        ratio = 0.5;
        return point->bezier.rightSlope;
    }
    const PointInfo* next = controlPoints[index];
    const PointInfo* prev = index == 1 ? point : controlPoints[index - 2];
    const double d = (next->time - prev->time) + rightNodeSpanGuard;
    ratio = (next->time - point->time) / d;
    return getBruteLeftTan(prev, point, next) * (2.0 / d);
}

double SplineBase::operator()(const double& t) const
{
    FrontScan::Cursor cursor;
    return exprcurve::curves::plainValue(FrontScan(*this), t, cursor);
}
