// The runtime form of a curve behind a C handle.
#include <cmath>
#include <memory>

#include "boundary.h"
#include "compiledcurve.h"
#include "exprcurve.h"
#include "handles.h"
#include "splinebase.h"

using exprcurve::c_api::failWith;
using exprcurve::c_api::guarded;

struct exprcurve_compiled_curve {
    exprcurve::CompiledCurve compiled;
};

extern "C" {

exprcurve_compiled_curve* exprcurve_curve_compile(const exprcurve_curve* curve)
{
    return guarded<exprcurve_compiled_curve*>(nullptr, [&]() -> exprcurve_compiled_curve* {
        if (curve == nullptr)
            return failWith<exprcurve_compiled_curve*>(nullptr, "null curve");
        return new exprcurve_compiled_curve{exprcurve::CompiledCurve(curve->curve)};
    });
}

void exprcurve_compiled_curve_free(exprcurve_compiled_curve* compiled)
{
    delete compiled;
}

int exprcurve_compiled_curve_rebuild(exprcurve_compiled_curve* compiled, const exprcurve_curve* curve)
{
    return guarded(0, [&] {
        if (compiled == nullptr || curve == nullptr)
            return failWith(0, "null compiled curve or curve");
        compiled->compiled.rebuild(curve->curve);
        return 1;
    });
}

size_t exprcurve_compiled_curve_point_count(const exprcurve_compiled_curve* compiled)
{
    return compiled == nullptr ? 0 : compiled->compiled.size();
}

double exprcurve_compiled_curve_evaluate(const exprcurve_compiled_curve* compiled, double t)
{
    return compiled == nullptr ? failWith(std::nan(""), "null compiled curve") : compiled->compiled(t);
}

double exprcurve_compiled_curve_evaluate_hinted(const exprcurve_compiled_curve* compiled, double t,
                                                size_t* hint)
{
    if (compiled == nullptr || hint == nullptr)
        return failWith(std::nan(""), "null compiled curve or hint");
    return compiled->compiled(t, *hint);
}

void exprcurve_compiled_curve_sample(const exprcurve_compiled_curve* compiled, const double* times,
                                     double* values, size_t count)
{
    if (compiled == nullptr || ((times == nullptr || values == nullptr) && count != 0)) {
        failWith(0, "null compiled curve or array");
        return;
    }
    compiled->compiled.sample(times, values, count);
}

}  // extern "C"
