#include "demo_command.h"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <random>
#include <sstream>
#include <system_error>

#include "curve_commands.h"
#include "curve_files.h"
#include "tool_support.h"

namespace tool {
namespace {

// A small curve with one segment of every kind; the kind belongs to the point
// that ends the segment.
void buildDemoCurve(SplineBase& curve)
{
    curve.addPoint(0.0, 0.0);
    curve.addPoint(1.0, 2.0, PointInfo::BezierData{0.0, 0.0});  // bezier, arrives flat
    curve.controlPoints[0]->bezier.rightSlope = 5.0;           // and leaves 0 steeply
    curve.addPoint(2.0, 1.0);
    curve.setType(curve.findBy(2.0, 0.5), kv_spline::LINEAR);
    curve.addPoint(3.5, 3.0, PointInfo::TcbData{0.0, 0.0, 0.0, 0.4, 0.4});
    curve.setType(curve.findBy(3.5, 0.5), kv_spline::TCB);
    curve.addPoint(4.0, 0.5);
    curve.setType(curve.findBy(4.0, 0.5), kv_spline::STEP);
    curve.addPoint(5.0, 1.5, PointInfo::TcbData{0.5, 0.0, 0.0, 0.0, 0.0});
    curve.setType(curve.findBy(5.0, 0.5), kv_spline::TCB);
    curve.preExtrapolation = kv_spline::EXTRAPOLATE_CONSTANT;
    curve.postExtrapolation = kv_spline::EXTRAPOLATE_CYCLE_OFFSET;
}

// A new folder of the user's own (owner-only, as a temporary folder should
// be) under the system's temporary folder, with a name nobody else holds.
std::string makeTemporaryFolder()
{
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path base = fs::temp_directory_path(error);
    if (error)
        throw Failure(exitUsage, "cannot find the temporary folder: " + error.message());
    std::random_device entropy;
    constexpr int attempts = 100;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        std::ostringstream name;
        name << "exprcurve-demo-" << std::hex << entropy();
        const fs::path candidate = base / name.str();
        if (fs::create_directory(candidate, error)) {
            fs::permissions(candidate, fs::perms::owner_all, error);
            if (error)
                throw Failure(exitUsage, candidate.string() + ": " + error.message());
            return candidate.string();
        }
        if (error)
            throw Failure(exitUsage, "cannot create a temporary folder: " + error.message());
    }
    throw Failure(exitUsage, "cannot create a temporary folder: every name tried is taken");
}

// The folder the user named, made when missing; an existing folder is used
// as it is.
std::string makeFolder(const std::string& requested)
{
    if (requested.empty())
        return makeTemporaryFolder();
    std::error_code error;
    std::filesystem::create_directory(requested, error);
    if (error)
        throw Failure(exitUsage, requested + ": cannot create the folder: " + error.message());
    return requested;
}

const char* segmentName(const SplineBase& curve, double t)
{
    const unsigned int segment = curve.findIndex(t);
    if (segment == 0)
        return "before the curve";
    if (segment == curve.controlPoints.size())
        return "after the curve";
    switch (curve.controlPoints[segment]->type) {
    case kv_spline::LINEAR: return "linear";
    case kv_spline::BEZIER: return "bezier";
    case kv_spline::STEP: return "step";
    default: return "tcb";
    }
}

}  // namespace

int runDemo(const std::string& requestedFolder)
{
    const std::string folder = makeFolder(requestedFolder);
    const std::string textPath = folder + "/demo.curve";
    const std::string binaryPath = folder + "/demo.kvb";
    const std::string plotPath = folder + "/demo.svg";

    SplineBase curve;
    buildDemoCurve(curve);
    saveCurve(curve, textPath, CurveFormat::text, 17);
    saveCurve(curve, binaryPath, CurveFormat::binary, 17);

    // Sample the curve as read back from disk, so the table shows what the
    // file holds.
    std::unique_ptr<SplineBase> loaded = loadCurve(textPath, CurveFormat::text, newestBinaryLayout);
    std::printf("A curve with every segment kind (before: %s, after: %s)\n\n",
                extrapolationName(loaded->preExtrapolation), extrapolationName(loaded->postExtrapolation));
    std::printf("%8s  %20s  %s\n", "time", "value", "segment");
    for (int step = -4; step <= 44; ++step) {
        const double t = step * 0.25;
        std::printf("%8.2f  %20.15g  %s\n", t, (*loaded)(t), segmentName(*loaded, t));
    }

    PlotOptions plot;
    plot.input.path = textPath;
    plot.from = "-1";
    plot.to = "11";
    plot.outputPath = plotPath;
    runPlot(plot);

    std::printf("\nwrote %s (text), %s (binary, version %u) and %s (plot)\n", textPath.c_str(),
                binaryPath.c_str(), newestBinaryLayout, plotPath.c_str());
    return exitOk;
}

}  // namespace tool
