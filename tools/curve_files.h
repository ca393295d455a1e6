// Curve files for the tool: formats told by name or option, "-" for
// standard input or output, and the checks a user needs that the loads and
// saves leave to their caller.
#ifndef EXPRCURVE_TOOLS_CURVE_FILES_H
#define EXPRCURVE_TOOLS_CURVE_FILES_H

#include <memory>
#include <string>

#include "splinebase.h"

namespace tool {

enum class CurveFormat { text, binary };
constexpr unsigned int newestBinaryLayout = 3027;

// "text"/"binary", or empty to decide by the file's extension: .curve and
// .txt are text, .kvb and .bin are binary. Anything else, and "-" without
// the option, is a usage error.
CurveFormat curveFormatFor(const std::string& path, const std::string& option);

// Loads a whole file, or fails: a text file that ends early or holds a
// number that does not read, a binary file that ends early or has bytes left
// over (the layout was wrong; the message names the layouts that read the
// file whole). "-" is standard input.
std::unique_ptr<SplineBase> loadCurve(const std::string& path, CurveFormat format, unsigned int layout);

// Writes the curve; "-" is standard output. A text file cannot hold an
// infinite or NaN number (it would not load back), so such a curve is refused
// before anything is written, naming the point.
void saveCurve(SplineBase& curve, const std::string& path, CurveFormat format, int precision);

const char* extrapolationName(int mode);

}  // namespace tool

#endif  // EXPRCURVE_TOOLS_CURVE_FILES_H
