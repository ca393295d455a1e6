#include "svg_plot.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <sstream>

namespace tool {
namespace {

// The plot: axes and their labels around the area the curve is drawn in.
// The legend goes below it, so that it never covers data.
constexpr double width = 800.0;
constexpr double plotHeight = 480.0;
constexpr double left = 70.0;
constexpr double right = 20.0;
constexpr double top = 20.0;
constexpr double bottom = 50.0;
constexpr double legendLine = 16.0;

// A marker is 8 pixels across; more than one per this many pixels of width
// on average and they merge into a band.
constexpr double pixelsPerMarker = 10.0;

const char* const curveColour = "#1f6fb4";
const char* const markerColour = "#c0392b";

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

// A range with a margin, never empty and never wider than a double can span.
Range padded(double low, double high)
{
    constexpr double widest = DBL_MAX / 4;
    low = std::max(low, -widest);
    high = std::min(high, widest);
    if (!(high > low)) {
        const double half = std::max(1.0, std::fabs(low) * 1e-6);
        low -= half;
        high += half;
    }
    const double pad = (high - low) * 0.08;
    return {low - pad, high + pad};
}

class Canvas {
public:
    Canvas(Range time, Range value) : time_(time), value_(value) {}
    double x(double t) const { return left + (t - time_.low) / (time_.high - time_.low) * areaWidth(); }
    double y(double v) const { return plotHeight - bottom - (v - value_.low) / (value_.high - value_.low) * areaHeight(); }
    bool inside(double px, double py) const
    {
        return px >= left && px <= width - right && py >= top && py <= plotHeight - bottom;
    }
    static double areaWidth() { return width - left - right; }
    static double areaHeight() { return plotHeight - top - bottom; }
    const Range& time() const { return time_; }
    const Range& value() const { return value_; }

private:
    Range time_;
    Range value_;
};

// The tick values of a range; counted, not accumulated, so that a step too
// small to change a large value cannot loop.
std::vector<double> ticks(const Range& range, int count)
{
    const double step = tickStep(range, count);
    const double first = std::ceil(range.low / step) * step;
    std::vector<double> values;
    for (int i = 0; i <= 4 * count; ++i) {
        const double value = first + i * step;
        if (value > range.high)
            break;
        values.push_back(std::fabs(value) < step * 1e-9 ? 0.0 : value);
    }
    return values;
}

void drawGridAndAxes(std::ostringstream& svg, const Canvas& canvas)
{
    svg << "<g font-family=\"sans-serif\" font-size=\"12\" fill=\"#333\">\n";
    for (double t : ticks(canvas.time(), 10)) {
        const double x = canvas.x(t);
        svg << "<line x1=\"" << number(x) << "\" y1=\"" << top << "\" x2=\"" << number(x) << "\" y2=\""
            << plotHeight - bottom << "\" stroke=\"#e4e4e4\"/>\n";
        svg << "<text x=\"" << number(x) << "\" y=\"" << plotHeight - bottom + 18 << "\" text-anchor=\"middle\">"
            << number(t) << "</text>\n";
    }
    for (double v : ticks(canvas.value(), 8)) {
        const double y = canvas.y(v);
        svg << "<line x1=\"" << left << "\" y1=\"" << number(y) << "\" x2=\"" << width - right << "\" y2=\""
            << number(y) << "\" stroke=\"#e4e4e4\"/>\n";
        svg << "<text x=\"" << left - 8 << "\" y=\"" << number(y + 4) << "\" text-anchor=\"end\">" << number(v)
            << "</text>\n";
    }
    svg << "<rect x=\"" << left << "\" y=\"" << top << "\" width=\"" << Canvas::areaWidth() << "\" height=\""
        << Canvas::areaHeight() << "\" fill=\"none\" stroke=\"#555\"/>\n";
    svg << "<text x=\"" << (left + width - right) / 2 << "\" y=\"" << plotHeight - 10
        << "\" text-anchor=\"middle\">time</text>\n";
    svg << "<text transform=\"translate(16," << (top + plotHeight - bottom) / 2
        << ") rotate(-90)\" text-anchor=\"middle\">value</text>\n";
    svg << "</g>\n";
}

struct Pixel {
    double x;
    double y;
};

// Per pixel column, the first, lowest, highest and last pixel in the order
// they came: what a line through all of them shows at this resolution.
std::vector<Pixel> onPixelGrid(const std::vector<Pixel>& line)
{
    std::vector<Pixel> kept;
    for (std::size_t begin = 0; begin < line.size();) {
        std::size_t end = begin;
        std::size_t lowest = begin, highest = begin;
        while (end < line.size() && std::floor(line[end].x) == std::floor(line[begin].x)) {
            if (line[end].y < line[lowest].y)
                lowest = end;
            if (line[end].y > line[highest].y)
                highest = end;
            ++end;
        }
        std::size_t picks[] = {begin, std::min(lowest, highest), std::max(lowest, highest), end - 1};
        for (std::size_t i = 0; i < 4; ++i) {
            if (i == 0 || picks[i] != picks[i - 1])
                kept.push_back(line[picks[i]]);
        }
        begin = end;
    }
    return kept;
}

// What a part of the line stands for; each has its own look and legend entry.
enum class LineKind { inside, extrapolated, defaultValue };

struct LineStyle {
    const char* cssClass;
    const char* attributes;
    const char* legendText;
};

const LineStyle& styleOf(LineKind kind)
{
    static const LineStyle styles[] = {
        {"curve", "stroke-width=\"2\"", "between the control points"},
        {"extrapolated", "stroke-width=\"2\" stroke-dasharray=\"6 4\" stroke-opacity=\"0.8\"",
         "out of range (extrapolated)"},
        {"default-value", "stroke-width=\"2\" stroke-dasharray=\"2 3\"", "no control points: the default value"},
    };
    return styles[static_cast<int>(kind)];
}

// What the picture shows, for the legend.
struct Drawn {
    bool lines[3] = {};
    std::size_t markers = 0;
    std::size_t pointsInWindow = 0;
};

void drawLine(std::ostringstream& svg, LineKind kind, const std::vector<Pixel>& line, Drawn& drawn)
{
    if (line.empty())
        return;
    const LineStyle& style = styleOf(kind);
    svg << "<polyline class=\"" << style.cssClass << "\" fill=\"none\" stroke=\"" << curveColour << "\" "
        << style.attributes << " points=\"";
    const char* separator = "";
    for (const Pixel& pixel : onPixelGrid(line)) {
        svg << separator << number(pixel.x) << ',' << number(pixel.y);
        separator = " ";
    }
    svg << "\"/>\n";
    drawn.lines[static_cast<int>(kind)] = true;
}

LineKind kindAt(const PlotData& data, double t)
{
    if (!data.hasPoints)
        return LineKind::defaultValue;
    return t <= data.firstPointTime || t > data.lastPointTime ? LineKind::extrapolated : LineKind::inside;
}

// Polylines over the samples, broken where a value is not finite and where
// the kind of line changes; a change keeps the line continuous.
void drawCurve(std::ostringstream& svg, const Canvas& canvas, const PlotData& data, Drawn& drawn)
{
    std::vector<Pixel> line;
    LineKind kind = LineKind::inside;
    for (std::size_t i = 0; i < data.times.size(); ++i) {
        const double v = data.values[i];
        if (!std::isfinite(v)) {
            drawLine(svg, kind, line, drawn);
            line.clear();
            continue;
        }
        const LineKind here = kindAt(data, data.times[i]);
        if (here != kind && !line.empty()) {
            const Pixel last = line.back();
            drawLine(svg, kind, line, drawn);
            line.assign(1, last);
        }
        kind = here;
        const double y = std::clamp(canvas.y(v), -10.0 * plotHeight, 11.0 * plotHeight);
        line.push_back({canvas.x(data.times[i]), y});
    }
    drawLine(svg, kind, line, drawn);
}

void drawControlPoints(std::ostringstream& svg, const Canvas& canvas, const PlotData& data, Drawn& drawn)
{
    std::vector<Pixel> inWindow;
    for (const auto& point : data.controlPoints) {
        const Pixel pixel{canvas.x(point.first), canvas.y(point.second)};
        if (canvas.inside(pixel.x, pixel.y))
            inWindow.push_back(pixel);
    }
    drawn.pointsInWindow = inWindow.size();
    if (static_cast<double>(inWindow.size()) > Canvas::areaWidth() / pixelsPerMarker)
        return;
    for (const Pixel& pixel : inWindow)
        svg << "<circle class=\"control-point\" cx=\"" << number(pixel.x) << "\" cy=\"" << number(pixel.y)
            << "\" r=\"4\" fill=\"#fff\" stroke=\"" << markerColour << "\" stroke-width=\"2\"/>\n";
    drawn.markers = inWindow.size();
}

std::string controlPoints(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " control point" : " control points");
}

std::vector<std::string> markerNotes(const PlotData& data, const Drawn& drawn)
{
    std::vector<std::string> notes;
    if (drawn.pointsInWindow > drawn.markers)
        notes.push_back(controlPoints(drawn.pointsInWindow) + " in view: too many to mark");
    else if (data.controlPoints.size() > drawn.markers)
        notes.push_back(controlPoints(data.controlPoints.size() - drawn.markers) + " outside the view");
    return notes;
}

double legendHeight(const PlotData& data, const std::vector<std::string>& markerLines, const Drawn& drawn)
{
    std::size_t lines = 1 + data.notes.size() + markerLines.size() + (drawn.markers > 0 ? 1 : 0);
    for (bool line : drawn.lines)
        lines += line ? 1 : 0;
    return static_cast<double>(lines) * legendLine + 16.0;
}

void drawLegend(std::ostringstream& svg, const PlotData& data, const std::vector<std::string>& markerLines,
                const Drawn& drawn)
{
    const double x = left;
    double y = plotHeight + 4;
    svg << "<g class=\"legend\" font-family=\"sans-serif\" font-size=\"12\" fill=\"#222\">\n";
    svg << "<text x=\"" << x << "\" y=\"" << y + 10 << "\" font-weight=\"bold\">" << escapeXml(data.title)
        << "</text>\n";
    std::vector<std::string> lines = data.notes;
    lines.insert(lines.end(), markerLines.begin(), markerLines.end());
    for (const std::string& note : lines) {
        y += legendLine;
        svg << "<text x=\"" << x << "\" y=\"" << y + 10 << "\">" << escapeXml(note) << "</text>\n";
    }
    for (LineKind kind : {LineKind::inside, LineKind::extrapolated, LineKind::defaultValue}) {
        if (!drawn.lines[static_cast<int>(kind)])
            continue;
        const LineStyle& style = styleOf(kind);
        y += legendLine;
        svg << "<line class=\"legend-" << style.cssClass << "\" x1=\"" << x << "\" y1=\"" << y + 6 << "\" x2=\""
            << x + 30 << "\" y2=\"" << y + 6 << "\" stroke=\"" << curveColour << "\" " << style.attributes
            << "/><text x=\"" << x + 38 << "\" y=\"" << y + 10 << "\">" << style.legendText << "</text>\n";
    }
    if (drawn.markers > 0) {
        y += legendLine;
        svg << "<circle class=\"legend-control-point\" cx=\"" << x + 15 << "\" cy=\"" << y + 6
            << "\" r=\"4\" fill=\"#fff\" stroke=\"" << markerColour << "\" stroke-width=\"2\"/><text x=\"" << x + 38
            << "\" y=\"" << y + 10 << "\">control point</text>\n";
    }
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
        low = std::min(low, point.second);
        high = std::max(high, point.second);
    }
    if (!std::isfinite(low))
        return padded(0.0, 0.0);
    return padded(low, high);
}

}  // namespace

double plotAreaWidth()
{
    return Canvas::areaWidth();
}

std::string renderSvg(const PlotData& data)
{
    const Range time = data.times.empty() ? Range{0.0, 1.0} : Range{data.times.front(), data.times.back()};
    const Canvas canvas(time.high > time.low ? time : padded(time.low, time.high), valueRange(data));
    std::ostringstream body;
    Drawn drawn;
    drawCurve(body, canvas, data, drawn);
    drawControlPoints(body, canvas, data, drawn);
    const std::vector<std::string> markerLines = markerNotes(data, drawn);
    const double height = plotHeight + legendHeight(data, markerLines, drawn);

    std::ostringstream svg;
    svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
        << "\" viewBox=\"0 0 " << width << ' ' << height << "\">\n"
        << "<title>" << escapeXml(data.title) << "</title>\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n";
    drawGridAndAxes(svg, canvas);
    svg << "<svg x=\"" << left << "\" y=\"" << top << "\" width=\"" << Canvas::areaWidth() << "\" height=\""
        << Canvas::areaHeight() << "\" viewBox=\"" << left << ' ' << top << ' ' << Canvas::areaWidth() << ' '
        << Canvas::areaHeight() << "\" overflow=\"hidden\">\n"
        << body.str() << "</svg>\n";
    drawLegend(svg, data, markerLines, drawn);
    svg << "</svg>\n";
    return svg.str();
}

}  // namespace tool
