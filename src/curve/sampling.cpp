// Evaluating a curve at many times at once, with exactly the results of
// evaluating it at each time in turn: the sampling of the curve's runtime
// form (curve_snapshot.cpp), over the curve's own records, which spares a
// call the preparation of segments no time falls in.
#include <cstddef>
#include <vector>

#include "curve_snapshot.h"
#include "splinebase.h"

void SplineBase::sample(const double* times, double* values, std::size_t count) const
{
    exprcurve::curves::sampleRecords(*this, times, values, count);
}

void SplineBase::sample(const double* times, double* values, std::size_t count,
                        FunctionFloatBase* expression, const double& timeScale)
{
    exprcurve::curves::sampleRecords(*this, times, values, count, expression, timeScale);
}

std::vector<double> SplineBase::sample(const std::vector<double>& times) const
{
    std::vector<double> values(times.size());
    sample(times.data(), values.data(), times.size());
    return values;
}

std::vector<double> SplineBase::sample(const std::vector<double>& times,
                                       FunctionFloatBase* expression, const double& timeScale)
{
    std::vector<double> values(times.size());
    sample(times.data(), values.data(), times.size(), expression, timeScale);
    return values;
}
