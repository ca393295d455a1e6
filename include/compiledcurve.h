// The runtime form of a curve, for hosts that evaluate large or many curves
// in real time.
//
// A CompiledCurve is an immutable snapshot of everything a SplineBase's
// evaluation reads: the points' fields in list order, the out-of-range modes
// and defaultValue, with the data of every segment (its kind, both tangents,
// its ease) computed once. It answers for the curve as it stood when it was
// built, whatever happens to the curve or its records afterwards, and every
// answer is the curve's own bit for bit, for every list a curve can hold:
//
//     exprcurve::CompiledCurve compiled(curve);
//     std::size_t hint = 0;
//     for (;;) { value = compiled(time, hint); ... }  // same bits as curve(time)
//
// Lookups: on a list whose times never decrease and hold no NaN, a time is
// found by a binary search (O(log N)); with a hint, by a search that starts
// where the previous one ended and gallops, so a time that moves by a few
// points per call costs O(1). Any other list (unsorted, NaN times) is
// scanned front to back as the curve itself scans it.
//
// The hint is the caller's cursor: start it at 0 (nothing known), keep it per
// playback, pass it back each call. Any value is valid (a stale one, another
// curve's, SIZE_MAX); it only changes how fast the answer comes.
//
// Threads: nothing in the object changes after it is built, so one
// CompiledCurve serves any number of threads at once, each with its own
// hint. The expression-driven evaluation writes the host variables behind the
// keys "t" and "f", exactly as the curve's own does, and is for one thread at
// a time.
//
// When to use which: a host that edits a curve every frame stays on
// curve(t), which needs no build; a host that plays a curve back many times
// between edits builds a CompiledCurve once (about the cost of a few
// evaluations of a large curve) and calls rebuild() after each edit.
#ifndef EXPRCURVE_COMPILEDCURVE_H
#define EXPRCURVE_COMPILEDCURVE_H

#include <cstddef>
#include <memory>

class FunctionFloatBase;
class SplineBase;

namespace exprcurve::curves {
class CurveSnapshot;
}

namespace exprcurve {

class CompiledCurve {
public:
    CompiledCurve();  // as a default SplineBase: no points, value 0.0
    // A snapshot: copies what evaluation reads.
    explicit CompiledCurve(const SplineBase& curve);
    ~CompiledCurve();
    CompiledCurve(const CompiledCurve& other);
    CompiledCurve& operator=(const CompiledCurve& other);
    // A moved-from CompiledCurve is one without points.
    CompiledCurve(CompiledCurve&& other) noexcept;
    CompiledCurve& operator=(CompiledCurve&& other) noexcept;

    // A new snapshot of `curve`, reusing the storage: nothing is allocated
    // unless the curve has more points than any snapshot this object held.
    void rebuild(const SplineBase& curve);

    // curve(t) as the curve stood.
    double operator()(double t) const;
    // The same value; `hint` is the caller's cursor, any value valid, and is
    // left where this lookup ended.
    double operator()(double t, std::size_t& hint) const;
    // values[i] = (*this)(times[i]) for every i, bit for bit; `values` may be
    // `times` itself. Ascending times are walked together with the points,
    // the times that follow one another inside one segment evaluated two at
    // a time; other times are searched for one by one.
    void sample(const double* times, double* values, std::size_t count) const;
    // curve(t, expression, timeScale) as the curve stood: the same value, the
    // same writes of the keys "t" and "f" of FunctionParserBase::instance(),
    // the same evaluations of the expression.
    double operator()(double t, FunctionFloatBase* expression, double timeScale) const;

    std::size_t size() const;  // points in the snapshot

private:
    std::unique_ptr<exprcurve::curves::CurveSnapshot> data;
};

}  // namespace exprcurve

#endif  // EXPRCURVE_COMPILEDCURVE_H
