// The Bessel functions of the first kind come from POSIX, not from std::, so
// their header stays here instead of in functionfloatoperations.h.
#include <math.h>

#include "functionfloatoperations.h"

namespace exprcurve::operations {

double besselJ0(double x) { return ::j0(x); }
double besselJ1(double x) { return ::j1(x); }

}  // namespace exprcurve::operations
