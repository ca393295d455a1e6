// A curve evaluated together with an expression: the sum of both, with the
// out-of-range modes applied to the sum. Outside the curve the expression is
// shown the clamped, wrapped or shifted time through the host variables behind
// the process-wide parser's keys "t" and "f".
#include <cmath>
#include <limits>

#include "evaluation.h"
#include "expression/key_table.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "splinebase.h"

using exprcurve::curves::FrontScan;
using exprcurve::keys::Overloaded;
using exprcurve::keys::visitKey;

namespace {

using Key = FunctionParserBase::keyStruct;

// The backward step with which linear extrapolation measures the expression's
// own slope: the single-precision 0.001, widened where the arithmetic is
// double. The divisor stays this value whatever step the variable's kind
// really allowed.
constexpr float linearProbeStepSingle = 0.001f;
constexpr double linearProbeStep = static_cast<double>(linearProbeStepSingle);
static_assert(linearProbeStep == 0.0010000000474974513, "the float constant widened");

// Truncation toward zero. A plain conversion of NaN or of a value outside the
// int range is undefined, so those get a defined answer: NaN gives 0 and
// out-of-range values saturate at the nearest int limit.
int truncateToInt(double x)
{
    constexpr double aboveMax = static_cast<double>(std::numeric_limits<int>::max()) + 1.0;
    constexpr double belowMin = static_cast<double>(std::numeric_limits<int>::min()) - 1.0;
    if (std::isnan(x))
        return 0;
    if (x >= aboveMax)
        return std::numeric_limits<int>::max();
    if (x <= belowMin)
        return std::numeric_limits<int>::min();
    return static_cast<int>(x);
}

// Stores x in the key's variable in the variable's own kind; a key of an
// unknown kind is left alone.
void writeTime(const Key* key, double x)
{
    if (key == nullptr)
        return;
    visitKey(*key, Overloaded{
        [x](bool* variable) { *variable = x != 0.0; },  // NaN is non-zero
        [x](int* variable) { *variable = truncateToInt(x); },
        [x](float* variable) { *variable = static_cast<float>(x); },
        [x](double* variable) { *variable = x; }});
}

// The key's variable as a double; 0.0 for a missing key or an unknown kind.
double readTime(const Key* key)
{
    if (key == nullptr)
        return 0.0;
    return visitKey(*key, Overloaded{
        // The byte, as the expression's bool leaves read it.
        [](const bool* variable) {
            return *reinterpret_cast<const unsigned char*>(variable) != 0 ? 1.0 : 0.0;
        },
        [](const int* variable) { return static_cast<double>(*variable); },
        [](const float* variable) { return static_cast<double>(*variable); },
        [](const double* variable) { return *variable; }});
}

// Moves the key's variable back by the probe step in the variable's own kind:
// a float steps in single precision, an int drops by one when positive, a
// bool can only become true.
void stepTimeBack(const Key* key)
{
    if (key == nullptr)
        return;
    visitKey(*key, Overloaded{
        [](bool* variable) { *variable = true; },
        [](int* variable) { *variable = truncateToInt(static_cast<double>(*variable) + -linearProbeStep); },
        [](float* variable) { *variable = *variable + -linearProbeStepSingle; },
        [](double* variable) { *variable = *variable + -linearProbeStep; }});
}

}  // namespace

namespace exprcurve::curves {

TimeKeys fetchTimeKeys()
{
    FunctionParserBase& parser = FunctionParserBase::instance();
    return {parser.getKey("t"), parser.getKey("f")};
}

double evaluateAt(const TimeKeys& keys, double x, FunctionFloatBase* expression, double timeScale)
{
    writeTime(keys.time, x);
    writeTime(keys.scaled, x * timeScale);
    return (*expression)();
}

double expressionSlopeBack(const TimeKeys& keys, double atLast, FunctionFloatBase* expression,
                           double timeScale)
{
    stepTimeBack(keys.time);
    writeTime(keys.scaled, readTime(keys.time) * timeScale);
    const double beforeLast = (*expression)();
    return (atLast - beforeLast) / linearProbeStep;
}

}  // namespace exprcurve::curves

double SplineBase::operator()(const double& t, FunctionFloatBase* expression,
                              const double& timeScale)
{
    exprcurve::curves::ExpressionOfTime withExpression(expression, timeScale);
    FrontScan::Cursor cursor;
    return exprcurve::curves::valueWithExpression(FrontScan(*this), t, cursor, withExpression);
}
