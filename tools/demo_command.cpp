#include "demo_command.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>

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

std::string makeFolder(const std::string& requested)
{
    if (requested.empty()) {
        const char* base = std::getenv("TMPDIR");
        std::string pattern = std::string(base != nullptr && *base != '\0' ? base : "/tmp") +
                              "/exprcurve-demo-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr)
            throw Failure(exitUsage, "cannot create a temporary folder: " + std::string(std::strerror(errno)));
        return pattern;
    }
    if (mkdir(requested.c_str(), 0777) != 0 && errno != EEXIST)
        throw Failure(exitUsage, requested + ": cannot create the folder: " + std::strerror(errno));
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
