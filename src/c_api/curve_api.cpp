// Curves behind C handles.
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "boundary.h"
#include "curve_files.h"
#include "exact_copy.h"
#include "exprcurve.h"
#include "handles.h"
#include "splinebase.h"

using exprcurve::c_api::failWith;
using exprcurve::c_api::guarded;

namespace {

const char* const nullCurve = "null curve";

PointInfo toPointInfo(const exprcurve_point& point)
{
    PointInfo info{};
    info.time = point.time;
    info.value = point.value;
    info.bezier.leftSlope = point.left_slope;
    info.bezier.rightSlope = point.right_slope;
    info.tcb.tension = point.tension;
    info.tcb.continuity = point.continuity;
    info.tcb.bias = point.bias;
    info.tcb.easeFrom = point.ease_from;
    info.tcb.easeTo = point.ease_to;
    info.type = static_cast<kv_spline::interpolationType>(point.type);
    info.flag = point.flag != 0;
    return info;
}

exprcurve_point fromPointInfo(const PointInfo& info)
{
    return exprcurve_point{info.time,           info.value,        info.bezier.leftSlope,
                           info.bezier.rightSlope, info.tcb.tension, info.tcb.continuity,
                           info.tcb.bias,       info.tcb.easeFrom, info.tcb.easeTo,
                           static_cast<int>(info.type), info.flag ? 1 : 0};
}

int insert(exprcurve_curve* curve, const PointInfo& point)
{
    return guarded(0, [&] {
        if (curve == nullptr)
            return failWith(0, nullCurve);
        // The record is made before the list grows, so running out of memory
        // in either leaves the curve as it was.
        auto record = std::make_unique<PointInfo>(point);
        curve->curve.controlPoints.reserve(curve->curve.controlPoints.size() + 1);
        curve->curve.addPoint(record.release());
        return 1;
    });
}

}  // namespace

extern "C" {

exprcurve_curve* exprcurve_curve_new(void)
{
    return guarded<exprcurve_curve*>(nullptr, [] { return new exprcurve_curve(); });
}

void exprcurve_curve_free(exprcurve_curve* curve)
{
    delete curve;
}

exprcurve_curve* exprcurve_curve_copy(const exprcurve_curve* curve)
{
    return guarded<exprcurve_curve*>(nullptr, [&]() -> exprcurve_curve* {
        if (curve == nullptr)
            return failWith<exprcurve_curve*>(nullptr, nullCurve);
        auto copy = std::make_unique<exprcurve_curve>();
        exprcurve::copyExactly(curve->curve, copy->curve);
        return copy.release();
    });
}

void exprcurve_curve_add_point(exprcurve_curve* curve, double time, double value, int type)
{
    exprcurve_point point{};
    point.time = time;
    point.value = value;
    point.type = type;
    insert(curve, toPointInfo(point));
}

int exprcurve_curve_insert_point(exprcurve_curve* curve, const exprcurve_point* point)
{
    if (point == nullptr)
        return failWith(0, "null point");
    return insert(curve, toPointInfo(*point));
}

size_t exprcurve_curve_point_count(const exprcurve_curve* curve)
{
    return curve == nullptr ? 0 : curve->curve.controlPoints.size();
}

int exprcurve_curve_get_point(const exprcurve_curve* curve, size_t index, exprcurve_point* point)
{
    if (curve == nullptr || point == nullptr)
        return failWith(0, "null curve or point");
    if (index >= curve->curve.controlPoints.size())
        return failWith(0, "no point " + std::to_string(index));
    *point = fromPointInfo(*curve->curve.controlPoints[index]);
    return 1;
}

int exprcurve_curve_remove_point(exprcurve_curve* curve, size_t index)
{
    if (curve == nullptr)
        return failWith(0, nullCurve);
    if (index >= curve->curve.controlPoints.size())
        return failWith(0, "no point " + std::to_string(index));
    const PointInfo* record = curve->curve.controlPoints[index];
    curve->curve.remove(record);  // hands the record back to us
    delete record;
    return 1;
}

void exprcurve_curve_clear(exprcurve_curve* curve)
{
    if (curve != nullptr)
        curve->curve.removeAllControlPoints();
}

int exprcurve_curve_pre_mode(const exprcurve_curve* curve)
{
    return curve == nullptr ? failWith(-1, nullCurve) : curve->curve.preExtrapolation;
}

int exprcurve_curve_post_mode(const exprcurve_curve* curve)
{
    return curve == nullptr ? failWith(-1, nullCurve) : curve->curve.postExtrapolation;
}

void exprcurve_curve_set_modes(exprcurve_curve* curve, int pre, int post)
{
    if (curve == nullptr)
        return;
    curve->curve.preExtrapolation = pre;
    curve->curve.postExtrapolation = post;
}

double exprcurve_curve_default_value(const exprcurve_curve* curve)
{
    return curve == nullptr ? failWith(std::nan(""), nullCurve) : curve->curve.defaultValue;
}

void exprcurve_curve_set_default_value(exprcurve_curve* curve, double value)
{
    if (curve != nullptr)
        curve->curve.defaultValue = value;
}

int exprcurve_curve_load(exprcurve_curve* curve, const char* path, unsigned int version)
{
    return guarded(0, [&] {
        if (curve == nullptr || path == nullptr)
            return failWith(0, "null curve or path");
        const exprcurve::FileOutcome outcome = exprcurve::loadCurveFile(curve->curve, path, version);
        return outcome.ok ? 1 : failWith(0, outcome.message);
    });
}

int exprcurve_curve_save(exprcurve_curve* curve, const char* path, unsigned int version)
{
    return guarded(0, [&] {
        if (curve == nullptr || path == nullptr)
            return failWith(0, "null curve or path");
        const exprcurve::FileOutcome outcome = exprcurve::saveCurveFile(curve->curve, path, version);
        return outcome.ok ? 1 : failWith(0, outcome.message);
    });
}

double exprcurve_curve_evaluate(const exprcurve_curve* curve, double t)
{
    return curve == nullptr ? failWith(std::nan(""), nullCurve) : curve->curve(t);
}

void exprcurve_curve_sample(const exprcurve_curve* curve, const double* times, double* values,
                            size_t count)
{
    if (curve == nullptr || ((times == nullptr || values == nullptr) && count != 0)) {
        failWith(0, "null curve or array");
        return;
    }
    // Bulk sampling sets up segment runs in memory of its own, and may run
    // out of it partway; each time is then evaluated alone, with the same
    // results. In place, it writes to a buffer first so that the times
    // survive such a failure.
    const SplineBase& spline = curve->curve;
    const bool sampled = guarded(false, [&] {
        if (values != times) {
            spline.sample(times, values, count);
            return true;
        }
        std::vector<double> buffer(count);
        spline.sample(times, buffer.data(), count);
        std::copy(buffer.begin(), buffer.end(), values);
        return true;
    });
    if (!sampled) {
        for (size_t i = 0; i < count; ++i)
            values[i] = spline(times[i]);
    }
}

}  // extern "C"
