// The value rule of every built-in operator and function: IEEE operations,
// math-library calls, and the rules of truth values, abs, max and min. The
// node classes evaluate through these and the table of built-ins
// (builtinoperations.h) names them, so every form of evaluation computes the
// very same function.
//
// Truth values are 1.0 and 0.0. "not", "&", "|" and "=" compare magnitudes
// against an absolute tolerance of 2^-52; "if" tests for exact zero.
#ifndef EXPRCURVE_FUNCTIONFLOATOPERATIONS_H
#define EXPRCURVE_FUNCTIONFLOATOPERATIONS_H

#include <cmath>

namespace exprcurve {
namespace operations {

// 2^-52, the magnitude below which "not", "&", "|" and "=" take a value as
// zero.
constexpr double truthTolerance = 2.220446049250313e-16;

inline double sum(double a, double b) { return a + b; }
inline double difference(double a, double b) { return a - b; }
inline double product(double a, double b) { return a * b; }
inline double quotient(double a, double b) { return a / b; }
inline double toThePower(double a, double b) { return std::pow(a, b); }

// Out of line: j0 and j1 are POSIX, declared only by <math.h>, which this
// header leaves out of every host's translation units.
double besselJ0(double x);
double besselJ1(double x);
inline double roundDown(double x) { return std::floor(x); }
inline double roundUp(double x) { return std::ceil(x); }
inline double tangent(double x) { return std::tan(x); }
inline double sine(double x) { return std::sin(x); }
inline double cosine(double x) { return std::cos(x); }
inline double hyperbolicTangent(double x) { return std::tanh(x); }
inline double hyperbolicSine(double x) { return std::sinh(x); }
inline double hyperbolicCosine(double x) { return std::cosh(x); }
inline double arcTangent(double x) { return std::atan(x); }
inline double arcSine(double x) { return std::asin(x); }
inline double arcCosine(double x) { return std::acos(x); }
inline double squareRoot(double x) { return std::sqrt(x); }
inline double naturalLog(double x) { return std::log(x); }
inline double decimalLog(double x) { return std::log10(x); }
inline double exponential(double x) { return std::exp(x); }

// 1.0 when |x| < 2^-52, so a NaN gives 0.0.
inline double logicalNot(double x) { return std::fabs(x) < truthTolerance ? 1.0 : 0.0; }

// x when x > 0, otherwise x with its sign bit flipped: 0.0 gives -0.0.
inline double flipSignUnlessPositive(double x) { return x > 0 ? x : -x; }

// Combined arithmetically, then the magnitude tested: 2 & 0.5 is true, two
// values whose product underflows below the tolerance are false, 1 | -1 is
// false.
inline double logicalAnd(double a, double b)
{
    return std::fabs(a * b) > truthTolerance ? 1.0 : 0.0;
}
inline double logicalOr(double a, double b)
{
    return std::fabs(a + b) > truthTolerance ? 1.0 : 0.0;
}

// Absolute tolerance, not relative: 0.1 + 0.2 = 0.3 holds, 1e20 = 1e20 + 1e4
// does not.
inline double equal(double a, double b)
{
    return std::fabs(a - b) < truthTolerance ? 1.0 : 0.0;
}

inline double greater(double a, double b) { return a > b ? 1.0 : 0.0; }
inline double less(double a, double b) { return a < b ? 1.0 : 0.0; }

// b whenever the comparison is false, including equal values and any NaN.
inline double maximum(double a, double b) { return a > b ? a : b; }
inline double minimum(double a, double b) { return a < b ? a : b; }

}  // namespace operations
}  // namespace exprcurve

#endif  // EXPRCURVE_FUNCTIONFLOATOPERATIONS_H
