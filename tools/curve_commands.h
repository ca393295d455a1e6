// The curve subcommands: sample, convert and plot.
#ifndef EXPRCURVE_TOOLS_CURVE_COMMANDS_H
#define EXPRCURVE_TOOLS_CURVE_COMMANDS_H

#include <string>
#include <vector>

#include "curve_files.h"

namespace tool {

// How a curve file is read; "-" is standard input.
struct CurveInput {
    std::string path;
    std::string format;           // "text", "binary" or empty (by extension)
    unsigned int layout = newestBinaryLayout;  // of a binary file
    unsigned int oldLayoutOption = 0;  // the same, given by its former name; 0 when not given
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
    int precision = 0;           // significant digits; 0: shortest exact
};

struct ConvertOptions {
    CurveInput input;
    std::string outputPath;    // "-" is standard output
    std::string outputFormat;  // "text", "binary" or empty
    int precision = 17;        // of numbers in a text file: 17 reads back exactly
};

struct PlotOptions {
    CurveInput input;
    ExpressionInput expression;
    std::string from, to;
    std::string outputPath;  // "-" is standard output
};

int runSample(const SampleOptions& options);
int runConvert(const ConvertOptions& options);
int runPlot(const PlotOptions& options);

}  // namespace tool

#endif  // EXPRCURVE_TOOLS_CURVE_COMMANDS_H
