#include "svg_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>

namespace tool {
namespace {

constexpr double width = 800.0;
constexpr double height = 480.0;
constexpr double left = 70.0;
constexpr double right = 20.0;
constexpr double top = 20.0;
constexpr double bottom = 50.0;

struct Range {
    double low;
    double high;
};

std::string number(double value)
{
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.6g", value);
    return buffer;
}

std::string escapeXml(const std::string& text)
{
    std::string escaped;
    for (char c : text) {
        switch (c) {
        case '&': escaped += "&amp;"; break;
        case '<': escaped += "&lt;"; break;
        case '>': escaped += "&gt;"; break;
        case '"': escaped += "&quot;"; break;
        default: escaped += c;
        }
    }
    return escaped;
}

// A step of 1, 2 or 5 times a power of ten giving about `count` ticks.
double tickStep(const Range& range, int count)
{
    const double raw = (range.high - range.low) / count;
    const double magnitude = std::pow(10.0, std::floor(std::log10(raw)));
    for (double factor : {1.0, 2.0, 5.0, 10.0}) {
        if (factor * magnitude >= raw)
            return factor * magnitude;
    }
    return 10.0 * magnitude;
}

Range padded(double low, double high)
{
    if (!(high > low)) {
        low -= 1.0;
        high += 1.0;
    }
    const double pad = (high - low) * 0.08;
    return {low - pad, high + pad};
}

class Canvas {
public:
    Canvas(Range time, Range value) : time_(time), value_(value) {}
    double x(double t) const { return left + (t - time_.low) / (time_.high - time_.low) * (width - left - right); }
    double y(double v) const { return height - bottom - (v - value_.low) / (value_.high - value_.low) * (height - top - bottom); }
    const Range& time() const { return time_; }
    const Range& value() const { return value_; }

private:
    Range time_;
    Range value_;
};

void drawGridAndAxes(std::ostringstream& svg, const Canvas& canvas)
{
    svg << "<g font-family=\"sans-serif\" font-size=\"12\" fill=\"#333\">\n";
    const double timeStep = tickStep(canvas.time(), 10);
    for (double t = std::ceil(canvas.time().low / timeStep) * timeStep; t <= canvas.time().high; t += timeStep) {
        const double x = canvas.x(t);
        svg << "<line x1=\"" << x << "\" y1=\"" << top << "\" x2=\"" << x << "\" y2=\"" << height - bottom
            << "\" stroke=\"#e4e4e4\"/>\n";
        svg << "<text x=\"" << x << "\" y=\"" << height - bottom + 18 << "\" text-anchor=\"middle\">"
            << number(std::fabs(t) < timeStep * 1e-9 ? 0.0 : t) << "</text>\n";
    }
    const double valueStep = tickStep(canvas.value(), 8);
    for (double v = std::ceil(canvas.value().low / valueStep) * valueStep; v <= canvas.value().high; v += valueStep) {
        const double y = canvas.y(v);
        svg << "<line x1=\"" << left << "\" y1=\"" << y << "\" x2=\"" << width - right << "\" y2=\"" << y
            << "\" stroke=\"#e4e4e4\"/>\n";
        svg << "<text x=\"" << left - 8 << "\" y=\"" << y + 4 << "\" text-anchor=\"end\">"
            << number(std::fabs(v) < valueStep * 1e-9 ? 0.0 : v) << "</text>\n";
    }
    svg << "<rect x=\"" << left << "\" y=\"" << top << "\" width=\"" << width - left - right
        << "\" height=\"" << height - top - bottom << "\" fill=\"none\" stroke=\"#555\"/>\n";
    svg << "<text x=\"" << (left + width - right) / 2 << "\" y=\"" << height - 10
        << "\" text-anchor=\"middle\">time</text>\n";
    svg << "<text transform=\"translate(16," << (top + height - bottom) / 2
        << ") rotate(-90)\" text-anchor=\"middle\">value</text>\n";
    svg << "</g>\n";
}

// Polylines over the samples, broken where a value is not finite and where
// the samples leave or enter the curve's own range; outside it is dashed.
void drawCurve(std::ostringstream& svg, const Canvas& canvas, const PlotData& data)
{
    auto outside = [&](double t) { return t <= data.firstPointTime || t > data.lastPointTime; };
    std::string points;
    bool runOutside = false;
    auto flush = [&]() {
        if (!points.empty())
            svg << "<polyline class=\"" << (runOutside ? "extrapolated" : "curve")
                << "\" fill=\"none\" stroke=\"#1f6fb4\" stroke-width=\"2\""
                << (runOutside ? " stroke-dasharray=\"6 4\" stroke-opacity=\"0.8\"" : "")
                << " points=\"" << points << "\"/>\n";
        points.clear();
    };
    for (std::size_t i = 0; i < data.times.size(); ++i) {
        const double v = data.values[i];
        if (!std::isfinite(v)) {
            flush();
            continue;
        }
        const bool isOutside = outside(data.times[i]);
        if (isOutside != runOutside && !points.empty()) {
            const std::string last = points.substr(points.rfind(' ') + 1);
            flush();
            points = last;  // keep the line continuous across the border
        }
        runOutside = isOutside;
        const double y = std::clamp(canvas.y(v), -10.0 * height, 11.0 * height);
        points += (points.empty() ? "" : " ") + number(canvas.x(data.times[i])) + "," + number(y);
    }
    flush();
}

void drawControlPoints(std::ostringstream& svg, const Canvas& canvas, const PlotData& data)
{
    for (const auto& point : data.controlPoints) {
        if (!std::isfinite(point.first) || !std::isfinite(point.second))
            continue;
        svg << "<circle class=\"control-point\" cx=\"" << canvas.x(point.first) << "\" cy=\""
            << canvas.y(point.second) << "\" r=\"4\" fill=\"#fff\" stroke=\"#c0392b\" stroke-width=\"2\"/>\n";
    }
}

void drawLegend(std::ostringstream& svg, const PlotData& data)
{
    const double x = left + 12;
    double y = top + 12;
    const double lineCount = 3.0 + static_cast<double>(data.notes.size());
    std::size_t longest = std::max<std::size_t>(data.title.size(), 34);
    for (const std::string& note : data.notes)
        longest = std::max(longest, note.size());
    const double boxWidth = 7.0 * static_cast<double>(longest) + 12.0;
    svg << "<g class=\"legend\" font-family=\"sans-serif\" font-size=\"12\" fill=\"#222\">\n";
    svg << "<rect x=\"" << x - 6 << "\" y=\"" << y - 6 << "\" width=\"" << boxWidth << "\" height=\"" << lineCount * 16 + 8
        << "\" fill=\"#fff\" fill-opacity=\"0.85\" stroke=\"#bbb\"/>\n";
    svg << "<text x=\"" << x << "\" y=\"" << y + 10 << "\" font-weight=\"bold\">" << escapeXml(data.title) << "</text>\n";
    for (const std::string& note : data.notes) {
        y += 16;
        svg << "<text x=\"" << x << "\" y=\"" << y + 10 << "\">" << escapeXml(note) << "</text>\n";
    }
    y += 16;
    svg << "<line x1=\"" << x << "\" y1=\"" << y + 6 << "\" x2=\"" << x + 30 << "\" y2=\"" << y + 6
        << "\" stroke=\"#1f6fb4\" stroke-width=\"2\"/><text x=\"" << x + 38 << "\" y=\"" << y + 10
        << "\">between the control points</text>\n";
    y += 16;
    svg << "<line x1=\"" << x << "\" y1=\"" << y + 6 << "\" x2=\"" << x + 30 << "\" y2=\"" << y + 6
        << "\" stroke=\"#1f6fb4\" stroke-width=\"2\" stroke-dasharray=\"6 4\"/><text x=\"" << x + 38
        << "\" y=\"" << y + 10 << "\">out of range (extrapolated)</text>\n";
    svg << "</g>\n";
}

Range valueRange(const PlotData& data)
{
    double low = INFINITY, high = -INFINITY;
    for (double v : data.values) {
        if (std::isfinite(v)) {
            low = std::min(low, v);
            high = std::max(high, v);
        }
    }
    for (const auto& point : data.controlPoints) {
        if (std::isfinite(point.second)) {
            low = std::min(low, point.second);
            high = std::max(high, point.second);
        }
    }
    if (!std::isfinite(low))
        return padded(0.0, 0.0);
    return padded(low, high);
}

}  // namespace

std::string renderSvg(const PlotData& data)
{
    const Range time = data.times.empty() ? Range{0.0, 1.0}
                                          : Range{data.times.front(), data.times.back()};
    const Canvas canvas(time.high > time.low ? time : padded(time.low, time.high), valueRange(data));
    std::ostringstream svg;
    svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
        << "\" viewBox=\"0 0 " << width << ' ' << height << "\">\n"
        << "<title>" << escapeXml(data.title) << "</title>\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n";
    drawGridAndAxes(svg, canvas);
    svg << "<svg x=\"" << left << "\" y=\"" << top << "\" width=\"" << width - left - right << "\" height=\""
        << height - top - bottom << "\" viewBox=\"" << left << ' ' << top << ' ' << width - left - right << ' '
        << height - top - bottom << "\" overflow=\"hidden\">\n";
    drawCurve(svg, canvas, data);
    drawControlPoints(svg, canvas, data);
    svg << "</svg>\n";
    drawLegend(svg, data);
    svg << "</svg>\n";
    return svg.str();
}

}  // namespace tool
