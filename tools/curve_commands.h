// The curve subcommands: sample, convert and plot.
#ifndef EXPRCURVE_TOOLS_CURVE_COMMANDS_H
#define EXPRCURVE_TOOLS_CURVE_COMMANDS_H

#include <string>
#include <vector>

namespace tool {

// How a curve file is read.
struct CurveInput {
    std::string path;
    std::string format;  // "text", "binary" or empty (by extension)
    unsigned int version = 3027;
};

// An expression of "t" and "f" evaluated together with the curve.
struct ExpressionInput {
    std::string expression;  // empty: the plain curve
    double scale = 1.0;      // "f" = t * scale
};

struct SampleOptions {
    CurveInput input;
    ExpressionInput expression;
    std::string from, to, step;  // empty when not given
    std::string times;           // T1,T2,... or empty
};

struct ConvertOptions {
    CurveInput input;
    std::string outputPath;
    std::string outputFormat;  // "text", "binary" or empty
    int precision = 17;
};

struct PlotOptions {
    CurveInput input;
    ExpressionInput expression;
    std::string from, to;
    std::string outputPath;
};

int runSample(const SampleOptions& options);
int runConvert(const ConvertOptions& options);
int runPlot(const PlotOptions& options);

}  // namespace tool

#endif  // EXPRCURVE_TOOLS_CURVE_COMMANDS_H
