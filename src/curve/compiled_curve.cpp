// The public face of a curve's snapshot. Everything it answers comes from
// CurveSnapshot, which bulk sampling of a SplineBase uses too.
#include "compiledcurve.h"

#include <utility>

#include "curve_snapshot.h"

namespace exprcurve {

using curves::CurveSnapshot;

namespace {

// What a CompiledCurve without storage (moved from) answers with.
const CurveSnapshot& emptySnapshot()
{
    static const CurveSnapshot empty;
    return empty;
}

// A file-local function rather than a member, so that every evaluation can
// inline it: a member of an exported class may be replaced from outside the
// library.
const CurveSnapshot& snapshotOf(const std::unique_ptr<CurveSnapshot>& data)
{
    return data ? *data : emptySnapshot();
}

}  // namespace

CompiledCurve::CompiledCurve() : data(new CurveSnapshot()) {}

CompiledCurve::CompiledCurve(const SplineBase& curve) : data(new CurveSnapshot())
{
    data->build(curve);
}

CompiledCurve::~CompiledCurve() = default;

CompiledCurve::CompiledCurve(const CompiledCurve& other)
    : data(new CurveSnapshot(snapshotOf(other.data)))
{
}

CompiledCurve& CompiledCurve::operator=(const CompiledCurve& other)
{
    if (this != &other)
        data.reset(new CurveSnapshot(snapshotOf(other.data)));
    return *this;
}

CompiledCurve::CompiledCurve(CompiledCurve&& other) noexcept = default;
CompiledCurve& CompiledCurve::operator=(CompiledCurve&& other) noexcept = default;

void CompiledCurve::rebuild(const SplineBase& curve)
{
    if (!data)
        data.reset(new CurveSnapshot());
    data->build(curve);
}

double CompiledCurve::operator()(double t) const
{
    std::size_t searchFromScratch = 0;
    return curves::plainValue(snapshotOf(data), t, searchFromScratch);
}

double CompiledCurve::operator()(double t, std::size_t& hint) const
{
    return curves::plainValue(snapshotOf(data), t, hint);
}

void CompiledCurve::sample(const double* times, double* values, std::size_t count) const
{
    snapshotOf(data).sample(times, values, count);
}

double CompiledCurve::operator()(double t, FunctionFloatBase* expression, double timeScale) const
{
    curves::ExpressionOfTime withExpression(expression, timeScale);
    std::size_t cursor = 0;
    return curves::valueWithExpression(snapshotOf(data), t, cursor, withExpression);
}

std::size_t CompiledCurve::size() const
{
    return snapshotOf(data).pointCount();
}

}  // namespace exprcurve
