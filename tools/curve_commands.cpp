#include "curve_commands.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>

#include "curve_files.h"
#include "curve_sampling.h"
#include "svg_plot.h"

namespace tool {

namespace {

// The range of the points with a finite time, or [0, 1] for a curve without
// any. False when there is none.
bool pointRange(const SplineBase& curve, double& first, double& last)
{
    first = INFINITY;
    last = -INFINITY;
    for (const PointInfo* point : curve.controlPoints) {
        if (std::isfinite(point->time)) {
            first = std::min(first, point->time);
            last = std::max(last, point->time);
        }
    }
    if (first <= last)
        return true;
    first = 0.0;
    last = 1.0;
    return false;
}

double finiteOption(const std::string& text, const char* name, double fallback)
{
    if (text.empty())
        return fallback;
    const double value = parseNumber(text, name);
    if (!std::isfinite(value))
        throw Failure(exitUsage, std::string(name) + " must be a finite number, not '" + text + "'");
    return value;
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
    const double from = finiteOption(options.from, "--from", first);
    const double to = finiteOption(options.to, "--to", last);
    const double step = options.step.empty() ? (to > from ? (to - from) / 20.0 : 1.0)
                                             : parseNumber(options.step, "--step");
    return timesBetween(from, to, step);
}

// Two samples per pixel column, and at each point in view and just before
// it, so that corners and jumps are drawn where they are.
std::vector<double> plotTimes(const SplineBase& curve, double from, double to)
{
    std::vector<double> times;
    const int count = static_cast<int>(2 * plotAreaWidth());
    for (int i = 0; i <= count; ++i)
        times.push_back(from + (to - from) * i / count);
    for (const PointInfo* point : curve.controlPoints) {
        if (point->time > from && point->time <= to) {
            times.push_back(std::nextafter(point->time, -INFINITY));
            times.push_back(point->time);
        }
    }
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());
    return times;
}

std::string fileName(const std::string& path)
{
    if (path == "-")
        return "standard input";
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

int runSample(const SampleOptions& options)
{
    checkPrecision(options.precision);
    std::unique_ptr<SplineBase> curve = loadCurve(options.input);
    const std::vector<double> times = sampleTimes(options, *curve);
    CurveSampler sampler(*curve, options.expression);
    const std::vector<double> values = sampler.sample(times);
    std::cout << "time,value\n";
    for (std::size_t i = 0; i < times.size(); ++i)
        std::cout << formatNumber(times[i], options.precision) << ',' << formatNumber(values[i], options.precision)
                  << '\n';
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
    const bool hasFiniteTimes = pointRange(*curve, first, last);
    // By default show half the curve's length on either side, so that the
    // out-of-range modes are visible.
    const double margin = last > first ? (last - first) * 0.5 : 1.0;
    const double from = finiteOption(options.from, "--from", first - margin);
    const double to = finiteOption(options.to, "--to", last + margin);
    if (!(to > from) || !std::isfinite(to - from))
        throw Failure(exitUsage, "the plot range must be finite and end after it starts");

    PlotData data;
    data.times = plotTimes(*curve, from, to);
    CurveSampler sampler(*curve, options.expression);
    data.values = sampler.sample(data.times);
    data.hasPoints = !curve->controlPoints.empty();
    // Without a finite time the curve has no inside to draw solid.
    data.firstPointTime = hasFiniteTimes ? first : INFINITY;
    data.lastPointTime = hasFiniteTimes ? last : -INFINITY;
    std::size_t notFinite = 0;
    for (const PointInfo* point : curve->controlPoints) {
        if (std::isfinite(point->time) && std::isfinite(point->value))
            data.controlPoints.emplace_back(point->time, point->value);
        else
            ++notFinite;
    }
    data.title = fileName(options.input.path);
    data.notes.push_back(std::to_string(curve->controlPoints.size()) + " control points; before: " +
                         extrapolationName(curve->preExtrapolation) +
                         ", after: " + extrapolationName(curve->postExtrapolation));
    if (!data.hasPoints)
        data.notes.push_back("default value " + formatNumber(curve->defaultValue));
    if (notFinite > 0)
        data.notes.push_back(std::to_string(notFinite) + (notFinite == 1 ? " control point" : " control points") +
                             " with a time or value that is not finite" + (hasFiniteTimes ? "" : " (all of them)") +
                             (notFinite == 1 ? " is" : " are") + " not drawn");
    if (!options.expression.expression.empty())
        data.notes.push_back("plus " + options.expression.expression + " (f = t * " +
                             formatNumber(options.expression.scale) + ")");

    const std::string svg = renderSvg(data);
    std::FILE* out = options.outputPath == "-" ? stdout : std::fopen(options.outputPath.c_str(), "w");
    if (out == nullptr)
        throw Failure(exitUsage, options.outputPath + ": cannot open for writing");
    bool written = std::fwrite(svg.data(), 1, svg.size(), out) == svg.size();
    written = std::fflush(out) == 0 && written;
    if (out != stdout)
        written = std::fclose(out) == 0 && written;
    if (!written)
        throw Failure(exitUsage, options.outputPath + ": write failed");
    return exitOk;
}

}  // namespace tool
