// Curve files by path, shared by the C interface and the Python package:
// version 0 is the text format, written with enough digits to load back bit
// for bit; any other version is binary data of that version.
#ifndef EXPRCURVE_CURVE_FILES_H
#define EXPRCURVE_CURVE_FILES_H

#include <string>

class SplineBase;

namespace exprcurve {

// The oldest version a binary save may be asked for: the save writes the
// newest layout, which a reader told an older version would misread.
constexpr unsigned int newestBinaryLayout = 3027;

struct FileOutcome {
    bool ok = true;
    int systemError = 0;  // errno when the file could not be opened or written
    std::string message;  // empty when ok
};

// Why the text format cannot keep `curve` (a number that is infinite, NaN
// or subnormal, which the text reader refuses), or empty when it can.
std::string textUnfitness(const SplineBase& curve);

// Replaces the points and modes of `curve` (and, for binary data, its
// curveFlag). On a failure partway, the points read so far stay.
FileOutcome loadCurveFile(SplineBase& curve, const std::string& path, unsigned int version);
// A text save of a curve that textUnfitness() refuses fails before the file
// is touched, rather than writing a file that cannot be loaded.
FileOutcome saveCurveFile(SplineBase& curve, const std::string& path, unsigned int version);

}  // namespace exprcurve

#endif  // EXPRCURVE_CURVE_FILES_H
