// A host's inner loop: an expression compiled once and evaluated for every
// particle, a curve sampled at a whole frame's times in one call, and a
// curve's runtime form played back one frame at a time. All give exactly the
// values of the plain tree and of `curve(t)`; the program checks that and
// says which backend the compiled form runs on.
#include <cstddef>
#include <cstdio>
#include <memory>
#include <vector>

#include "compiledcurve.h"
#include "compiledexpression.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "splinebase.h"

int main()
{
    double x = 0.0, v = 0.0;
    FunctionParserBase parser;
    parser.insertKey("x", &x);
    parser.insertKey("v", &v);

    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> drag(parser.parseString("x + v*0.016 - 0.5*v*abs(v)*0.016", message));
    if (!message.errors.empty())
        return 1;
    const exprcurve::CompiledExpression compiled(drag.get());
    std::printf("compiled form: %s\n", compiled.usesNativeCode() ? "native code" : "interpreter");

    int mismatches = 0;
    double checksum = 0.0;
    for (int particle = 0; particle < 100000; ++particle) {
        x = particle * 0.001;
        v = (particle % 200) * 0.05 - 5.0;
        const double next = compiled();
        mismatches += next != (*drag)();
        checksum += next;
    }
    std::printf("100000 particles, checksum %.6f, %d differ from the tree\n", checksum, mismatches);

    SplineBase curve;
    curve.addPoint(0.0, 0.0);
    curve.addPoint(1.0, 2.0);
    curve.addPoint(2.5, -1.0);
    curve.addPoint(4.0, 0.5);
    std::vector<double> times(240);
    for (std::size_t frame = 0; frame < times.size(); ++frame)
        times[frame] = frame / 60.0;  // four seconds at 60 frames per second
    const std::vector<double> values = curve.sample(times);
    for (std::size_t frame = 0; frame < times.size(); ++frame)
        mismatches += values[frame] != curve(times[frame]);
    std::printf("240 frames sampled, value at 2 s %.6f, %d differ from curve(t)\n", values[120],
                mismatches);

    // Played back in real time: the runtime form is built once (a snapshot:
    // later edits of `curve` do not reach it), and each playback keeps a
    // hint, so that each frame's lookup starts where the last one ended.
    const exprcurve::CompiledCurve runtime(curve);
    std::size_t hint = 0;
    for (int frame = 0; frame < 240; ++frame) {
        const double t = frame / 60.0;
        mismatches += runtime(t, hint) != curve(t);
    }
    std::printf("240 frames played back, %d differ from curve(t)\n", mismatches);
    return mismatches == 0 ? 0 : 1;
}
