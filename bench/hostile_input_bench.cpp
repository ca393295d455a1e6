// Costs of the inputs a host that parses untrusted text has to plan for.
//
// - variable discovery over a tree reading many distinct keys, beside the
//   plain definition (merging the children's lists and scanning the key table
//   per leaf); the counter `plain_over_library` is the ratio of the two, both
//   timed in this run;
// - parsing a text of grouped rnd(1) calls with and without a bound on the
//   random nodes (each node builds a 10,000-sample table, 80 KB), and
//   describing the faults of the bounded one (one per call past the bound);
// - parsing chains and nestings that reach the depth limit, and the stack
//   that parsing, evaluating, variable discovery and deleting need there
//   (counters in KiB, measured on a painted thread stack; `idle_KiB` is what
//   a thread that does nothing touches).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "diagnostics.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "plain_variable_discovery.h"
#include "stack_usage.h"

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// A balanced sum over leaves[first, last), so that no level is deep.
FunctionFloatBase* balancedSum(const std::vector<double>& cells, std::size_t first, std::size_t last)
{
    if (last - first == 1)
        return new FunctionFloatVariableDouble(&cells[first]);
    auto* node = new FunctionFloatAdd;
    const std::size_t middle = first + (last - first) / 2;
    node->arg1 = balancedSum(cells, first, middle);
    node->arg2 = balancedSum(cells, middle, last);
    return node;
}

void variableDiscovery(benchmark::State& state)
{
    const std::size_t keys = static_cast<std::size_t>(state.range(0));
    std::vector<double> cells(keys);
    FunctionParserBase parser;
    for (std::size_t i = 0; i < keys; ++i)
        parser.insertKey("k" + std::to_string(i), &cells[i]);
    const std::unique_ptr<FunctionFloatBase> root(balancedSum(cells, 0, keys));

    const Clock::time_point plainStart = Clock::now();
    benchmark::DoNotOptimize(plain_variable_discovery::allVars(parser, root.get()).data());
    const double plainSeconds = secondsSince(plainStart);

    const Clock::time_point libraryStart = Clock::now();
    for (auto _ : state)
        benchmark::DoNotOptimize(parser.getAllVars(root.get()).data());
    const double librarySeconds = secondsSince(libraryStart) / static_cast<double>(state.iterations());
    state.counters["plain_over_library"] = plainSeconds / librarySeconds;
}

BENCHMARK(variableDiscovery)->Arg(1000)->Arg(16000)->Unit(benchmark::kMillisecond);

// `calls` rnd(1) calls added up in balanced groups, so that no level is deep:
// about 9 bytes of text per call.
std::string groupedRandomCalls(std::size_t calls)
{
    if (calls == 1)
        return "rnd(1)";
    return "(" + groupedRandomCalls(calls / 2) + "+" + groupedRandomCalls(calls - calls / 2) + ")";
}

// Arguments: the number of calls and the bound (0: none). Without a bound a
// text of 342 KiB (38,000 calls) takes 3 GB, so the unbounded case is
// measured on a tenth of it.
void parseRandomCalls(benchmark::State& state)
{
    const std::size_t calls = static_cast<std::size_t>(state.range(0));
    const std::string text = groupedRandomCalls(calls);
    double t = 0.0;
    FunctionParserBase parser;
    parser.insertKey("t", &t);
    if (state.range(1) > 0)
        parser.maxRandomNodes = static_cast<std::size_t>(state.range(1));
    ParseMessage message{};
    for (auto _ : state)
        delete parser.parseString(text, message);
    state.counters["KiB"] = static_cast<double>(text.size()) / 1024.0;
    state.counters["nodes_built"] = static_cast<double>(calls - message.errors.size());
}

BENCHMARK(parseRandomCalls)->Args({38000, 1000})->Args({3800, 0})->Unit(benchmark::kMillisecond)->Iterations(1);

// Every call past the bound is a fault, and each fault's position depends on
// the random nodes built before it.
void describeRandomCallFaults(benchmark::State& state)
{
    const std::string text = groupedRandomCalls(static_cast<std::size_t>(state.range(0)));
    double t = 0.0;
    FunctionParserBase parser;
    parser.insertKey("t", &t);
    parser.maxRandomNodes = static_cast<std::size_t>(state.range(1));
    ParseMessage message{};
    delete parser.parseString(text, message);
    for (auto _ : state)
        benchmark::DoNotOptimize(exprcurve::describeFaults(text, message));
    state.counters["faults"] = static_cast<double>(message.errors.size());
}

BENCHMARK(describeRandomCallFaults)->Args({38000, 1000})->Unit(benchmark::kMillisecond);

// Texts at and beyond the depth limit: parse, evaluate and delete.
void parseDeepText(benchmark::State& state, std::string open, std::string close)
{
    const int levels = static_cast<int>(state.range(0));
    std::string text;
    for (int i = 0; i < levels; ++i)
        text += open;
    text += "x";
    for (int i = 0; i < levels; ++i)
        text += close;
    double x = 0.5;
    FunctionParserBase parser;
    parser.insertKey("x", &x);
    ParseMessage message{};
    for (auto _ : state) {
        const std::unique_ptr<FunctionFloatBase> root(parser.parseString(text, message));
        benchmark::DoNotOptimize((*root)());
    }
}

BENCHMARK_CAPTURE(parseDeepText, chain, std::string("x+"), std::string())
    ->Arg(FunctionParserBase::maxParseDepth)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(parseDeepText, calls, std::string("sin("), std::string(")"))
    ->Arg(FunctionParserBase::maxParseDepth)->Arg(100000)->Unit(benchmark::kMillisecond);

// Five times the limit of `open`, "x", five times `close`: the parse is cut,
// so the tree is as deep as any parse builds.
void stackAtTheDepthLimit(benchmark::State& state, std::string open, std::string close)
{
    std::string text;
    for (int i = 0; i < 5 * FunctionParserBase::maxParseDepth; ++i)
        text += open;
    text += "x";
    for (int i = 0; i < 5 * FunctionParserBase::maxParseDepth; ++i)
        text += close;
    double x = 0.5;
    FunctionParserBase parser;
    parser.insertKey("x", &x);
    ParseMessage message{};
    constexpr std::size_t stackSize = std::size_t{8} << 20;
    std::size_t parse = 0, evaluate = 0, discover = 0, remove = 0;
    for (auto _ : state) {
        FunctionFloatBase* root = nullptr;
        parse = stack_usage::stackBytesUsed([&] { root = parser.parseString(text, message); }, stackSize);
        evaluate = stack_usage::stackBytesUsed([&] { benchmark::DoNotOptimize((*root)()); }, stackSize);
        discover = stack_usage::stackBytesUsed([&] { benchmark::DoNotOptimize(parser.getAllVars(root).data()); },
                                               stackSize);
        remove = stack_usage::stackBytesUsed([&] { delete root; }, stackSize);
    }
    const auto kib = [](std::size_t bytes) { return static_cast<double>(bytes) / 1024.0; };
    state.counters["parse_KiB"] = kib(parse);
    state.counters["evaluate_KiB"] = kib(evaluate);
    state.counters["getAllVars_KiB"] = kib(discover);
    state.counters["delete_KiB"] = kib(remove);
    state.counters["idle_KiB"] = kib(stack_usage::stackBytesUsed([] {}, stackSize));
}

BENCHMARK_CAPTURE(stackAtTheDepthLimit, chain, std::string("x+"), std::string())->Iterations(1);
BENCHMARK_CAPTURE(stackAtTheDepthLimit, signs, std::string("-"), std::string())->Iterations(1);
BENCHMARK_CAPTURE(stackAtTheDepthLimit, powers, std::string("x^"), std::string())->Iterations(1);
BENCHMARK_CAPTURE(stackAtTheDepthLimit, calls, std::string("sin("), std::string(")"))->Iterations(1);
BENCHMARK_CAPTURE(stackAtTheDepthLimit, max, std::string("max(1,"), std::string(")"))->Iterations(1);
BENCHMARK_CAPTURE(stackAtTheDepthLimit, if, std::string("if(1,"), std::string(",2)"))->Iterations(1);
BENCHMARK_CAPTURE(stackAtTheDepthLimit, brackets, std::string("(1+"), std::string(")*2"))->Iterations(1);

}  // namespace
