// Expression benchmarks and the program's main().
//
// Ten expressions, each measured several ways: parsing (parseString +
// delete), tree evaluation, CompiledExpression evaluation (native code where
// the platform has it, and the interpreter), making a compiled form, its
// memory, a batch of 4096 rows, a hand-written C++ function computing the
// same thing (the floor), and the peers: muparser when it is found, ExprTk
// when the build names its folder (EXPRCURVE_EXPRTK_DIR). The variables
// a b c d t are rewritten from a cycle of precomputed inputs before every
// evaluation, so no engine can hoist anything out of the loop; that rewrite
// is timed on its own too ("inputs only") and is included in every
// evaluation figure. Long sums (33 to 513 nodes) give the cost per node.
//
// After the Google Benchmark run, main() prints summary tables, the curve
// tables of curve_bench.cpp last. Other bench/*.cpp files only register
// benchmarks; their results appear in the ordinary report.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

#include "bench_common.h"
#include "collecting_reporter.h"
#include "compiledexpression.h"
#include "executable_memory.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"

#ifdef EXPRCURVE_BENCH_EXPRTK
#include "peers/exprtk_peer.h"
#endif

#ifdef EXPRCURVE_BENCH_MUPARSER
#include <muParser.h>
#endif

// ---------------------------------------------------------------- heap bytes

// Bytes of the heap in use, counted by the allocator's own block sizes, so
// that the memory of a compiled form (or a peer's) is what it really takes.
namespace {
std::atomic<long long> heapBytes{0};
}

namespace {
void* countedAllocation(std::size_t size) noexcept
{
    void* memory = std::malloc(size == 0 ? 1 : size);
    if (memory)
        heapBytes += static_cast<long long>(malloc_usable_size(memory));
    return memory;
}

void countedRelease(void* memory) noexcept
{
    if (memory)
        heapBytes -= static_cast<long long>(malloc_usable_size(memory));
    std::free(memory);
}

void* countedOrThrow(std::size_t size)
{
    void* memory = countedAllocation(size);
    if (!memory)
        throw std::bad_alloc();
    return memory;
}
}  // namespace

void* operator new(std::size_t size) { return countedOrThrow(size); }
void* operator new[](std::size_t size) { return countedOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return countedAllocation(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return countedAllocation(size); }
void operator delete(void* memory) noexcept { countedRelease(memory); }
void operator delete[](void* memory) noexcept { countedRelease(memory); }
void operator delete(void* memory, std::size_t) noexcept { countedRelease(memory); }
void operator delete[](void* memory, std::size_t) noexcept { countedRelease(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { countedRelease(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { countedRelease(memory); }

namespace bench {
Variables variables;
std::vector<Variables> inputs;
std::vector<Variables> rows;
}  // namespace bench

namespace {

using bench::Variables;
using bench::inputCount;
using bench::inputs;
using bench::timeEvaluations;
using bench::variables;

// ---------------------------------------------------------------- the floor

// The language groups every operator to the right (a-b-c is a-(b-c), 2*a^2
// is 2*(a^2)), and max, min and abs have their own NaN and -0.0 rules; these
// functions compute exactly what the parsed trees compute. They are kept out
// of line and read the variables through a reference, as the engines do.
double maximum(double a, double b) { return a > b ? a : b; }
double minimum(double a, double b) { return a < b ? a : b; }
double flipSignUnlessPositive(double x) { return x > 0 ? x : -x; }

[[gnu::noinline]] double sum(const Variables& v) { return v.a + v.b; }
[[gnu::noinline]] double productSum(const Variables& v) { return v.a * v.b + v.c * v.d; }
[[gnu::noinline]] double halfProduct(const Variables& v) { return (v.a + v.b) * ((v.c - v.d) / 2); }
[[gnu::noinline]] double trigonometry(const Variables& v)
{
    return std::sin(v.a) * std::cos(v.b) + std::sqrt(flipSignUnlessPositive(v.c));
}
[[gnu::noinline]] double extremes(const Variables& v)
{
    return maximum(v.a, v.b) * 3 + minimum(v.c, v.d);
}
[[gnu::noinline]] double logistic(const Variables& v) { return std::exp(v.a) / (1 + std::exp(v.b)); }
[[gnu::noinline]] double wave(const Variables& v) { return 2 * std::sin(v.t) + maximum(v.a, v.b); }
[[gnu::noinline]] double mixed(const Variables& v)
{
    return (v.a + (v.b + (v.c + v.d))) * (v.a - v.b) +
           (std::sin(v.a) * std::sin(v.b) + std::cos(v.c) * std::cos(v.d));
}
[[gnu::noinline]] double polynomial(const Variables& v)
{
    return std::pow(v.a, 3.0) + (2 * std::pow(v.a, 2.0) + (4 * v.a + 1));
}
[[gnu::noinline]] double choice(const Variables& v) { return v.a > v.b ? v.a * 2 : v.b / 2; }

struct Case {
    const char* text;
    const char* muparserText;  // muparser syntax, bracketed to the same grouping
    double (*native)(const Variables&);
    bool arithmetic;           // no function call: what the batch goal is about
    const char* exprtkText;    // ExprTk syntax, where it differs from muparser's
};

const Case cases[] = {
    {"a+b", "a+b", sum, true, nullptr},
    {"a*b+c*d", "a*b+c*d", productSum, true, nullptr},
    {"(a+b)*(c-d)/2", "(a+b)*((c-d)/2)", halfProduct, true, nullptr},
    {"sin(a)*cos(b)+sqrt(abs(c))", "sin(a)*cos(b)+sqrt(abs(c))", trigonometry, false, nullptr},
    {"max(a,b)*3+min(c,d)", "max(a,b)*3+min(c,d)", extremes, true, nullptr},
    {"exp(a)/(1+exp(b))", "exp(a)/(1+exp(b))", logistic, false, nullptr},
    {"2*sin(t)+max(a,b)", "2*sin(t)+max(a,b)", wave, false, nullptr},
    {"(a+b+c+d)*(a-b)+sin(a)*sin(b)+cos(c)*cos(d)",
     "(a+(b+(c+d)))*(a-b)+(sin(a)*sin(b)+cos(c)*cos(d))", mixed, false, nullptr},
    {"a^3+2*a^2+4*a+1", "a^3+(2*a^2+(4*a+1))", polynomial, false, nullptr},
    {"if(a>b,a*2,b/2)", "a>b ? a*2 : b/2", choice, true, "if(a>b,a*2,b/2)"},
};

const char* exprtkText(const Case& source) { return source.exprtkText ? source.exprtkText : source.muparserText; }

// ---------------------------------------------------------------- shared state

void makeInputs()
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> value(-2.0, 2.0);
    const auto draw = [&] {
        return Variables{value(random), value(random), value(random), value(random), value(random)};
    };
    for (std::size_t index = 0; index < inputCount; ++index)
        inputs.push_back(draw());
    for (std::size_t index = 0; index < bench::batchRows; ++index)
        bench::rows.push_back(draw());
}

// The batch rows as one column per variable.
struct RowColumns {
    RowColumns()
    {
        for (const Variables& row : bench::rows) {
            values[0].push_back(row.a), values[1].push_back(row.b), values[2].push_back(row.c);
            values[3].push_back(row.d), values[4].push_back(row.t);
        }
        double* const addresses[] = {&variables.a, &variables.b, &variables.c, &variables.d, &variables.t};
        for (int index = 0; index < 5; ++index)
            columns[index] = exprcurve::Column{addresses[index], values[index].data()};
    }
    std::vector<double> values[5];
    exprcurve::Column columns[5];
};

const RowColumns& rowColumns()
{
    static const RowColumns made;
    return made;
}

FunctionParserBase& exprcurveParser()
{
    static FunctionParserBase parser;
    static const bool bound = parser.insertKey("a", &variables.a) &&
                              parser.insertKey("b", &variables.b) &&
                              parser.insertKey("c", &variables.c) &&
                              parser.insertKey("d", &variables.d) &&
                              parser.insertKey("t", &variables.t);
    (void)bound;
    return parser;
}

#ifdef EXPRCURVE_BENCH_MUPARSER
std::unique_ptr<mu::Parser> makeMuparser(const char* text)
{
    auto parser = std::make_unique<mu::Parser>();
    parser->DefineVar("a", &variables.a);
    parser->DefineVar("b", &variables.b);
    parser->DefineVar("c", &variables.c);
    parser->DefineVar("d", &variables.d);
    parser->DefineVar("t", &variables.t);
    parser->SetExpr(text);
    parser->Eval();  // muparser parses on the first evaluation
    return parser;
}
#endif

// Every engine of one case, built once before timing.
struct Engines {
    explicit Engines(const Case& source) : source(source)
    {
        ParseMessage message{};
        tree.reset(exprcurveParser().parseString(source.text, message));
        compiled = std::make_unique<exprcurve::CompiledExpression>(tree.get());
        interpreted = std::make_unique<exprcurve::CompiledExpression>(
            tree.get(), exprcurve::CompiledExpression::Backend::Interpreter);
#ifdef EXPRCURVE_BENCH_MUPARSER
        muparser = makeMuparser(source.muparserText);
#endif
#ifdef EXPRCURVE_BENCH_EXPRTK
        exprtk = bench::makeExprtk(exprtkText(source));
        if (!exprtk)
            std::printf("ExprTk does not compile %s\n", exprtkText(source));
#endif
    }
    ~Engines()
    {
#ifdef EXPRCURVE_BENCH_EXPRTK
        bench::destroyExprtk(exprtk);
#endif
    }
    Engines(Engines&&) = default;

    const Case& source;
    std::unique_ptr<FunctionFloatBase> tree;
    std::unique_ptr<exprcurve::CompiledExpression> compiled;     // native code where there is any
    std::unique_ptr<exprcurve::CompiledExpression> interpreted;  // the same program, interpreted
#ifdef EXPRCURVE_BENCH_MUPARSER
    std::unique_ptr<mu::Parser> muparser;
#endif
#ifdef EXPRCURVE_BENCH_EXPRTK
    bench::ExprtkExpression* exprtk = nullptr;
#endif
};

// Peer differences from exprcurve's tree, reported, never failing the run.
struct PeerDifferences {
    const char* peer;
    int count = 0;
    std::uint64_t worstUlps = 0;
};

// ---------------------------------------------------------------- agreement

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

// Distance in units of the last place between two finite values of one sign.
std::uint64_t ulpDistance(double x, double y)
{
    const std::uint64_t first = bitsOf(x), second = bitsOf(y);
    return first > second ? first - second : second - first;
}

// A batch over the benchmark's rows, both backends, must give the tree's
// bits row by row.
bool batchAgrees(const Engines& engines)
{
    std::vector<double> results(bench::rows.size());
    for (const exprcurve::CompiledExpression* compiled : {engines.compiled.get(), engines.interpreted.get()}) {
        compiled->evaluate(results.size(), rowColumns().columns, 5, results.data());
        for (std::size_t row = 0; row < results.size(); ++row) {
            variables = bench::rows[row];
            if (bitsOf(results[row]) != bitsOf((*engines.tree)())) {
                std::printf("MISMATCH %s: batch row %zu\n", engines.source.text, row);
                return false;
            }
        }
    }
    return true;
}

// exprcurve's tree, its compiled form (both backends, one row at a time and
// in batches) and the native function must agree to the bit; muparser's differences are only reported.
bool enginesAgree(const std::vector<Engines>& all)
{
    bool exact = true;
    for (const Engines& engines : all) {
        std::uint64_t worstMuparserUlps = 0;
        int muparserDifferences = 0;
        PeerDifferences exprtkDifferences{"ExprTk"};
        for (const Variables& input : inputs) {
            variables = input;
            const double fromTree = (*engines.tree)();
            const double fromCompiled = (*engines.compiled)();
            const double fromInterpreted = (*engines.interpreted)();
            const double fromNative = engines.source.native(variables);
            if (bitsOf(fromTree) != bitsOf(fromCompiled) || bitsOf(fromTree) != bitsOf(fromInterpreted) ||
                bitsOf(fromTree) != bitsOf(fromNative)) {
                std::printf("MISMATCH %s at a=%.17g b=%.17g c=%.17g d=%.17g t=%.17g: tree %.17g "
                            "compiled %.17g interpreted %.17g native %.17g\n",
                            engines.source.text, input.a, input.b, input.c, input.d, input.t,
                            fromTree, fromCompiled, fromInterpreted, fromNative);
                exact = false;
            }
#ifdef EXPRCURVE_BENCH_MUPARSER
            const double fromMuparser = engines.muparser->Eval();
            if (bitsOf(fromMuparser) != bitsOf(fromTree)) {
                ++muparserDifferences;
                worstMuparserUlps = std::max(worstMuparserUlps, ulpDistance(fromMuparser, fromTree));
            }
#endif
#ifdef EXPRCURVE_BENCH_EXPRTK
            if (engines.exprtk) {
                const double fromExprtk = bench::evaluateExprtk(engines.exprtk);
                if (bitsOf(fromExprtk) != bitsOf(fromTree)) {
                    ++exprtkDifferences.count;
                    exprtkDifferences.worstUlps = std::max(exprtkDifferences.worstUlps, ulpDistance(fromExprtk, fromTree));
                }
            }
#endif
        }
        if (muparserDifferences > 0)
            std::printf("note: muparser differs from exprcurve for %s on %d of %zu inputs, by up "
                        "to %" PRIu64 " ulp\n",
                        engines.source.text, muparserDifferences, inputs.size(), worstMuparserUlps);
        if (exprtkDifferences.count > 0)
            std::printf("note: ExprTk differs from exprcurve for %s on %d of %zu inputs, by up to %" PRIu64 " ulp\n",
                        engines.source.text, exprtkDifferences.count, inputs.size(), exprtkDifferences.worstUlps);
        exact = batchAgrees(engines) && exact;
    }
    std::printf("exprcurve tree, compiled form (native code and interpreter, single and batch) and native functions "
                "%s on %zu inputs and %zu batch rows per expression\n",
                exact ? "agree to the bit" : "DISAGREE", inputs.size(), bench::rows.size());
    return exact;
}

// ---------------------------------------------------------------- benchmarks

std::string evaluationName(const char* engine, const Case& source)
{
    return std::string("eval/") + engine + "/" + source.text;
}

std::string parseName(const char* engine, const Case& source)
{
    return std::string("parse/") + engine + "/" + source.text;
}

std::string benchmarkName(const char* kind, const char* engine, const std::string& text)
{
    return std::string(kind) + "/" + engine + "/" + text;
}

const std::string inputsOnlyName = "eval/inputs only";

// ---------------------------------------------------------------- long sums

// a*b+a*b+...+a*b+c with `products` products: 4 * products + 1 nodes, every
// product needing a stack slot while the sum to its right is computed.
std::string longSum(int products)
{
    std::string text;
    for (int index = 0; index < products; ++index)
        text += "a*b+";
    return text + "c";
}

constexpr int sumProducts[] = {8, 16, 32, 64, 128};

int sumNodes(int products) { return 4 * products + 1; }

std::string sumName(int products) { return "eval/compiled/sum of " + std::to_string(sumNodes(products)) + " nodes"; }

struct LongSum {
    std::unique_ptr<FunctionFloatBase> tree;
    std::unique_ptr<exprcurve::CompiledExpression> compiled;
};

std::vector<LongSum>& longSums()
{
    static std::vector<LongSum> sums;
    return sums;
}

// False when a sum is not native code or not the tree's value.
bool makeLongSums()
{
    bool good = true;
    for (const int products : sumProducts) {
        ParseMessage message{};
        LongSum sum;
        sum.tree.reset(exprcurveParser().parseString(longSum(products), message));
        sum.compiled = std::make_unique<exprcurve::CompiledExpression>(sum.tree.get());
        variables = inputs[0];
        const bool native = sum.compiled->usesNativeCode();
        const bool same = bitsOf((*sum.compiled)()) == bitsOf((*sum.tree)());
        std::printf("sum of %d nodes: %s, %s\n", sumNodes(products), native ? "native code" : "INTERPRETED",
                    same ? "the tree's value" : "DIFFERS FROM THE TREE");
        good = good && native && same;
        longSums().push_back(std::move(sum));
    }
    return good;
}

// ---------------------------------------------------------------- memory

constexpr int formsForMemory = 10000;

// Bytes per compiled form of `tree`: heap and executable pool together,
// measured over many forms made at once.
double compiledBytesPerForm(const FunctionFloatBase* tree)
{
    const long long heapBefore = heapBytes.load();
    const std::size_t poolBefore = exprcurve::compiled::poolStatistics().mappedBytes;
    std::vector<exprcurve::CompiledExpression> forms;
    forms.reserve(formsForMemory);
    const long long vectorBytes = heapBytes.load() - heapBefore;
    for (int index = 0; index < formsForMemory; ++index)
        forms.emplace_back(tree);
    // The vector holding the forms is the host's; each form's own object
    // (its two pointers) is counted.
    const long long heap = heapBytes.load() - heapBefore - vectorBytes +
                           static_cast<long long>(formsForMemory * sizeof(exprcurve::CompiledExpression));
    const std::size_t pool = exprcurve::compiled::poolStatistics().mappedBytes - poolBefore;
    return static_cast<double>(heap + static_cast<long long>(pool)) / formsForMemory;
}

// Bytes of the tree itself, which a compiled form needs beside it.
double treeBytes(const Case& source)
{
    const long long before = heapBytes.load();
    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> tree(exprcurveParser().parseString(source.text, message));
    return static_cast<double>(heapBytes.load() - before);
}

#ifdef EXPRCURVE_BENCH_EXPRTK
double exprtkBytesPerForm(const Case& source)
{
    std::vector<bench::ExprtkExpression*> forms;
    forms.reserve(formsForMemory);
    const long long before = heapBytes.load();
    for (int index = 0; index < formsForMemory; ++index)
        forms.push_back(bench::makeExprtk(exprtkText(source)));
    const double bytes = static_cast<double>(heapBytes.load() - before) / formsForMemory;
    for (bench::ExprtkExpression* form : forms)
        bench::destroyExprtk(form);
    return bytes;
}
#endif

struct MemoryFigures {
    double compiled = -1, tree = -1, exprtk = -1;
};

std::map<std::string, MemoryFigures>& memoryFigures()
{
    static std::map<std::string, MemoryFigures> figures;
    return figures;
}

void registerBenchmarks(const std::vector<Engines>& all)
{
    benchmark::RegisterBenchmark(inputsOnlyName.c_str(), [](benchmark::State& state) {
        timeEvaluations(state, [] {
            benchmark::ClobberMemory();
            return 0.0;
        });
    });
    for (const Engines& engines : all) {
        const Case& source = engines.source;
        const FunctionFloatBase* tree = engines.tree.get();
        const exprcurve::CompiledExpression* compiled = engines.compiled.get();
        const exprcurve::CompiledExpression* interpreted = engines.interpreted.get();
        benchmark::RegisterBenchmark(evaluationName("tree", source).c_str(),
                                     [tree](benchmark::State& state) {
                                         timeEvaluations(state, [tree] { return (*tree)(); });
                                     });
        benchmark::RegisterBenchmark(evaluationName("compiled", source).c_str(),
                                     [compiled](benchmark::State& state) {
                                         timeEvaluations(state, [compiled] { return (*compiled)(); });
                                     });
        benchmark::RegisterBenchmark(evaluationName("interpreted", source).c_str(),
                                     [interpreted](benchmark::State& state) {
                                         timeEvaluations(state, [interpreted] { return (*interpreted)(); });
                                     });
        benchmark::RegisterBenchmark(evaluationName("native", source).c_str(),
                                     [&source](benchmark::State& state) {
                                         timeEvaluations(state, [&source] { return source.native(variables); });
                                     });
        benchmark::RegisterBenchmark(parseName("exprcurve", source).c_str(),
                                     [&source](benchmark::State& state) {
                                         FunctionParserBase& parser = exprcurveParser();
                                         ParseMessage message{};
                                         for (auto _ : state)
                                             delete parser.parseString(source.text, message);
                                     });
        benchmark::RegisterBenchmark(benchmarkName("make", "compiled", source.text).c_str(),
                                     [tree](benchmark::State& state) {
                                         for (auto _ : state) {
                                             const exprcurve::CompiledExpression made(tree);
                                             benchmark::DoNotOptimize(made.usesNativeCode());
                                         }
                                     });
        benchmark::RegisterBenchmark(benchmarkName("batch", "compiled", source.text).c_str(),
                                     [compiled](benchmark::State& state) {
                                         std::vector<double> results(bench::rows.size());
                                         for (auto _ : state) {
                                             compiled->evaluate(results.size(), rowColumns().columns, 5, results.data());
                                             benchmark::DoNotOptimize(results.data());
                                             benchmark::ClobberMemory();
                                         }
                                     });
        benchmark::RegisterBenchmark(benchmarkName("rows", "compiled", source.text).c_str(),
                                     [compiled](benchmark::State& state) {
                                         bench::timeRowByRow(state, [compiled] { return (*compiled)(); });
                                     });
#ifdef EXPRCURVE_BENCH_EXPRTK
        if (const bench::ExprtkExpression* exprtk = engines.exprtk) {
            benchmark::RegisterBenchmark(evaluationName("exprtk", source).c_str(),
                                         [exprtk](benchmark::State& state) { bench::timeExprtk(state, exprtk); });
            benchmark::RegisterBenchmark(benchmarkName("rows", "exprtk", source.text).c_str(),
                                         [exprtk](benchmark::State& state) { bench::timeExprtkRowByRow(state, exprtk); });
            benchmark::RegisterBenchmark(parseName("exprtk", source).c_str(), [&source](benchmark::State& state) {
                bench::timeExprtkParse(state, exprtkText(source));
            });
        }
#endif
#ifdef EXPRCURVE_BENCH_MUPARSER
        const mu::Parser* muparser = engines.muparser.get();
        benchmark::RegisterBenchmark(evaluationName("muparser", source).c_str(),
                                     [muparser](benchmark::State& state) {
                                         timeEvaluations(state, [muparser] { return muparser->Eval(); });
                                     });
        benchmark::RegisterBenchmark(parseName("muparser", source).c_str(),
                                     [&source](benchmark::State& state) {
                                         const std::unique_ptr<mu::Parser> parser = makeMuparser("0");
                                         for (auto _ : state) {
                                             parser->SetExpr(source.muparserText);
                                             benchmark::DoNotOptimize(parser->Eval());
                                         }
                                     });
#endif
    }
    for (std::size_t index = 0; index < longSums().size(); ++index) {
        const exprcurve::CompiledExpression* compiled = longSums()[index].compiled.get();
        benchmark::RegisterBenchmark(sumName(sumProducts[index]).c_str(), [compiled](benchmark::State& state) {
            timeEvaluations(state, [compiled] { return (*compiled)(); });
        });
    }
}

void measureMemory(const std::vector<Engines>& all)
{
    for (const Engines& engines : all) {
        MemoryFigures figures;
        figures.compiled = compiledBytesPerForm(engines.tree.get());
        figures.tree = treeBytes(engines.source);
#ifdef EXPRCURVE_BENCH_EXPRTK
        if (engines.exprtk)
            figures.exprtk = exprtkBytesPerForm(engines.source);
#endif
        memoryFigures()[engines.source.text] = figures;
    }
}

// ---------------------------------------------------------------- summary

double ratio(double numerator, double denominator)
{
    return numerator < 0 || denominator <= 0 ? -1.0 : numerator / denominator;
}

void printEvaluationTable(const CollectingReporter& results)
{
    std::printf("\nns per evaluation (CPU time, the input rewrite included: %.2f ns alone); parse and make in "
                "microseconds (muparser: SetExpr + first Eval; ExprTk: compile, its only way to make a form)\n",
                std::max(0.0, results.find(inputsOnlyName)));
    std::printf("%-46s%9s%9s%9s%9s%9s%9s%9s%9s%9s%9s%9s%9s\n", "expression", "tree", "compiled", "interp", "native",
                "muparser", "exprtk", "comp/mu", "comp/etk", "comp/nat", "parse", "make", "etk make");
    for (const Case& source : cases) {
        const double compiled = results.find(evaluationName("compiled", source));
        const double native = results.find(evaluationName("native", source));
        const double muparser = results.find(evaluationName("muparser", source));
        const double exprtk = results.find(evaluationName("exprtk", source));
        std::printf("%-46s", source.text);
        for (const double time : {results.find(evaluationName("tree", source)), compiled,
                                  results.find(evaluationName("interpreted", source)), native, muparser, exprtk})
            printCell(time, "%9.2f");
        for (const double value : {ratio(compiled, muparser), ratio(compiled, exprtk), ratio(compiled, native)})
            printCell(value, "%9.2f");
        for (const double time : {results.find(parseName("exprcurve", source)),
                                  results.find(benchmarkName("make", "compiled", source.text)),
                                  results.find(parseName("exprtk", source))})
            printCell(time < 0 ? time : time / 1000.0, "%9.2f");
        std::printf("\n");
    }
}

void printBatchAndMemoryTable(const CollectingReporter& results)
{
    const double rows = static_cast<double>(bench::rows.size());
    std::printf("\nbatches of %zu rows, ns per row: one call per row (compiled, ExprTk) and one evaluate() call; "
                "memory in bytes per form (%d forms; compiled: heap and executable pool)\n",
                bench::rows.size(), formsForMemory);
    std::printf("%-46s%9s%9s%9s%9s%9s%9s%9s%9s%9s\n", "expression", "rows", "etk rows", "batch", "bat/etk",
                "bat/rows", "bytes", "tree", "etk", "mem/etk");
    for (const Case& source : cases) {
        const double perRow = results.find(benchmarkName("rows", "compiled", source.text));
        const double exprtkPerRow = results.find(benchmarkName("rows", "exprtk", source.text));
        const double batch = results.find(benchmarkName("batch", "compiled", source.text));
        const MemoryFigures& memory = memoryFigures()[source.text];
        std::printf("%-46s", (std::string(source.text) + (source.arithmetic ? " *" : "")).c_str());
        for (const double time : {perRow, exprtkPerRow, batch})
            printCell(time < 0 ? time : time / rows, "%9.2f");
        printCell(ratio(batch, exprtkPerRow), "%9.2f");
        printCell(ratio(batch, perRow), "%9.2f");
        for (const double bytes : {memory.compiled, memory.tree, memory.exprtk})
            printCell(bytes, "%9.0f");
        printCell(ratio(memory.compiled, memory.exprtk), "%9.2f");
        std::printf("\n");
    }
    std::printf("(* arithmetic only: no call of a math function)\n");
}

void printSumTable(const CollectingReporter& results)
{
    std::printf("\nlong sums a*b+...+a*b+c, compiled, native code:\n%-46s%9s%9s\n", "nodes", "ns", "ns/node");
    for (const int products : sumProducts) {
        const double time = results.find(sumName(products));
        std::printf("%-46d", sumNodes(products));
        printCell(time, "%9.2f");
        printCell(time < 0 ? time : time / sumNodes(products), "%9.3f");
        std::printf("\n");
    }
}

void printSummary(const CollectingReporter& results)
{
    printEvaluationTable(results);
    printBatchAndMemoryTable(results);
    printSumTable(results);
}

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    makeInputs();
    std::vector<Engines> all;
    all.reserve(std::size(cases));
    for (const Case& source : cases)
        all.emplace_back(source);
    if (!enginesAgree(all) || !makeLongSums())
        return 1;
    measureMemory(all);
    registerBenchmarks(all);
    CollectingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printSummary(reporter);
    printCurveSummary(reporter);
    benchmark::Shutdown();
    return 0;
}
