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
    std::vector<double> times;        // ascending sample times
    std::vector<double> values;       // one value per time
    double firstPointTime = 0.0;      // the curve's own range: samples outside
    double lastPointTime = 0.0;       // it are drawn dashed
    std::vector<std::pair<double, double>> controlPoints;  // (time, value)
};

std::string renderSvg(const PlotData& data);

}  // namespace tool

#endif  // EXPRCURVE_TOOLS_SVG_PLOT_H
