// A curve driven by an expression of time: the expression adds a wobble to
// the curve, and cycle-with-offset repeats the sum after the last point,
// each repetition raised by the rise of the sum over one period. The curve is
// then saved and loaded in both file formats.
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "splinebase.h"

int main(int argc, char** argv)
{
    const std::string folder = argc > 1 ? argv[1] : ".";

    // The curve evaluation writes times into the variables behind the keys
    // "t" and "f" of the process-wide parser; the host owns them.
    double t = 0.0;
    double f = 0.0;
    FunctionParserBase& parser = FunctionParserBase::instance();
    parser.insertKey("t", &t);
    parser.insertKey("f", &f);

    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> wobble(parser.parseString("0.25*sin(f)", message));
    if (!message.errors.empty())
        return 1;

    SplineBase curve;
    curve.addPoint(0.0, 0.0);
    curve.addPoint(1.0, 1.0);
    curve.addPoint(2.0, 0.5);
    curve.setType(curve.controlPoints[1], kv_spline::TCB);
    curve.setType(curve.controlPoints[2], kv_spline::TCB);
    curve.postExtrapolation = kv_spline::EXTRAPOLATE_CYCLE_OFFSET;

    const double timeScale = 3.0;  // f = 3 t
    for (double time = 0.0; time <= 6.0; time += 0.5) {
        // Inside the curve the expression sees the keys as they stand.
        t = time;
        f = time * timeScale;
        std::printf("t = %4.1f  value = %9.5f\n", time, curve(time, wobble.get(), timeScale));
    }

    // Text: set the precision, the library writes with the stream's own.
    const std::string textPath = folder + "/driven.curve";
    {
        std::ofstream out(textPath);
        out.precision(17);
        SplineBase::save(curve, out);
    }
    std::ifstream in(textPath);
    std::unique_ptr<SplineBase> fromText(SplineBase::load(in));
    if (in.fail())
        return 1;

    // Binary: the caller tells the loader which layout version the data has.
    const std::string binaryPath = folder + "/driven.kvb";
    FILE* file = std::fopen(binaryPath.c_str(), "wb");
    if (file == nullptr)
        return 1;
    curve.save(file);
    std::fclose(file);
    SplineBase fromBinary;
    file = std::fopen(binaryPath.c_str(), "rb");
    if (file == nullptr)
        return 1;
    fromBinary.load(file, 3027);
    const bool truncated = std::feof(file) || std::ferror(file);
    std::fclose(file);

    const bool same = !truncated && (*fromText)(1.5) == curve(1.5) && fromBinary(1.5) == curve(1.5);
    std::printf("reloaded from %s and %s: %s\n", textPath.c_str(), binaryPath.c_str(),
                same ? "identical" : "DIFFERENT");
    parser.removeKey("t");
    parser.removeKey("f");
    return same ? 0 : 1;
}
