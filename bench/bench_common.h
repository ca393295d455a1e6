// What the benchmark's translation units share: the host variables every
// engine reads, the cycle of inputs written into them, and the timing loops.
// The peers' own files include this too, so that every engine is timed by
// the very same loop, inlined around its own evaluation call.
#ifndef EXPRCURVE_BENCH_COMMON_H
#define EXPRCURVE_BENCH_COMMON_H

#include <benchmark/benchmark.h>

#include <cstddef>
#include <vector>

namespace bench {

struct Variables {
    double a = 0.0, b = 0.0, c = 0.0, d = 0.0, t = 0.0;
};

constexpr std::size_t inputCount = 64;  // a power of two
constexpr std::size_t batchRows = 4096;

extern Variables variables;           // what every engine reads
extern std::vector<Variables> inputs; // inputCount entries
extern std::vector<Variables> rows;   // batchRows entries

// One evaluation per iteration, after rewriting the variables from the
// input cycle, so that no engine can hoist anything out of the loop.
template <class Evaluate>
void timeEvaluations(benchmark::State& state, Evaluate evaluate)
{
    std::size_t next = 0;
    for (auto _ : state) {
        variables = inputs[next];
        next = (next + 1) % inputCount;
        benchmark::DoNotOptimize(evaluate());
    }
}

// The per-row way to evaluate a batch: write each row into the variables,
// evaluate, store the result. One iteration is the whole batch.
template <class Evaluate>
void timeRowByRow(benchmark::State& state, Evaluate evaluate)
{
    std::vector<double> results(rows.size());
    for (auto _ : state) {
        for (std::size_t row = 0; row < rows.size(); ++row) {
            variables = rows[row];
            results[row] = evaluate();
        }
        benchmark::DoNotOptimize(results.data());
        benchmark::ClobberMemory();
    }
}

}  // namespace bench

#endif  // EXPRCURVE_BENCH_COMMON_H
