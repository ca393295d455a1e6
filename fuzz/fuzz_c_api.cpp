// The C interface with any input: an expression text and a curve file, given
// through handles as a C program gives them. Nothing may crash or leak,
// every fault has a message and a range within the text, batches, a
// curve's samples and its runtime form must give the single evaluations,
// and the interface's own text save must load back exactly, taking exactly
// the curves whose numbers are plain (finite and not subnormal: the stream
// reader refuses the others).
//
// Input: one byte choosing the curve format (0 text, 1..3 binary at versions
// 3000, 3020 and 3027), the expression text up to the first zero byte, then
// the curve file's contents.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "exprcurve.h"
#include "fuzz_support.h"

namespace {

using fuzz_support::require;

constexpr unsigned int versions[] = {0, 3000, 3020, 3027};

bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Bit for bit, except that any NaN equals any NaN: where two NaNs meet in an
// operation, which one's payload survives is the compiler's choice, and the
// bulk and single evaluations may meet them in either order.
bool sameValue(double a, double b)
{
    return sameBits(a, b) || (std::isnan(a) && std::isnan(b));
}

double hostSum(const double* arguments, void*)
{
    return arguments[0] + arguments[1];
}

// Batches of two rows, x from a column, against single evaluations.
void batchesAreRows(const exprcurve_expression* parsed, double& x)
{
    const double xs[] = {-1.5, 0.75};
    double results[2];
    const exprcurve_column column = {&x, xs};
    const double kept = x;
    require(exprcurve_evaluate_batch(parsed, 2, &column, 1, results) == 1, "a batch");
    require(sameBits(x, kept), "a batch leaves the variable as it was");
    for (int row = 0; row < 2; ++row) {
        x = xs[row];
        require(sameValue(results[row], exprcurve_evaluate(parsed)), "a batch row is the single evaluation");
    }
    x = kept;
}

void expression(const std::string& text)
{
    double x = 0.5;
    float y = 0.25f;
    int n = 3;
    bool b = true;
    exprcurve_parser* parser = exprcurve_parser_new();
    require(parser != nullptr, "a parser");
    exprcurve_parser_bind_double(parser, "x", &x);
    exprcurve_parser_bind_float(parser, "y", &y);
    exprcurve_parser_bind_int(parser, "n", &n);
    exprcurve_parser_bind_bool(parser, "b", &b);
    exprcurve_parser_define_function(parser, "sum", 2, hostSum, nullptr);
    exprcurve_expression* parsed = exprcurve_parse(parser, text.c_str());
    require(parsed != nullptr, "parse gives an expression");
    exprcurve_parser_free(parser);  // the expression does not need it
    const double first = exprcurve_evaluate(parsed);
    require(sameValue(first, exprcurve_evaluate(parsed)), "an expression gives the same value twice");
    for (std::size_t i = 0; i < exprcurve_fault_count(parsed); ++i) {
        const int position = exprcurve_fault_position(parsed, i);
        const int length = exprcurve_fault_length(parsed, i);
        require(exprcurve_fault_message(parsed, i) != nullptr, "every fault has a message");
        require(position >= 0 && length >= 0 &&
                    static_cast<std::size_t>(position) + static_cast<std::size_t>(length) <= text.size(),
                "a fault lies within the text");
    }
    require(exprcurve_fault_message(parsed, exprcurve_fault_count(parsed)) == nullptr,
            "no message past the last fault");
    batchesAreRows(parsed, x);
    exprcurve_expression_free(parsed);
}

bool plain(double x)
{
    return x == 0.0 || std::isnormal(x);
}

bool plainPoints(const exprcurve_curve* curve)
{
    exprcurve_point p;
    for (std::size_t i = 0; i < exprcurve_curve_point_count(curve); ++i) {
        require(exprcurve_curve_get_point(curve, i, &p) == 1, "every index has a point");
        for (double field : {p.time, p.value, p.left_slope, p.right_slope, p.tension,
                             p.continuity, p.bias, p.ease_from, p.ease_to}) {
            if (!plain(field))
                return false;
        }
    }
    return true;
}

bool samePoints(const exprcurve_curve* a, const exprcurve_curve* b)
{
    const std::size_t count = exprcurve_curve_point_count(a);
    if (count != exprcurve_curve_point_count(b))
        return false;
    exprcurve_point pa, pb;
    for (std::size_t i = 0; i < count; ++i) {
        exprcurve_curve_get_point(a, i, &pa);
        exprcurve_curve_get_point(b, i, &pb);
        if (std::memcmp(&pa, &pb, sizeof pa) != 0)
            return false;
    }
    return exprcurve_curve_pre_mode(a) == exprcurve_curve_pre_mode(b) &&
           exprcurve_curve_post_mode(a) == exprcurve_curve_post_mode(b);
}

void samplesAreEvaluations(const exprcurve_curve* curve)
{
    std::vector<double> times = {NAN, INFINITY, -INFINITY, 0.0, -0.0, 1e300, -1e300};
    exprcurve_point p;
    for (std::size_t i = 0; i < exprcurve_curve_point_count(curve) && i < 64; ++i) {
        exprcurve_curve_get_point(curve, i, &p);
        times.insert(times.end(), {p.time, p.time + 0.5, p.time - 1e3, p.time * 3.5});
    }
    std::vector<double> values(times.size());
    exprcurve_curve_sample(curve, times.data(), values.data(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i)
        require(sameValue(values[i], exprcurve_curve_evaluate(curve, times[i])),
                "a sample is the single evaluation");

    // The runtime form answers the same, searched, hinted and sampled.
    exprcurve_compiled_curve* compiled = exprcurve_curve_compile(curve);
    require(compiled != nullptr, "a runtime form");
    require(exprcurve_compiled_curve_point_count(compiled) == exprcurve_curve_point_count(curve),
            "the runtime form has every point");
    std::vector<double> compiledValues(times.size());
    exprcurve_compiled_curve_sample(compiled, times.data(), compiledValues.data(), times.size());
    std::size_t hint = times.size() * 7919;  // any value is a valid hint
    for (std::size_t i = 0; i < times.size(); ++i) {
        require(sameValue(compiledValues[i], values[i]), "the runtime form samples as the curve");
        require(sameValue(exprcurve_compiled_curve_evaluate(compiled, times[i]), values[i]),
                "the runtime form evaluates as the curve");
        require(sameValue(exprcurve_compiled_curve_evaluate_hinted(compiled, times[i], &hint), values[i]),
                "a hinted lookup answers as the curve");
    }
    exprcurve_compiled_curve_free(compiled);
}

// What loading `saved`'s records in list order gives: each goes through the
// ordered insertion, so runs of equal times come back turned around.
exprcurve_curve* reloadOf(const exprcurve_curve* saved)
{
    exprcurve_curve* expected = exprcurve_curve_new();
    exprcurve_point p;
    for (std::size_t i = 0; i < exprcurve_curve_point_count(saved); ++i) {
        exprcurve_curve_get_point(saved, i, &p);
        require(exprcurve_curve_insert_point(expected, &p) == 1, "an insertion");
    }
    exprcurve_curve_set_modes(expected, exprcurve_curve_pre_mode(saved),
                              exprcurve_curve_post_mode(saved));
    return expected;
}

// The interface's saves: text loads back exactly and is refused for numbers
// that are not plain; binary always loads back exactly.
void roundTrips(exprcurve_curve* curve)
{
    const std::string path = fuzz_support::scratchPath();
    exprcurve_curve* expected = reloadOf(curve);
    exprcurve_curve* reloaded = exprcurve_curve_new();
    const bool plain = plainPoints(curve);
    require(exprcurve_curve_save(curve, path.c_str(), 0) == (plain ? 1 : 0),
            "a text save takes exactly the curves the text format keeps");
    if (plain) {
        require(exprcurve_curve_load(reloaded, path.c_str(), 0) == 1, "a text save loads");
        require(samePoints(expected, reloaded), "a text save loads back exactly");
    }
    require(exprcurve_curve_save(curve, path.c_str(), 3026) == 0, "old binary layouts are refused");
    require(exprcurve_curve_save(curve, path.c_str(), 3027) == 1, "a binary save");
    exprcurve_curve_clear(reloaded);
    require(exprcurve_curve_load(reloaded, path.c_str(), 3027) == 1, "a binary save loads");
    require(samePoints(expected, reloaded), "a binary save loads back exactly");
    exprcurve_curve_free(reloaded);
    exprcurve_curve_free(expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const unsigned int version = versions[data[0] % 4];
    const char* rest = reinterpret_cast<const char*>(data + 1);
    const std::size_t restSize = size - 1;
    const std::size_t textSize = strnlen(rest, restSize);
    expression(std::string(rest, textSize));

    const std::size_t fileStart = textSize < restSize ? textSize + 1 : restSize;
    const std::string path = fuzz_support::scratchPath();
    {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(rest + fileStart, static_cast<std::streamsize>(restSize - fileStart));
    }
    exprcurve_curve* curve = exprcurve_curve_new();
    exprcurve_curve_load(curve, path.c_str(), version);  // a partial load keeps its points
    exprcurve_curve* copy = exprcurve_curve_copy(curve);
    require(samePoints(curve, copy), "a copy has the same points");
    exprcurve_curve_free(curve);
    samplesAreEvaluations(copy);
    roundTrips(copy);
    exprcurve_curve_free(copy);
    return 0;
}
