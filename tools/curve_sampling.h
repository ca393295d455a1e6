// Evaluating a loaded curve, alone or together with an expression of the
// keys "t" and "f", as a host program would: through the curve's runtime
// form, built once.
#ifndef EXPRCURVE_TOOLS_CURVE_SAMPLING_H
#define EXPRCURVE_TOOLS_CURVE_SAMPLING_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "compiledcurve.h"
#include "curve_commands.h"
#include "functionfloatbase.h"
#include "splinebase.h"
#include "tool_support.h"
#include "variable_table.h"

namespace tool {

class CurveSampler {
public:
    // Parses the expression, if any, against the process-wide parser with
    // "t" and "f" bound; throws a Failure when the text has faults.
    CurveSampler(const SplineBase& curve, const ExpressionInput& expression);
    double operator()(double time);
    std::vector<double> sample(const std::vector<double>& times);

private:
    exprcurve::CompiledCurve curve_;
    std::size_t hint_ = 0;  // successive times are found from the last one
    double scale_;
    std::unique_ptr<VariableTable> variables_;
    double* time_ = nullptr;
    double* scaledTime_ = nullptr;
    std::unique_ptr<FunctionFloatBase> expression_;
};

std::unique_ptr<SplineBase> loadCurve(const CurveInput& input);

}  // namespace tool

#endif  // EXPRCURVE_TOOLS_CURVE_SAMPLING_H
