// A host program built against the installed package.
#include "exprcurve_version.h"
#include "functionfloatbase.h"
#include "splinebase.h"

#include <cstdio>
#include <cstring>

static_assert(EXPRCURVE_VERSION_MAJOR >= 0 && EXPRCURVE_VERSION_MINOR >= 0 && EXPRCURVE_VERSION_PATCH >= 0,
              "the version macros are numbers");

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
    char version[32];
    std::snprintf(version, sizeof version, "%d.%d.%d", EXPRCURVE_VERSION_MAJOR, EXPRCURVE_VERSION_MINOR,
                  EXPRCURVE_VERSION_PATCH);
    if (std::strcmp(version, EXPRCURVE_VERSION_STRING) != 0) {
        std::fprintf(stderr, "version string %s does not match %s\n", EXPRCURVE_VERSION_STRING, version);
        return 1;
    }
    std::puts("consumer ok");
    return 0;
}
