#include "curve_commands.h"

#include <cstdio>
#include <fstream>
#include <iostream>

#include "curve_sampling.h"
#include "svg_plot.h"

namespace tool {

CurveSampler::CurveSampler(SplineBase& curve, const ExpressionInput& expression)
    : curve_(curve), scale_(expression.scale)
{
    if (expression.expression.empty())
        return;
    FunctionParserBase& parser = FunctionParserBase::instance();
    variables_ = std::make_unique<VariableTable>(parser);
    time_ = &variables_->bind("t", 0.0);
    scaledTime_ = &variables_->bind("f", 0.0);
    ParseMessage message{};
    expression_.reset(parser.parseString(expression.expression, message));
    if (!message.errors.empty()) {
        std::cerr << "exprcurve: the expression has faults:\n";
        reportFaults(expression.expression, message);
        throw Failure(exitInputFaults, "cannot evaluate a faulty expression");
    }
}

double CurveSampler::operator()(double time)
{
    if (!expression_)
        return curve_(time);
    // Inside the curve the expression sees the keys as they stand, so they
    // are set to the time first; outside the curve the evaluation sets them.
    *time_ = time;
    *scaledTime_ = time * scale_;
    return curve_(time, expression_.get(), scale_);
}

std::vector<double> CurveSampler::sample(const std::vector<double>& times)
{
    std::vector<double> values;
    values.reserve(times.size());
    for (double t : times)
        values.push_back((*this)(t));
    return values;
}

std::unique_ptr<SplineBase> loadCurve(const CurveInput& input)
{
    return loadCurve(input.path, curveFormatFor(input.path, input.format), input.version);
}

namespace {

// The curve's own range, or [0, 1] for an empty curve.
void pointRange(const SplineBase& curve, double& first, double& last)
{
    first = 0.0;
    last = 1.0;
    if (!curve.controlPoints.empty()) {
        first = curve.controlPoints.front()->time;
        last = curve.controlPoints.back()->time;
    }
}

std::vector<double> sampleTimes(const SampleOptions& options, const SplineBase& curve)
{
    const bool hasRange = !options.from.empty() || !options.to.empty() || !options.step.empty();
    if (!options.times.empty()) {
        if (hasRange)
            throw Failure(exitUsage, "give either --times or --from/--to/--step, not both");
        return parseTimeList(options.times);
    }
    double first, last;
    pointRange(curve, first, last);
    const double from = options.from.empty() ? first : parseNumber(options.from, "--from");
    const double to = options.to.empty() ? last : parseNumber(options.to, "--to");
    const double step = options.step.empty() ? (to > from ? (to - from) / 20.0 : 1.0)
                                             : parseNumber(options.step, "--step");
    return timesBetween(from, to, step);
}

}  // namespace

int runSample(const SampleOptions& options)
{
    std::unique_ptr<SplineBase> curve = loadCurve(options.input);
    const std::vector<double> times = sampleTimes(options, *curve);
    CurveSampler sampler(*curve, options.expression);
    std::cout << "time,value\n";
    for (double t : times)
        std::cout << formatNumber(t) << ',' << formatNumber(sampler(t)) << '\n';
    return exitOk;
}

int runConvert(const ConvertOptions& options)
{
    if (options.precision < 1 || options.precision > 17)
        throw Failure(exitUsage, "--precision must lie between 1 and 17");
    const CurveFormat outputFormat = curveFormatFor(options.outputPath, options.outputFormat);
    std::unique_ptr<SplineBase> curve = loadCurve(options.input);
    saveCurve(*curve, options.outputPath, outputFormat, options.precision);
    return exitOk;
}

int runPlot(const PlotOptions& options)
{
    std::unique_ptr<SplineBase> curve = loadCurve(options.input);
    double first, last;
    pointRange(*curve, first, last);
    // By default show half the curve's length on either side, so that the
    // out-of-range modes are visible.
    const double margin = last > first ? (last - first) * 0.5 : 1.0;
    const double from = options.from.empty() ? first - margin : parseNumber(options.from, "--from");
    const double to = options.to.empty() ? last + margin : parseNumber(options.to, "--to");
    if (!(to > from))
        throw Failure(exitUsage, "the plot range ends before it starts");

    PlotData data;
    constexpr int sampleCount = 1200;
    for (int i = 0; i <= sampleCount; ++i)
        data.times.push_back(from + (to - from) * i / sampleCount);
    CurveSampler sampler(*curve, options.expression);
    data.values = sampler.sample(data.times);
    data.firstPointTime = first;
    data.lastPointTime = last;
    for (const PointInfo* point : curve->controlPoints)
        data.controlPoints.emplace_back(point->time, point->value);
    const std::size_t slash = options.input.path.find_last_of('/');
    data.title = slash == std::string::npos ? options.input.path : options.input.path.substr(slash + 1);
    data.notes.push_back(std::to_string(curve->controlPoints.size()) + " control points; before: " +
                         extrapolationName(curve->preExtrapolation) +
                         ", after: " + extrapolationName(curve->postExtrapolation));
    if (!options.expression.expression.empty())
        data.notes.push_back("plus " + options.expression.expression + " (f = t * " +
                             formatNumber(options.expression.scale) + ")");

    std::ofstream out(options.outputPath);
    if (!out)
        throw Failure(exitUsage, options.outputPath + ": cannot open for writing");
    out << renderSvg(data);
    if (!out)
        throw Failure(exitUsage, options.outputPath + ": write failed");
    return exitOk;
}

}  // namespace tool
