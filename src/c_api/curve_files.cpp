#include "curve_files.h"

#include <cerrno>
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

FileOutcome loadCurveFile(SplineBase& curve, const std::string& path, unsigned int version)
{
    return version == 0 ? loadText(curve, path) : loadBinary(curve, path, version);
}

FileOutcome saveCurveFile(SplineBase& curve, const std::string& path, unsigned int version)
{
    if (version == 0)
        return saveText(curve, path);
    if (version < newestBinaryLayout)
        return dataFailure(path, "binary files are written in the layout of version " +
                                     std::to_string(newestBinaryLayout) +
                                     " and later; version " + std::to_string(version) +
                                     " cannot be written");
    return saveBinary(curve, path);
}

}  // namespace exprcurve
