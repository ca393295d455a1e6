// The value rules of the operators whose result is not a single IEEE
// operation or math-library call: truth values, abs, max and min. The node
// classes and the compiled form both evaluate through these, so the two can
// never disagree.
//
// Truth values are 1.0 and 0.0. "not", "&", "|" and "=" compare magnitudes
// against an absolute tolerance of 2^-52; "if" tests for exact zero.
#ifndef EXPRCURVE_FUNCTIONFLOATOPERATIONS_H
#define EXPRCURVE_FUNCTIONFLOATOPERATIONS_H

#include <cmath>

constexpr double exprcurveTruthTolerance = 2.220446049250313e-16;

namespace exprcurve {
namespace operations {

// 1.0 when |x| < 2^-52, so a NaN gives 0.0.
inline double logicalNot(double x) { return std::fabs(x) < exprcurveTruthTolerance ? 1.0 : 0.0; }

// x when x > 0, otherwise x with its sign bit flipped: 0.0 gives -0.0.
inline double flipSignUnlessPositive(double x) { return x > 0 ? x : -x; }

// Combined arithmetically, then the magnitude tested: 2 & 0.5 is true, two
// values whose product underflows below the tolerance are false, 1 | -1 is
// false.
inline double logicalAnd(double a, double b)
{
    return std::fabs(a * b) > exprcurveTruthTolerance ? 1.0 : 0.0;
}
inline double logicalOr(double a, double b)
{
    return std::fabs(a + b) > exprcurveTruthTolerance ? 1.0 : 0.0;
}

// Absolute tolerance, not relative: 0.1 + 0.2 = 0.3 holds, 1e20 = 1e20 + 1e4
// does not.
inline double equal(double a, double b)
{
    return std::fabs(a - b) < exprcurveTruthTolerance ? 1.0 : 0.0;
}

inline double greater(double a, double b) { return a > b ? 1.0 : 0.0; }
inline double less(double a, double b) { return a < b ? 1.0 : 0.0; }

// b whenever the comparison is false, including equal values and any NaN.
inline double maximum(double a, double b) { return a > b ? a : b; }
inline double minimum(double a, double b) { return a < b ? a : b; }

}  // namespace operations
}  // namespace exprcurve

#endif  // EXPRCURVE_FUNCTIONFLOATOPERATIONS_H
