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
    return PointInfo{time, seed + 0.5, {seed + 0.25, seed - 0.75},
                     {seed + 0.125, seed - 0.0625, seed + 0.03125, seed - 0.015625, seed + 0.0078125},
                     type, flag};
}

inline std::vector<std::uint64_t> fieldBits(const PointInfo& p)
{
    std::vector<std::uint64_t> bits;
    for (double field : {p.time, p.value, p.bezier.leftSlope, p.bezier.rightSlope, p.tcb.tension,
                         p.tcb.continuity, p.tcb.bias, p.tcb.easeFrom, p.tcb.easeTo})
        bits.push_back(bitsOf(field));
    bits.push_back(static_cast<std::uint64_t>(p.type));
    bits.push_back(p.flag);
    return bits;
}

// Every field of `actual` equals that of `expected` bit for bit, except that
// the time must be `time`.
inline void expectFields(const PointInfo& actual, PointInfo expected, double time)
{
    expected.time = time;
    EXPECT_EQ(fieldBits(actual), fieldBits(expected));
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
