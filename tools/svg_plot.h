// A self-contained SVG picture of a sampled curve.
#ifndef EXPRCURVE_TOOLS_SVG_PLOT_H
#define EXPRCURVE_TOOLS_SVG_PLOT_H

#include <string>
#include <utility>
#include <vector>

namespace tool {

struct PlotData {
    std::string title;                // shown in the legend, e.g. the file name
    std::vector<std::string> notes;   // further legend lines (modes, expression)
    std::vector<double> times;        // ascending finite sample times
    std::vector<double> values;       // one value per time
    bool hasPoints = true;            // false: the curve is its default value everywhere
    double firstPointTime = 0.0;      // the curve's own range: samples outside
    double lastPointTime = 0.0;       // it are drawn dashed
    std::vector<std::pair<double, double>> controlPoints;  // (time, value), finite
};

// The width, in pixels, of the area the curve is drawn in.
double plotAreaWidth();

// The curve as a polyline reduced to what the pixel grid shows (per pixel
// column the first, lowest, highest and last sample), the control points as
// markers while they are few enough to tell apart and only those inside the
// window, and a legend below the plot that lists only what is drawn.
std::string renderSvg(const PlotData& data);

}  // namespace tool

#endif  // EXPRCURVE_TOOLS_SVG_PLOT_H
