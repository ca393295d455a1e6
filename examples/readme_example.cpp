// The minimal host shown in the README.
#include <cstdio>
#include <memory>
#include <string>

#include "diagnostics.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "splinebase.h"

// A function of the host's own for its users' expressions.
double clamp(const double* arguments, void* /*context*/)
{
    const double x = arguments[0], low = arguments[1], high = arguments[2];
    return x < low ? low : x > high ? high : x;
}

int main()
{
    // An expression bound to a host variable, calling a host function.
    double speed = 1.5;
    FunctionParserBase parser;
    parser.insertKey("speed", &speed);
    parser.defineFunction("clamp", 3, clamp);

    const std::string text = "clamp(speed, 0, 2) * 3";
    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> tree(parser.parseString(text, message));
    for (const exprcurve::Diagnostic& fault : exprcurve::describeFaults(text, message))
        std::printf("column %d: %s\n", fault.position + 1, fault.message.c_str());
    if (!message.errors.empty())
        return 1;
    std::printf("%g\n", (*tree)());  // 4.5
    speed = 4.0;
    std::printf("%g\n", (*tree)());  // 6: the tree reads the variable anew

    // A curve from (0, 0) to (1, 10), linear.
    SplineBase curve;
    curve.addPoint(0.0, 0.0);
    curve.addPoint(1.0, 10.0);
    curve.setType(curve.controlPoints[1], kv_spline::LINEAR);
    std::printf("%g\n", curve(0.25));  // 2.5
    return 0;
}
