#include "curve_files.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <utility>
#include <vector>

#include "deferred_flush_buffer.h"
#include "tool_support.h"

namespace tool {
namespace {

constexpr const char* standardStream = "-";

bool endsWith(const std::string& s, const std::string& suffix)
{
    return s.size() >= suffix.size() && s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

std::string systemError() { return std::strerror(errno); }

// A directory opens for reading on some systems and then fails on the first
// read, which would look like a faulty file.
void refuseDirectory(const std::string& path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        throw Failure(exitUsage, path + ": is a directory, not a curve file");
}

// Closes what it opened, never the standard streams.
struct OwnedFile {
    std::FILE* file = nullptr;
    bool owned = false;
    ~OwnedFile()
    {
        if (owned && file != nullptr)
            std::fclose(file);
    }
};

// The binary layouts, one version of each; a load reads the same bytes for
// every version of a layout.
struct Layout {
    unsigned int version;
    const char* versions;
};
const Layout binaryLayouts[] = {
    {3018, "below 3019"},
    {3026, "3019 to 3026"},
    {newestBinaryLayout, "3027 and later"},
};

// Standard input is copied to a temporary file so that it can be read again
// in another layout.
void openBinaryInput(const std::string& path, OwnedFile& input)
{
    input.owned = true;
    if (path != standardStream) {
        refuseDirectory(path);
        input.file = std::fopen(path.c_str(), "rb");
        if (input.file == nullptr)
            throw Failure(exitUsage, path + ": cannot open for reading: " + systemError());
        return;
    }
    input.file = std::tmpfile();
    if (input.file == nullptr)
        throw Failure(exitUsage, "cannot make a temporary file for standard input: " + systemError());
    char block[1 << 16];
    std::size_t got = 0;
    while ((got = std::fread(block, 1, sizeof block, stdin)) > 0) {
        if (std::fwrite(block, 1, got, input.file) != got)
            throw Failure(exitUsage, "cannot copy standard input: " + systemError());
    }
    if (std::ferror(stdin))
        throw Failure(exitUsage, "cannot read standard input");
}

struct BinaryRead {
    bool complete = false;  // every read succeeded
    long leftOver = 0;      // bytes after the curve
};

BinaryRead readBinary(std::FILE* file, unsigned int layout, SplineBase& curve)
{
    std::rewind(file);
    curve.load(file, layout);
    BinaryRead read;
    read.complete = !std::ferror(file) && !std::feof(file);
    if (read.complete) {
        const long end = std::ftell(file);
        std::fseek(file, 0, SEEK_END);
        read.leftOver = std::ftell(file) - end;
    }
    return read;
}

// "; --layout 3018 (below 3019) reads it whole", or that none does.
std::string layoutsThatReadWhole(std::FILE* file)
{
    std::vector<const Layout*> whole;
    for (const Layout& layout : binaryLayouts) {
        SplineBase probe;
        const BinaryRead read = readBinary(file, layout.version, probe);
        if (read.complete && read.leftOver == 0)
            whole.push_back(&layout);
    }
    if (whole.empty())
        return "; no layout reads it whole";
    std::string names;
    for (const Layout* layout : whole)
        names += std::string(names.empty() ? "" : " or ") + "--layout " + std::to_string(layout->version) +
                 " (" + layout->versions + ")";
    return "; " + names + " reads it whole";
}

std::unique_ptr<SplineBase> loadBinary(const std::string& path, unsigned int layout)
{
    OwnedFile input;
    openBinaryInput(path, input);
    auto curve = std::make_unique<SplineBase>();
    const BinaryRead read = readBinary(input.file, layout, *curve);
    if (read.complete && read.leftOver == 0)
        return curve;
    const std::string points = std::to_string(curve->controlPoints.size()) + " points";
    const std::string what = read.complete
        ? std::to_string(read.leftOver) + " bytes left unread after " + points + " in layout " +
              std::to_string(layout) + ", so the file is of another layout"
        : "not a complete binary curve file of layout " + std::to_string(layout) + " (read " + points + ")";
    throw Failure(exitInputFaults, path + ": " + what + layoutsThatReadWhole(input.file));
}

std::unique_ptr<SplineBase> loadText(const std::string& path)
{
    std::ifstream in;
    if (path == standardStream) {
        static_cast<std::istream&>(in).rdbuf(std::cin.rdbuf());
    } else {
        refuseDirectory(path);
        in.open(path);
        if (!in)
            throw Failure(exitUsage, path + ": cannot open for reading: " + systemError());
    }
    std::unique_ptr<SplineBase> curve(SplineBase::load(in));
    if (in.fail())
        throw Failure(exitInputFaults, path + ": not a complete curve text file (read " +
                                           std::to_string(curve->controlPoints.size()) +
                                           " points before the data ended or went wrong)");
    return curve;
}

std::string outputName(const std::string& path)
{
    return path == standardStream ? std::string("standard output") : path;
}

// Names the first number of the curve that a text file cannot hold.
void refuseNonFiniteNumbers(const SplineBase& curve, const std::string& path)
{
    const std::size_t count = curve.controlPoints.size();
    for (std::size_t index = 0; index < count; ++index) {
        const PointInfo& point = *curve.controlPoints[index];
        const std::pair<const char*, double> fields[] = {
            {"time", point.time},
            {"value", point.value},
            {"tension", point.tcb.tension},
            {"continuity", point.tcb.continuity},
            {"bias", point.tcb.bias},
            {"ease to", point.tcb.easeTo},
            {"ease from", point.tcb.easeFrom},
            {"left slope", point.bezier.leftSlope},
            {"right slope", point.bezier.rightSlope},
        };
        for (const auto& [name, value] : fields) {
            if (!std::isfinite(value))
                throw Failure(exitInputFaults,
                              outputName(path) + ": point " + std::to_string(index + 1) + " of " + std::to_string(count) + " has " +
                                  name + " " + formatNumber(value) +
                                  ", which a text curve file cannot hold (it would not load back); "
                                  "nothing was written (the binary format holds it)");
        }
    }
}

void openOutput(const std::string& path, const char* mode, OwnedFile& output)
{
    if (path == standardStream) {
        output.file = stdout;
        return;
    }
    output.owned = true;
    output.file = std::fopen(path.c_str(), mode);
    if (output.file == nullptr)
        throw Failure(exitUsage, path + ": cannot open for writing: " + systemError());
}

void closeOutput(const std::string& path, OwnedFile& output, bool written)
{
    written = std::fflush(output.file) == 0 && !std::ferror(output.file) && written;
    if (output.owned) {
        written = std::fclose(output.file) == 0 && written;
        output.file = nullptr;
    }
    if (!written)
        throw Failure(exitUsage, outputName(path) + ": write failed");
}

}  // namespace

CurveFormat curveFormatFor(const std::string& path, const std::string& option)
{
    if (option == "text")
        return CurveFormat::text;
    if (option == "binary")
        return CurveFormat::binary;
    if (!option.empty())
        throw Failure(exitUsage, "unknown format '" + option + "' (use text or binary)");
    if (endsWith(path, ".curve") || endsWith(path, ".txt"))
        return CurveFormat::text;
    if (endsWith(path, ".kvb") || endsWith(path, ".bin"))
        return CurveFormat::binary;
    if (path == standardStream)
        throw Failure(exitUsage, "-: standard input or output has no name to tell its format by; give the format option");
    throw Failure(exitUsage, path + ": cannot tell the format from the name; name it .curve/.txt "
                             "(text) or .kvb/.bin (binary), or give the format option");
}

std::unique_ptr<SplineBase> loadCurve(const std::string& path, CurveFormat format, unsigned int layout)
{
    return format == CurveFormat::text ? loadText(path) : loadBinary(path, layout);
}

void saveCurve(SplineBase& curve, const std::string& path, CurveFormat format, int precision)
{
    OwnedFile output;
    if (format == CurveFormat::binary) {
        openOutput(path, "wb", output);
        curve.save(output.file);
        closeOutput(path, output, true);
        return;
    }
    refuseNonFiniteNumbers(curve, path);
    openOutput(path, "w", output);
    DeferredFlushBuffer buffer(output.file);
    std::ofstream out;
    static_cast<std::ostream&>(out).rdbuf(&buffer);
    out.precision(precision);
    SplineBase::save(curve, out);
    const bool written = static_cast<bool>(out) && buffer.finish();
    closeOutput(path, output, written);
}

const char* extrapolationName(int mode)
{
    switch (mode) {
    case kv_spline::EXTRAPOLATE_ZERO: return "zero";
    case kv_spline::EXTRAPOLATE_CONSTANT: return "constant";
    case kv_spline::EXTRAPOLATE_CYCLE: return "cycle";
    case kv_spline::EXTRAPOLATE_CYCLE_OFFSET: return "cycle with offset";
    case kv_spline::EXTRAPOLATE_LINEAR: return "linear";
    default: return "unknown code";
    }
}

}  // namespace tool
