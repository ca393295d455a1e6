// A host program built against the installed package.
#include "functionfloatbase.h"
#include "splinebase.h"

#include <cstdio>

int main()
{
    SplineBase curve;
    curve.addPoint(0.0, 0.0);
    curve.addPoint(1.0, 10.0);
    curve.setType(curve.controlPoints[1], kv_spline::LINEAR);

    FunctionFloatConstant two(2.0);
    const double value = curve(0.25) * two();
    if (value != 5.0) {
        std::fprintf(stderr, "unexpected value %g\n", value);
        return 1;
    }
    std::puts("consumer ok");
    return 0;
}
