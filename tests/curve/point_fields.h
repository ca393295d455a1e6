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

inline std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// A record at `time` whose other fields derive from `seed`, all distinct.
inline PointInfo distinctPoint(double time, double seed, bool flag = true,
                               kv_spline::interpolationType type = kv_spline::TCB)
{
    return PointInfo{time, seed + 0.5, {seed + 0.25, seed - 0.75},
                     {seed + 0.125, seed - 0.0625, seed + 0.03125, seed - 0.015625, seed + 0.0078125}, type, flag};
}

// Every field of `actual` equals that of `expected` bit for bit, the time
// excepted, which must be `time`.
inline void expectFields(const PointInfo& actual, const PointInfo& expected, double time)
{
    const auto bits = [](const PointInfo& p, double t) {
        return std::vector<std::uint64_t>{bitsOf(t), bitsOf(p.value), bitsOf(p.bezier.leftSlope),
                                          bitsOf(p.bezier.rightSlope), bitsOf(p.tcb.tension),
                                          bitsOf(p.tcb.continuity), bitsOf(p.tcb.bias), bitsOf(p.tcb.easeFrom),
                                          bitsOf(p.tcb.easeTo), std::uint64_t(p.type), p.flag};
    };
    EXPECT_EQ(bits(actual, actual.time), bits(expected, time));
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
inline std::unique_ptr<SplineBase> curveOf(std::initializer_list<Knot> knots, int pre = 1, int post = 1)
{
    std::unique_ptr<SplineBase> curve(new SplineBase());
    for (const Knot& k : knots)
        curve->addPointPtr(new PointInfo{k.time, k.value, {}, {}, kv_spline::interpolationType(k.type), false});
    curve->preExtrapolation = pre;
    curve->postExtrapolation = post;
    return curve;
}

inline std::vector<double> column(const SplineBase& curve, double PointInfo::*field)
{
    std::vector<double> values;
    for (const PointInfo* point : curve.controlPoints)
        values.push_back(point->*field);
    return values;
}

inline std::vector<double> timesOf(const SplineBase& curve) { return column(curve, &PointInfo::time); }

}  // namespace point_fields

#endif  // EXPRCURVE_TESTS_CURVE_POINT_FIELDS_H
