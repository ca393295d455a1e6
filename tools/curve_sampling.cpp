#include "curve_sampling.h"

#include <iostream>

#include "curve_files.h"

namespace tool {

CurveSampler::CurveSampler(const SplineBase& curve, const ExpressionInput& expression)
    : curve_(curve), scale_(expression.scale)
{
    if (expression.expression.empty())
        return;
    FunctionParserBase& parser = FunctionParserBase::instance();
    parser.maxRandomNodes = maxRandomNodes;
    variables_ = std::make_unique<VariableTable>(parser);
    time_ = &variables_->bind("t", 0.0);
    scaledTime_ = &variables_->bind("f", 0.0);
    ParseMessage message{};
    expression_.reset(parser.parseString(expression.expression, message));
    if (!message.errors.empty()) {
        std::cerr << errorPrefix << "the expression has faults:\n";
        reportFaults(expression.expression, message);
        throw Failure(exitInputFaults, "cannot evaluate a faulty expression");
    }
}

double CurveSampler::operator()(double time)
{
    if (!expression_)
        return curve_(time, hint_);
    // Inside the curve the expression sees the keys as they stand, so they
    // are set to the time first; outside the curve the evaluation sets them.
    *time_ = time;
    *scaledTime_ = time * scale_;
    return curve_(time, expression_.get(), scale_);
}

std::vector<double> CurveSampler::sample(const std::vector<double>& times)
{
    if (!expression_) {
        std::vector<double> values(times.size());
        curve_.sample(times.data(), values.data(), times.size());
        return values;
    }
    std::vector<double> values;
    values.reserve(times.size());
    for (double t : times)
        values.push_back((*this)(t));
    return values;
}

std::unique_ptr<SplineBase> loadCurve(const CurveInput& input)
{
    if (input.oldLayoutOption != 0 && input.layout != newestBinaryLayout && input.layout != input.oldLayoutOption)
        throw Failure(exitUsage, "--layout and --version name different layouts");
    const unsigned int layout = input.oldLayoutOption != 0 ? input.oldLayoutOption : input.layout;
    return loadCurve(input.path, curveFormatFor(input.path, input.format), layout);
}

}  // namespace tool
