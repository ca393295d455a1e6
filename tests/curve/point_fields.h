// Test helpers: records whose every field differs, and a bit-level
// comparison of two records.
#ifndef EXPRCURVE_TESTS_CURVE_POINT_FIELDS_H
#define EXPRCURVE_TESTS_CURVE_POINT_FIELDS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
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
    PointInfo point{};
    point.time = time;
    point.value = seed + 0.5;
    point.bezier = {seed + 0.25, seed - 0.75};
    point.tcb = {seed + 0.125, seed - 0.0625, seed + 0.03125, seed - 0.015625, seed + 0.0078125};
    point.type = type;
    point.flag = flag;
    return point;
}

// Every field of `actual` equals that of `expected`, bit for bit, except
// that the time must be `time`.
inline void expectFields(const PointInfo& actual, const PointInfo& expected, double time)
{
    EXPECT_EQ(bitsOf(actual.time), bitsOf(time));
    EXPECT_EQ(bitsOf(actual.value), bitsOf(expected.value));
    EXPECT_EQ(bitsOf(actual.bezier.leftSlope), bitsOf(expected.bezier.leftSlope));
    EXPECT_EQ(bitsOf(actual.bezier.rightSlope), bitsOf(expected.bezier.rightSlope));
    EXPECT_EQ(bitsOf(actual.tcb.tension), bitsOf(expected.tcb.tension));
    EXPECT_EQ(bitsOf(actual.tcb.continuity), bitsOf(expected.tcb.continuity));
    EXPECT_EQ(bitsOf(actual.tcb.bias), bitsOf(expected.tcb.bias));
    EXPECT_EQ(bitsOf(actual.tcb.easeFrom), bitsOf(expected.tcb.easeFrom));
    EXPECT_EQ(bitsOf(actual.tcb.easeTo), bitsOf(expected.tcb.easeTo));
    EXPECT_EQ(actual.type, expected.type);
    EXPECT_EQ(actual.flag, expected.flag);
}

inline void expectFields(const PointInfo& actual, const PointInfo& expected)
{
    expectFields(actual, expected, expected.time);
}

inline std::vector<double> timesOf(const SplineBase& curve)
{
    std::vector<double> times;
    for (const PointInfo* point : curve.controlPoints)
        times.push_back(point->time);
    return times;
}

inline std::vector<double> valuesOf(const SplineBase& curve)
{
    std::vector<double> values;
    for (const PointInfo* point : curve.controlPoints)
        values.push_back(point->value);
    return values;
}

}  // namespace point_fields

#endif  // EXPRCURVE_TESTS_CURVE_POINT_FIELDS_H
