// Curve benchmarks: single-time evaluation, bulk sampling, persistence and
// building a curve point by point.
//
// Counters:
// - per_key: time per control point that the front-to-back segment scan
//   passes (a time in segment i passes i points), for single-time evaluation;
// - per_sample: time per evaluated time, for bulk sampling;
// - per_point: time per point added, for building.
// Persistence is timed once per run (1 Mi points); its wall time is the
// figure.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstdio>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "splinebase.h"

namespace {

constexpr int mebi = 1 << 20;

benchmark::Counter perUnit(double units)
{
    return benchmark::Counter(units, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// Points at times 0, 1, 2, ... with random values, slopes and TCB data, all
// ending segments of `kind`.
std::unique_ptr<SplineBase> rampCurve(kv_spline::interpolationType kind, int count)
{
    std::mt19937_64 random(count);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    std::unique_ptr<SplineBase> curve(new SplineBase());
    curve->controlPoints.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        PointInfo* point = new PointInfo();
        *point = PointInfo{static_cast<double>(i),
                           unit(random),
                           {unit(random), unit(random)},
                           {0.3 * unit(random), 0.3 * unit(random), 0.3 * unit(random), 0.0, 0.0},
                           kind,
                           false};
        curve->controlPoints.push_back(point);  // already in order
    }
    return curve;
}

// `count` times spread over the inside of a curve of `points` points,
// ascending or in random order.
std::vector<double> insideTimes(int points, std::size_t count, bool ascending)
{
    std::vector<double> times(count);
    const double span = points > 1 ? points - 1 : 1.0;
    for (std::size_t i = 0; i < count; ++i)
        times[i] = span * (static_cast<double>(i) + 0.5) / static_cast<double>(count);
    if (!ascending)
        std::shuffle(times.begin(), times.end(), std::mt19937_64(42));
    return times;
}

// ---------------------------------------------------------------- evaluation

void evaluate(benchmark::State& state, kv_spline::interpolationType kind, bool ascending)
{
    const int points = static_cast<int>(state.range(0));
    const std::unique_ptr<SplineBase> curve = rampCurve(kind, points);
    const std::vector<double> times = insideTimes(points, 4096, ascending);
    std::vector<double> keysPassed;
    for (double t : times)
        keysPassed.push_back(curve->findIndex(t));
    std::size_t next = 0;
    double passed = 0.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize((*curve)(times[next]));
        passed += keysPassed[next];
        next = (next + 1) % times.size();
    }
    state.counters["per_key"] = perUnit(passed);
}

void evaluationSizes(benchmark::internal::Benchmark* benchmark)
{
    for (int points : {4, 64, 1024, 64 * 1024, mebi})
        benchmark->Arg(points);
}

BENCHMARK_CAPTURE(evaluate, linear_random, kv_spline::LINEAR, false)->Apply(evaluationSizes);
BENCHMARK_CAPTURE(evaluate, bezier_random, kv_spline::BEZIER, false)->Apply(evaluationSizes);
BENCHMARK_CAPTURE(evaluate, tcb_random, kv_spline::TCB, false)->Apply(evaluationSizes);
BENCHMARK_CAPTURE(evaluate, step_random, kv_spline::STEP, false)->Apply(evaluationSizes);
BENCHMARK_CAPTURE(evaluate, linear_sorted, kv_spline::LINEAR, true)->Apply(evaluationSizes);
BENCHMARK_CAPTURE(evaluate, bezier_sorted, kv_spline::BEZIER, true)->Apply(evaluationSizes);
BENCHMARK_CAPTURE(evaluate, tcb_sorted, kv_spline::TCB, true)->Apply(evaluationSizes);
BENCHMARK_CAPTURE(evaluate, step_sorted, kv_spline::STEP, true)->Apply(evaluationSizes);

// ---------------------------------------------------------------- sampling

// 64 Ki times per call over the whole curve.
void sample(benchmark::State& state, kv_spline::interpolationType kind, bool ascending)
{
    const int points = static_cast<int>(state.range(0));
    const std::unique_ptr<SplineBase> curve = rampCurve(kind, points);
    const std::vector<double> times = insideTimes(points, 64 * 1024, ascending);
    std::vector<double> values(times.size());
    for (auto _ : state) {
        curve->sample(times.data(), values.data(), times.size());
        benchmark::DoNotOptimize(values.data());
    }
    state.counters["per_sample"] =
        perUnit(static_cast<double>(times.size()) * static_cast<double>(state.iterations()));
}

BENCHMARK_CAPTURE(sample, linear_ascending, kv_spline::LINEAR, true)->Apply(evaluationSizes);
BENCHMARK_CAPTURE(sample, bezier_ascending, kv_spline::BEZIER, true)->Apply(evaluationSizes);
BENCHMARK_CAPTURE(sample, tcb_ascending, kv_spline::TCB, true)->Apply(evaluationSizes);
BENCHMARK_CAPTURE(sample, step_ascending, kv_spline::STEP, true)->Apply(evaluationSizes);
BENCHMARK_CAPTURE(sample, linear_random, kv_spline::LINEAR, false)->Apply(evaluationSizes);
BENCHMARK_CAPTURE(sample, tcb_random, kv_spline::TCB, false)->Apply(evaluationSizes);

// ---------------------------------------------------------------- persistence

std::string scratchPath(const char* suffix)
{
    return "/tmp/exprcurve_bench_" + std::to_string(getpid()) + suffix;
}

void binarySave(benchmark::State& state)
{
    const std::unique_ptr<SplineBase> curve = rampCurve(kv_spline::TCB, mebi);
    const std::string path = scratchPath(".bin");
    for (auto _ : state) {
        FILE* file = std::fopen(path.c_str(), "wb");
        curve->save(file);
        std::fclose(file);
    }
    std::remove(path.c_str());
}

void binaryLoad(benchmark::State& state)
{
    const std::string path = scratchPath(".bin");
    {
        FILE* file = std::fopen(path.c_str(), "wb");
        rampCurve(kv_spline::TCB, mebi)->save(file);
        std::fclose(file);
    }
    SplineBase curve;
    for (auto _ : state) {
        FILE* file = std::fopen(path.c_str(), "rb");
        curve.load(file, 3027);
        std::fclose(file);
    }
    std::remove(path.c_str());
}

// The text save flushes the stream after every item, so it costs one write
// to the file per item: expect tens of seconds for 1 Mi points.
void textSave(benchmark::State& state)
{
    const std::unique_ptr<SplineBase> curve = rampCurve(kv_spline::TCB, mebi);
    const std::string path = scratchPath(".txt");
    for (auto _ : state) {
        std::ofstream out(path);
        out.precision(17);
        SplineBase::save(*curve, out);
    }
    std::remove(path.c_str());
}

// The file is made by the library's own save into a string buffer, where
// the per-item flush costs nothing.
void textLoad(benchmark::State& state)
{
    const std::string path = scratchPath(".txt");
    {
        std::ofstream out;
        std::stringbuf text;
        static_cast<std::ostream&>(out).rdbuf(&text);
        out.precision(17);
        SplineBase::save(*rampCurve(kv_spline::TCB, mebi), out);
        std::ofstream(path) << text.str();
    }
    SplineBase curveLoaded;
    for (auto _ : state) {
        std::ifstream in(path);
        SplineBase::load(&curveLoaded, in);
    }
    std::remove(path.c_str());
}

BENCHMARK(binarySave)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(binaryLoad)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(textSave)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(textLoad)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

// ---------------------------------------------------------------- building

// Adding to a list the curve already holds scans it from the front for the
// insertion place and shifts the tail behind it, so every order is
// quadratic: ascending pays the whole scan, descending the whole shift,
// random half of each. The sizes stop at 64 Ki to finish in seconds; with
// EXPRCURVE_BENCH_LARGE_BUILDS=1 in the environment 1 Mi points are built
// too, once per order (about an hour in all on a 2.1 GHz machine).
void build(benchmark::State& state, int order)
{
    const int points = static_cast<int>(state.range(0));
    std::vector<double> times(static_cast<std::size_t>(points));
    for (int i = 0; i < points; ++i)
        times[static_cast<std::size_t>(i)] = order < 0 ? points - i : i;
    if (order == 0)
        std::shuffle(times.begin(), times.end(), std::mt19937_64(7));
    for (auto _ : state) {
        SplineBase curve;
        for (double t : times)
            curve.addPoint(t, 1.0);
        benchmark::DoNotOptimize(curve.controlPoints.data());
    }
    state.counters["per_point"] =
        perUnit(static_cast<double>(points) * static_cast<double>(state.iterations()));
}

void buildSizes(benchmark::internal::Benchmark* benchmark)
{
    for (int points : {1024, 8 * 1024, 64 * 1024})
        benchmark->Arg(points);
    benchmark->Unit(benchmark::kMillisecond);
}

bool largeBuildsWanted()
{
    const char* wanted = std::getenv("EXPRCURVE_BENCH_LARGE_BUILDS");
    return wanted && std::string(wanted) == "1";
}

void largeBuildSize(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(mebi)->Iterations(1)->Unit(benchmark::kSecond);
}

BENCHMARK_CAPTURE(build, ascending, 1)->Apply(buildSizes);
BENCHMARK_CAPTURE(build, descending, -1)->Apply(buildSizes);
BENCHMARK_CAPTURE(build, random, 0)->Apply(buildSizes);

const bool largeBuildsRegistered = [] {
    if (largeBuildsWanted()) {
        benchmark::RegisterBenchmark("build/ascending", build, 1)->Apply(largeBuildSize);
        benchmark::RegisterBenchmark("build/descending", build, -1)->Apply(largeBuildSize);
        benchmark::RegisterBenchmark("build/random", build, 0)->Apply(largeBuildSize);
    }
    return true;
}();

}  // namespace
