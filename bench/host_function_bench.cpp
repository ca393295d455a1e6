// Host functions in every form of evaluation: the tree, the compiled form
// (native code calling the functions directly, and the interpreter), a batch
// of rows (interpreted row after row, so that each row makes its own calls),
// and a hand-written C++ function making the same calls (the floor).
#include <benchmark/benchmark.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "bench_common.h"
#include "compiledexpression.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"

namespace {

// Kept out of line, as a host's functions behind a pointer are.
__attribute__((noinline)) double lerp(const double* v, void*) { return v[0] + (v[1] - v[0]) * v[2]; }
__attribute__((noinline)) double clamp01(const double* v, void*) { return v[0] < 0 ? 0 : v[0] > 1 ? 1 : v[0]; }

const char* const text = "lerp(a,b,c)*2+clamp01(d)";

struct HostCallForms {
    HostCallForms()
    {
        parser.insertKey("a", &bench::variables.a);
        parser.insertKey("b", &bench::variables.b);
        parser.insertKey("c", &bench::variables.c);
        parser.insertKey("d", &bench::variables.d);
        parser.defineFunction("lerp", 3, lerp);
        parser.defineFunction("clamp01", 1, clamp01);
        ParseMessage message{};
        tree.reset(parser.parseString(text, message));
        compiled = std::make_unique<exprcurve::CompiledExpression>(tree.get());
        interpreted = std::make_unique<exprcurve::CompiledExpression>(
            tree.get(), exprcurve::CompiledExpression::Backend::Interpreter);
    }

    FunctionParserBase parser;
    std::unique_ptr<FunctionFloatBase> tree;
    std::unique_ptr<exprcurve::CompiledExpression> compiled;
    std::unique_ptr<exprcurve::CompiledExpression> interpreted;
};

HostCallForms& forms()
{
    static HostCallForms made;
    return made;
}

double byHand()
{
    const bench::Variables& v = bench::variables;
    const double lerpArguments[3] = {v.a, v.b, v.c};
    const double clampArgument[1] = {v.d};
    return lerp(lerpArguments, nullptr) * 2 + clamp01(clampArgument, nullptr);
}

void hostCallTree(benchmark::State& state) { bench::timeEvaluations(state, [] { return (*forms().tree)(); }); }
void hostCallCompiled(benchmark::State& state) { bench::timeEvaluations(state, [] { return (*forms().compiled)(); }); }
void hostCallInterpreted(benchmark::State& state)
{
    bench::timeEvaluations(state, [] { return (*forms().interpreted)(); });
}
void hostCallNative(benchmark::State& state) { bench::timeEvaluations(state, byHand); }

// One iteration is a batch of bench::batchRows rows; the counter gives the
// time per row.
void hostCallBatch(benchmark::State& state)
{
    std::vector<double> columns[4];
    for (const bench::Variables& row : bench::rows) {
        columns[0].push_back(row.a), columns[1].push_back(row.b);
        columns[2].push_back(row.c), columns[3].push_back(row.d);
    }
    const exprcurve::Column listed[] = {{&bench::variables.a, columns[0].data()},
                                        {&bench::variables.b, columns[1].data()},
                                        {&bench::variables.c, columns[2].data()},
                                        {&bench::variables.d, columns[3].data()}};
    std::vector<double> results(bench::batchRows);
    for (auto _ : state) {
        forms().compiled->evaluate(bench::batchRows, listed, 4, results.data());
        benchmark::DoNotOptimize(results.data());
    }
    state.counters["ns_per_row"] = benchmark::Counter(
        static_cast<double>(bench::batchRows) * static_cast<double>(state.iterations()),
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

}  // namespace

BENCHMARK(hostCallTree)->Name("host_calls/tree");
BENCHMARK(hostCallCompiled)->Name("host_calls/compiled");
BENCHMARK(hostCallInterpreted)->Name("host_calls/interpreted");
BENCHMARK(hostCallNative)->Name("host_calls/native");
BENCHMARK(hostCallBatch)->Name("host_calls/batch");
