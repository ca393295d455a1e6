// Curve benchmarks: single-time evaluation, bulk sampling, the runtime form
// (CompiledCurve) beside the plain curve and beside hand-written code over
// plain arrays, persistence in every order of the data, and building a curve
// point by point.
//
// Counters:
// - per_key: time per control point that the front-to-back segment scan
//   passes (a time in segment i passes i points), for single-time evaluation,
//   and time per point for building a snapshot;
// - per_sample: time per evaluated time, for bulk sampling;
// - per_point: time per point added, for building.
// Persistence is timed once per run (1 Mi points); its wall time is the
// figure. After the run printCurveSummary() prints the runtime form's
// figures as ratios from this one run.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstdio>
#include <fstream>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "collecting_reporter.h"
#include "compiledcurve.h"
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

// Loads of `saved`'s binary file, in the newest layout.
void timeBinaryLoad(benchmark::State& state, SplineBase& saved, const char* suffix)
{
    const std::string path = scratchPath(suffix);
    {
        FILE* file = std::fopen(path.c_str(), "wb");
        saved.save(file);
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

void binaryLoad(benchmark::State& state)
{
    timeBinaryLoad(state, *rampCurve(kv_spline::TCB, mebi), ".bin");
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

// Loads of `saved`'s text file, written with 17 digits. The file is made by
// the library's own save into a string buffer, where the per-item flush
// costs nothing.
void timeTextLoad(benchmark::State& state, SplineBase& saved, const char* suffix)
{
    const std::string path = scratchPath(suffix);
    {
        std::ofstream out;
        std::stringbuf text;
        static_cast<std::ostream&>(out).rdbuf(&text);
        out.precision(17);
        SplineBase::save(saved, out);
        std::ofstream(path) << text.str();
    }
    SplineBase curve;
    for (auto _ : state) {
        std::ifstream in(path);
        SplineBase::load(&curve, in);
    }
    std::remove(path.c_str());
}

void textLoad(benchmark::State& state)
{
    timeTextLoad(state, *rampCurve(kv_spline::TCB, mebi), ".txt");
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

// ---------------------------------------------------------------- runtime form

constexpr int runtimeKeys = 64 * 1024;

struct Kind {
    const char* name;
    kv_spline::interpolationType type;
};
const Kind kinds[] = {{"linear", kv_spline::LINEAR}, {"bezier", kv_spline::BEZIER},
                      {"tcb", kv_spline::TCB}, {"step", kv_spline::STEP}};

std::string runtimeName(const char* what, const char* form, const Kind& kind, int keys)
{
    return std::string(what) + "/" + form + "/" + kind.name + "/" + std::to_string(keys);
}

// A host playing a curve back in real time: one time per frame, a quarter
// of a key further each frame, from the start again after the end. The
// plain curve scans from its first point every frame; the runtime form
// follows with the frame's hint.
void playback(benchmark::State& state, kv_spline::interpolationType type, bool compiled)
{
    const std::unique_ptr<SplineBase> curve = rampCurve(type, runtimeKeys);
    const exprcurve::CompiledCurve runtime(*curve);
    const double end = runtimeKeys - 1;
    std::size_t hint = 0;
    double t = 0.125;
    for (auto _ : state) {
        benchmark::DoNotOptimize(compiled ? runtime(t, hint) : (*curve)(t));
        t += 0.25;
        if (t >= end)
            t -= end;
    }
}

// Single times in random order, without a hint.
void lookUp(benchmark::State& state, kv_spline::interpolationType type, bool compiled)
{
    const std::unique_ptr<SplineBase> curve = rampCurve(type, runtimeKeys);
    const exprcurve::CompiledCurve runtime(*curve);
    const std::vector<double> times = insideTimes(runtimeKeys, 4096, false);
    std::size_t next = 0;
    for (auto _ : state) {
        const double t = times[next];
        benchmark::DoNotOptimize(compiled ? runtime(t) : (*curve)(t));
        next = (next + 1) % times.size();
    }
}

// What a host that needs only sorted data of one kind, no ease and no
// out-of-range modes would write by hand: plain arrays of times, values and
// the two tangents of each segment (computed once by the library's tangent
// functions), and a merge walk of ascending times over them. The floor for
// the runtime form's ascending sample.
struct PlainArrays {
    explicit PlainArrays(const SplineBase& curve)
    {
        const std::vector<PointInfo*>& points = curve.controlPoints;
        const std::size_t count = points.size();
        for (std::size_t i = 0; i < count; ++i) {
            times.push_back(points[i]->time);
            values.push_back(points[i]->value);
            const PointInfo* before = points[i == 0 ? 0 : i - 1];
            const PointInfo* beforeThat = points[i < 2 ? 0 : i - 2];
            const PointInfo* after = points[i + 1 < count ? i + 1 : i];
            startTangents.push_back(i == 0 ? 0.0 : curve.getLeftTan(beforeThat, before, points[i]));
            endTangents.push_back(i == 0 ? 0.0 : curve.getRightTan(before, points[i], after));
        }
    }
    std::vector<double> times, values, startTangents, endTangents;
};

// Times strictly inside the curve, ascending.
template <kv_spline::interpolationType type>
void mergeWalk(const PlainArrays& curve, const double* times, double* values, std::size_t count)
{
    const double* keys = curve.times.data();
    const double* keyValues = curve.values.data();
    std::size_t k = 1;
    for (std::size_t i = 0; i < count; ++i) {
        const double t = times[i];
        while (keys[k] < t)
            ++k;
        const double v0 = keyValues[k - 1], v1 = keyValues[k];
        const double s = (t - keys[k - 1]) / (keys[k] - keys[k - 1]);
        if (type == kv_spline::STEP) {
            values[i] = v0;
        } else if (type == kv_spline::LINEAR) {
            values[i] = v0 + s * (v1 - v0);
        } else {
            const double s2 = s * s, s3 = s * s2;
            const double h1 = (s3 + s3) - 3.0 * s2 + 1.0, h2 = -2.0 * s3 + 3.0 * s2;
            const double h3 = (s3 - (s2 + s2)) + s, h4 = s3 - s2;
            values[i] = ((v0 * h1 + v1 * h2) + curve.startTangents[k] * h3) + curve.endTangents[k] * h4;
        }
    }
}

void walkByHand(const PlainArrays& curve, kv_spline::interpolationType type, const double* times,
                double* values, std::size_t count)
{
    switch (type) {
    case kv_spline::STEP: mergeWalk<kv_spline::STEP>(curve, times, values, count); break;
    case kv_spline::LINEAR: mergeWalk<kv_spline::LINEAR>(curve, times, values, count); break;
    default: mergeWalk<kv_spline::TCB>(curve, times, values, count); break;
    }
}

// 64 Ki ascending times over the whole curve, by the runtime form or by hand.
void sampleAscending(benchmark::State& state, kv_spline::interpolationType type, bool compiled, int points)
{
    const std::unique_ptr<SplineBase> curve = rampCurve(type, points);
    const exprcurve::CompiledCurve runtime(*curve);
    const PlainArrays arrays(*curve);
    const std::vector<double> times = insideTimes(points, 64 * 1024, true);
    std::vector<double> values(times.size()), check(times.size());
    runtime.sample(times.data(), check.data(), times.size());
    walkByHand(arrays, type, times.data(), values.data(), times.size());
    if (check != values)
        state.SkipWithError("the hand-written walk computes other values than the curve");
    for (auto _ : state) {
        if (compiled)
            runtime.sample(times.data(), values.data(), times.size());
        else
            walkByHand(arrays, type, times.data(), values.data(), times.size());
        benchmark::DoNotOptimize(values.data());
    }
    state.counters["per_sample"] =
        perUnit(static_cast<double>(times.size()) * static_cast<double>(state.iterations()));
}

void snapshotBuild(benchmark::State& state, kv_spline::interpolationType type, int points)
{
    const std::unique_ptr<SplineBase> curve = rampCurve(type, points);
    exprcurve::CompiledCurve runtime(*curve);
    for (auto _ : state) {
        runtime.rebuild(*curve);
        benchmark::DoNotOptimize(&runtime);
    }
    state.counters["per_key"] = perUnit(static_cast<double>(points) * static_cast<double>(state.iterations()));
}

// The halving step of a binary search over sorted times, choosing the half by
// a branch or by arithmetic; scattered times make the branch a coin toss.
template <bool branchFree>
std::size_t firstNotBelow(const double* times, std::size_t length, double t)
{
    const double* first = times;
    while (length > 1) {
        const std::size_t half = length / 2;
        if (branchFree)
            first += static_cast<std::size_t>(first[half - 1] < t) * half;
        else
            first = first[half - 1] < t ? first + half : first;
        length -= half;
    }
    return static_cast<std::size_t>(first - times);
}

template <bool branchFree>
void halving(benchmark::State& state)
{
    std::vector<double> keys(runtimeKeys);
    for (int i = 0; i < runtimeKeys; ++i)
        keys[static_cast<std::size_t>(i)] = i;
    const std::vector<double> times = insideTimes(runtimeKeys, 4096, false);
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(firstNotBelow<branchFree>(keys.data(), keys.size(), times[next]));
        next = (next + 1) % times.size();
    }
}

const bool runtimeFormRegistered = [] {
    for (const Kind& kind : kinds) {
        for (const bool compiled : {false, true}) {
            const char* form = compiled ? "compiled" : "curve";
            benchmark::RegisterBenchmark(runtimeName("playback", form, kind, runtimeKeys).c_str(), playback,
                                         kind.type, compiled);
            benchmark::RegisterBenchmark(runtimeName("lookup", form, kind, runtimeKeys).c_str(), lookUp,
                                         kind.type, compiled);
        }
        for (const int keys : {runtimeKeys, mebi}) {
            for (const bool compiled : {false, true})
                benchmark::RegisterBenchmark(
                    runtimeName("sample_ascending", compiled ? "compiled" : "by_hand", kind, keys).c_str(),
                    sampleAscending, kind.type, compiled, keys);
            benchmark::RegisterBenchmark(runtimeName("snapshot_build", "compiled", kind, keys).c_str(),
                                         snapshotBuild, kind.type, keys);
        }
    }
    benchmark::RegisterBenchmark("halving/branching", halving<false>);
    benchmark::RegisterBenchmark("halving/branch_free", halving<true>);
    return true;
}();

// ---------------------------------------------------------------- loads of any order

constexpr int orderKeys = 256 * 1024;

struct DataOrder {
    const char* name;
    int direction;  // 1 ascending, -1 descending, 0 random
    bool nanFirst;
};
const DataOrder dataOrders[] = {
    {"ascending", 1, false}, {"random", 0, false}, {"descending", -1, false}, {"nan_first", 1, true}};

// A curve listing its points in the order given: the order a save writes.
std::unique_ptr<SplineBase> curveInOrder(const DataOrder& order)
{
    std::unique_ptr<SplineBase> curve = rampCurve(kv_spline::TCB, orderKeys);
    std::vector<PointInfo*>& points = curve->controlPoints;
    if (order.direction < 0)
        std::reverse(points.begin(), points.end());
    if (order.direction == 0)
        std::shuffle(points.begin(), points.end(), std::mt19937_64(11));
    if (order.nanFirst)
        points.front()->time = std::numeric_limits<double>::quiet_NaN();
    return curve;
}

std::string loadName(const char* format, const DataOrder& order)
{
    return std::string("load_order/") + format + "/" + order.name + "/" + std::to_string(orderKeys);
}

void binaryLoadInOrder(benchmark::State& state, const DataOrder* order)
{
    timeBinaryLoad(state, *curveInOrder(*order), ".order.bin");
}

void textLoadInOrder(benchmark::State& state, const DataOrder* order)
{
    timeTextLoad(state, *curveInOrder(*order), ".order.txt");
}

// The text format carries no NaN (the stream writes "nan" and cannot read it
// back), so its loads stop at a NaN: there is no NaN-first text load.
const bool loadOrdersRegistered = [] {
    for (const DataOrder& order : dataOrders) {
        benchmark::RegisterBenchmark(loadName("binary", order).c_str(), binaryLoadInOrder, &order)
            ->Unit(benchmark::kMillisecond);
        if (!order.nanFirst)
            benchmark::RegisterBenchmark(loadName("text", order).c_str(), textLoadInOrder, &order)
                ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace

// The runtime form's figures, side by side from this run: ns per frame or per
// lookup, ns per sample, ns per key, ms per load; each ratio is the slower
// form's time over the faster one's (the load ratios: over the ascending
// load).
void printCurveSummary(const CollectingReporter& results)
{
    std::printf("\nCurves, %d keys: ns per frame of real-time playback and per random lookup\n", runtimeKeys);
    std::printf("%-8s%9s%9s%9s%9s%9s%9s\n", "kind", "curve", "hinted", "ratio", "curve", "compiled", "ratio");
    for (const Kind& kind : kinds) {
        const double playCurve = results.find(runtimeName("playback", "curve", kind, runtimeKeys));
        const double playHinted = results.find(runtimeName("playback", "compiled", kind, runtimeKeys));
        const double lookCurve = results.find(runtimeName("lookup", "curve", kind, runtimeKeys));
        const double lookCompiled = results.find(runtimeName("lookup", "compiled", kind, runtimeKeys));
        std::printf("%-8s", kind.name);
        printCell(playCurve, "%9.0f");
        printCell(playHinted, "%9.2f");
        printRatio(playCurve, playHinted);
        printCell(lookCurve, "%9.0f");
        printCell(lookCompiled, "%9.1f");
        printRatio(lookCurve, lookCompiled);
        std::printf("\n");
    }
    std::printf("\nAscending sample of 64 Ki times: ns per sample (compiled / by hand), and snapshot build ns per key\n");
    std::printf("%-8s%9s%9s%9s%9s%9s%9s%9s%9s\n", "kind", "64Ki", "hand", "ratio", "1Mi", "hand", "ratio",
                "bld 64Ki", "bld 1Mi");
    const double samples = 64.0 * 1024.0;
    for (const Kind& kind : kinds) {
        std::printf("%-8s", kind.name);
        for (const int keys : {runtimeKeys, mebi}) {
            const double compiled = results.find(runtimeName("sample_ascending", "compiled", kind, keys));
            const double byHand = results.find(runtimeName("sample_ascending", "by_hand", kind, keys));
            printCell(compiled < 0 ? compiled : compiled / samples, "%9.2f");
            printCell(byHand < 0 ? byHand : byHand / samples, "%9.2f");
            printRatio(compiled, byHand);
        }
        for (const int keys : {runtimeKeys, mebi}) {
            const double build = results.find(runtimeName("snapshot_build", "compiled", kind, keys));
            printCell(build < 0 ? build : build / keys, "%9.2f");
        }
        std::printf("\n");
    }
    const double branching = results.find("halving/branching");
    const double branchFree = results.find("halving/branch_free");
    std::printf("\nBinary search of 64 Ki times, random times: %.1f ns with a branch, %.1f ns branch-free\n",
                branching, branchFree);
    std::printf("\nLoads of %d points (ms) and their ratio to the ascending load\n", orderKeys);
    std::printf("%-8s", "format");
    for (const DataOrder& order : dataOrders)
        std::printf("%11s%9s", order.name, "ratio");
    std::printf("\n");
    for (const char* format : {"binary", "text"}) {
        std::printf("%-8s", format);
        const double ascending = results.find(loadName(format, dataOrders[0]));
        for (const DataOrder& order : dataOrders) {
            const double load = results.find(loadName(format, order));
            std::printf("  ");
            printCell(load < 0 ? load : load / 1e6, "%9.1f");
            printRatio(load, ascending);
        }
        std::printf("\n");
    }
}
