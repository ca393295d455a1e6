// The C++ calls that the Python package is measured against
// (bench/python_bench.py): the same inputs, built by the same formulas on
// both sides, and a checksum of the results so the two runs can be seen to
// compute the same thing.
//
// - a curve of 1 Ki points of every kind, sampled at 1 Mi times, ascending
//   and scattered;
// - a 5-variable expression evaluated over 1 Mi rows by the batch call.
//
// Each case is timed as single calls, and the fastest of `repetitions` is
// its figure on both sides: on a loaded machine the fastest call is the one
// least disturbed by other work.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "compiledexpression.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "splinebase.h"

namespace {

constexpr std::size_t rows = std::size_t{1} << 20;
constexpr int curvePoints = 1024;
constexpr int repetitions = 15;  // bench/python_bench.py repeats as often

double fastest(const std::vector<double>& times)
{
    return *std::min_element(times.begin(), times.end());
}

void singleCalls(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Iterations(1)
        ->Repetitions(repetitions)
        ->ComputeStatistics("min", fastest)
        ->ReportAggregatesOnly(true);
}

// Point k: at time k/4, every fourth point of each kind, slopes and values
// that are exact in binary.
std::unique_ptr<SplineBase> bindingCurve()
{
    std::unique_ptr<SplineBase> curve(new SplineBase());
    for (int k = 0; k < curvePoints; ++k) {
        PointInfo point{};
        point.time = k * 0.25;
        point.value = ((k * 37) % 101) * 0.125;
        point.type = static_cast<kv_spline::interpolationType>(k % 4);
        point.bezier = {((k % 7) - 3) * 0.5, ((k % 5) - 2) * 0.5};
        point.tcb = {0.25, -0.125, 0.0625, 0.0, 0.0};
        curve->addPoint(point);
    }
    return curve;
}

// From 8 before the curve to 8 after it: steps of 2^-12, or a hash of the
// index that scatters them.
std::vector<double> bindingTimes(bool ascending)
{
    std::vector<double> times(rows);
    for (std::size_t i = 0; i < rows; ++i) {
        if (ascending) {
            times[i] = -8.0 + static_cast<double>(i) * 0x1p-12;
        } else {
            const std::uint64_t hash = (i * std::uint64_t{2654435761}) % (std::uint64_t{1} << 32);
            times[i] = static_cast<double>(hash) * 0x1p-32 * 272.0 - 8.0;
        }
    }
    return times;
}

double checksum(const std::vector<double>& values)
{
    double sum = 0.0;
    for (const double value : values)
        sum += value;
    return sum;
}

void curveSample(benchmark::State& state, bool ascending)
{
    const std::unique_ptr<SplineBase> curve = bindingCurve();
    const std::vector<double> times = bindingTimes(ascending);
    std::vector<double> values(rows);
    for (auto _ : state) {
        curve->sample(times.data(), values.data(), rows);
        benchmark::DoNotOptimize(values.data());
    }
    state.counters["checksum"] = checksum(values);
}

BENCHMARK_CAPTURE(curveSample, ascending, true)
    ->Name("binding/curve_sample/ascending")
    ->Apply(singleCalls);
BENCHMARK_CAPTURE(curveSample, scattered, false)
    ->Name("binding/curve_sample/scattered")
    ->Apply(singleCalls);

// Row i of the five columns.
struct Rows {
    std::vector<double> x, y, z, u, v;
    Rows() : x(rows), y(rows), z(rows), u(rows), v(rows)
    {
        for (std::size_t i = 0; i < rows; ++i) {
            x[i] = static_cast<double>(i % 1000) * 0.001;
            y[i] = static_cast<double>(i % 777) * 0.01 - 3.0;
            z[i] = static_cast<double>(i % 1021) * 0.003;
            u[i] = static_cast<double>(i % 89) * 0.5;
            v[i] = static_cast<double>(i % 97) * 0.25 + 1.0;
        }
    }
};

const char* const bindingExpression = "x*y+sin(z)-u/v+max(x,z)*0.5";

void expressionRows(benchmark::State& state)
{
    const Rows in;
    double x = 0, y = 0, z = 0, u = 0, v = 0;
    FunctionParserBase parser;
    parser.insertKey("x", &x);
    parser.insertKey("y", &y);
    parser.insertKey("z", &z);
    parser.insertKey("u", &u);
    parser.insertKey("v", &v);
    ParseMessage message{};
    const std::unique_ptr<FunctionFloatBase> tree(parser.parseString(bindingExpression, message));
    const exprcurve::CompiledExpression compiled(tree.get());
    const exprcurve::Column columns[] = {{&x, in.x.data()}, {&y, in.y.data()}, {&z, in.z.data()},
                                         {&u, in.u.data()}, {&v, in.v.data()}};
    std::vector<double> results(rows);
    for (auto _ : state) {
        compiled.evaluate(rows, columns, 5, results.data());
        benchmark::DoNotOptimize(results.data());
    }
    state.counters["checksum"] = checksum(results);
}

BENCHMARK(expressionRows)->Name("binding/expression_rows")->Apply(singleCalls);

}  // namespace
