#include "curve_files.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>

#include "splinebase.h"

namespace exprcurve {

namespace {

FileOutcome systemFailure(const std::string& path, const char* what)
{
    const int error = errno;
    std::string message = path + ": " + what;
    if (error != 0)
        message += std::string(": ") + std::strerror(error);
    return FileOutcome{false, error, message};
}

FileOutcome dataFailure(const std::string& path, const std::string& what)
{
    return FileOutcome{false, 0, path + ": " + what};
}

std::string pointsRead(const SplineBase& curve)
{
    return " (read " + std::to_string(curve.controlPoints.size()) + " points)";
}

FileOutcome loadText(SplineBase& curve, const std::string& path)
{
    errno = 0;
    std::ifstream in(path);
    if (!in)
        return systemFailure(path, "cannot open for reading");
    SplineBase::load(&curve, in);
    if (in.fail())
        return dataFailure(path, "not a complete curve text file" + pointsRead(curve));
    return FileOutcome{};
}

FileOutcome loadBinary(SplineBase& curve, const std::string& path, unsigned int version)
{
    errno = 0;
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        return systemFailure(path, "cannot open for reading");
    curve.load(file, version);
    const bool readError = std::ferror(file) != 0;
    const bool ended = std::feof(file) != 0;
    std::fclose(file);
    if (readError)
        return dataFailure(path, "read error" + pointsRead(curve));
    if (ended)
        return dataFailure(path, "not a complete binary curve file of version " +
                                     std::to_string(version) + pointsRead(curve));
    return FileOutcome{};
}

FileOutcome saveText(SplineBase& curve, const std::string& path)
{
    errno = 0;
    std::ofstream out(path);
    if (!out)
        return systemFailure(path, "cannot open for writing");
    out.precision(std::numeric_limits<double>::max_digits10);
    SplineBase::save(curve, out);
    out.close();
    if (out.fail())
        return systemFailure(path, "write failed");
    return FileOutcome{};
}

FileOutcome saveBinary(SplineBase& curve, const std::string& path)
{
    errno = 0;
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return systemFailure(path, "cannot open for writing");
    curve.save(file);
    const bool failed = std::ferror(file) != 0;
    if (std::fclose(file) != 0 || failed)
        return systemFailure(path, "write failed");
    return FileOutcome{};
}

}  // namespace

std::string textUnfitness(const SplineBase& curve)
{
    static const char* const names[] = {"time", "value", "left slope", "right slope",
                                        "tension", "continuity", "bias", "ease from", "ease to"};
    for (std::size_t index = 0; index < curve.controlPoints.size(); ++index) {
        const PointInfo& p = *curve.controlPoints[index];
        const double fields[] = {p.time, p.value, p.bezier.leftSlope, p.bezier.rightSlope,
                                 p.tcb.tension, p.tcb.continuity, p.tcb.bias, p.tcb.easeFrom,
                                 p.tcb.easeTo};
        for (std::size_t field = 0; field < 9; ++field) {
            if (fields[field] != 0.0 && !std::isnormal(fields[field]))
                return "point " + std::to_string(index) + " has a " + names[field] + " (" +
                       std::to_string(fields[field]) +
                       ") that the text format cannot keep; save it in the binary format";
        }
    }
    return std::string();
}

FileOutcome loadCurveFile(SplineBase& curve, const std::string& path, unsigned int version)
{
    return version == 0 ? loadText(curve, path) : loadBinary(curve, path, version);
}

FileOutcome saveCurveFile(SplineBase& curve, const std::string& path, unsigned int version)
{
    if (version == 0) {
        const std::string unfit = textUnfitness(curve);
        return unfit.empty() ? saveText(curve, path) : dataFailure(path, unfit);
    }
    if (version < newestBinaryLayout)
        return dataFailure(path, "binary files are written in the layout of version " +
                                     std::to_string(newestBinaryLayout) +
                                     " and later; version " + std::to_string(version) +
                                     " cannot be written");
    return saveBinary(curve, path);
}

}  // namespace exprcurve
