// The minimal host shown in the README.
#include <cstdio>
#include <memory>

#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "splinebase.h"

int main()
{
    // An expression bound to a host variable.
    double speed = 1.5;
    FunctionParserBase parser;
    parser.insertKey("speed", &speed);

    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> tree(parser.parseString("max(speed,2)*3", message));
    if (!message.errors.empty())
        return 1;
    std::printf("%g\n", (*tree)());  // 6
    speed = 4.0;
    std::printf("%g\n", (*tree)());  // 12: the tree reads the variable anew

    // A curve from (0, 0) to (1, 10), linear.
    SplineBase curve;
    curve.addPoint(0.0, 0.0);
    curve.addPoint(1.0, 10.0);
    curve.setType(curve.controlPoints[1], kv_spline::LINEAR);
    std::printf("%g\n", curve(0.25));  // 2.5
    return 0;
}
