// Test helpers: records whose every field differs, bit-level comparison of
// records, and small curves built from (time, value, type) knots.
#ifndef EXPRCURVE_TESTS_CURVE_POINT_FIELDS_H
#define EXPRCURVE_TESTS_CURVE_POINT_FIELDS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <vector>

#include "splinebase.h"

namespace point_fields {

inline std::vector<std::uint64_t> bitsOf(const std::vector<double>& values)
{
    std::vector<std::uint64_t> bits(values.size());
    if (!values.empty())  // memcpy wants real pointers even for nothing
        std::memcpy(bits.data(), values.data(), values.size() * sizeof(double));
    return bits;
}

// A record at `time` whose other fields derive from `seed`, all distinct.
inline PointInfo distinctPoint(double time, double seed, bool flag = true,
                               kv_spline::interpolationType type = kv_spline::TCB)
{
    return PointInfo{time,
                     seed + 0.5,
                     {seed + 0.25, seed - 0.75},
                     {seed + 0.125, seed - 0.0625, seed + 0.03125, seed - 0.015625, seed + 0.0078125},
                     type,
                     flag};
}

// Every field of `actual` equals that of `expected` bit for bit, the time
// excepted, which must be `time`.
inline void expectFields(const PointInfo& actual, const PointInfo& expected, double time)
{
    const auto fields = [](const PointInfo& p, double t) {
        return bitsOf({t, p.value, p.bezier.leftSlope, p.bezier.rightSlope, p.tcb.tension, p.tcb.continuity,
                       p.tcb.bias, p.tcb.easeFrom, p.tcb.easeTo, double(p.type), double(p.flag)});
    };
    EXPECT_EQ(fields(actual, actual.time), fields(expected, time));
}

inline void expectFields(const PointInfo& actual, const PointInfo& expected)
{
    expectFields(actual, expected, expected.time);
}

struct Knot {
    double time, value;
    int type;
};

// A curve with a point per knot, the other fields zero.
inline std::unique_ptr<SplineBase> curveOf(std::initializer_list<Knot> knots,
                                           int pre = kv_spline::EXTRAPOLATE_CONSTANT,
                                           int post = kv_spline::EXTRAPOLATE_CONSTANT)
{
    std::unique_ptr<SplineBase> curve(new SplineBase());
    for (const Knot& k : knots)
        curve->addPointPtr(
            new PointInfo{k.time, k.value, {}, {}, kv_spline::interpolationType(k.type), false});
    curve->preExtrapolation = pre;
    curve->postExtrapolation = post;
    return curve;
}

inline std::vector<double> timesOf(const SplineBase& curve)
{
    std::vector<double> times;
    for (const PointInfo* point : curve.controlPoints)
        times.push_back(point->time);
    return times;
}

}  // namespace point_fields

#endif  // EXPRCURVE_TESTS_CURVE_POINT_FIELDS_H
