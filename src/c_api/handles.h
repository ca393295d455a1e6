// The curve handle, shared by the sources that take one.
#ifndef EXPRCURVE_C_API_HANDLES_H
#define EXPRCURVE_C_API_HANDLES_H

#include "splinebase.h"

struct exprcurve_curve {
    SplineBase curve;
};

#endif  // EXPRCURVE_C_API_HANDLES_H
