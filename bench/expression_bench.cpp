// Expression benchmarks and the program's main().
//
// Ten expressions, each measured six ways: parsing (parseString + delete),
// tree evaluation, CompiledExpression evaluation (native code where the
// platform has it, and the interpreter), a hand-written C++ function
// computing the same thing (the floor), and muparser when it is built in.
// The variables a b c d t are rewritten from a cycle of precomputed inputs
// before every evaluation, so no engine can hoist anything out of the loop;
// that rewrite is timed on its own too ("inputs only") and is included in
// every evaluation figure.
//
// After the Google Benchmark run, main() prints one summary line per
// expression. Other bench/*.cpp files only register benchmarks; their
// results appear in the ordinary report.
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

#include "compiledexpression.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"

#ifdef EXPRCURVE_BENCH_MUPARSER
#include <muParser.h>
#endif

namespace {

struct Variables {
    double a = 0.0, b = 0.0, c = 0.0, d = 0.0, t = 0.0;
};

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
};

const Case cases[] = {
    {"a+b", "a+b", sum},
    {"a*b+c*d", "a*b+c*d", productSum},
    {"(a+b)*(c-d)/2", "(a+b)*((c-d)/2)", halfProduct},
    {"sin(a)*cos(b)+sqrt(abs(c))", "sin(a)*cos(b)+sqrt(abs(c))", trigonometry},
    {"max(a,b)*3+min(c,d)", "max(a,b)*3+min(c,d)", extremes},
    {"exp(a)/(1+exp(b))", "exp(a)/(1+exp(b))", logistic},
    {"2*sin(t)+max(a,b)", "2*sin(t)+max(a,b)", wave},
    {"(a+b+c+d)*(a-b)+sin(a)*sin(b)+cos(c)*cos(d)",
     "(a+(b+(c+d)))*(a-b)+(sin(a)*sin(b)+cos(c)*cos(d))", mixed},
    {"a^3+2*a^2+4*a+1", "a^3+(2*a^2+(4*a+1))", polynomial},
    {"if(a>b,a*2,b/2)", "a>b ? a*2 : b/2", choice},
};

// ---------------------------------------------------------------- shared state

constexpr std::size_t inputCount = 64;  // a power of two

Variables variables;  // what every engine reads
std::vector<Variables> inputs;

void makeInputs()
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> value(-2.0, 2.0);
    for (std::size_t index = 0; index < inputCount; ++index)
        inputs.push_back(Variables{value(random), value(random), value(random), value(random),
                                   value(random)});
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
    }

    const Case& source;
    std::unique_ptr<FunctionFloatBase> tree;
    std::unique_ptr<exprcurve::CompiledExpression> compiled;     // native code where there is any
    std::unique_ptr<exprcurve::CompiledExpression> interpreted;  // the same program, interpreted
#ifdef EXPRCURVE_BENCH_MUPARSER
    std::unique_ptr<mu::Parser> muparser;
#endif
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

// exprcurve's tree, its compiled form (both backends) and the native
// function must agree to the bit; muparser's differences are only reported.
bool enginesAgree(const std::vector<Engines>& all)
{
    bool exact = true;
    for (const Engines& engines : all) {
        std::uint64_t worstMuparserUlps = 0;
        int muparserDifferences = 0;
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
        }
        if (muparserDifferences > 0)
            std::printf("note: muparser differs from exprcurve for %s on %d of %zu inputs, by up "
                        "to %" PRIu64 " ulp\n",
                        engines.source.text, muparserDifferences, inputs.size(), worstMuparserUlps);
    }
    std::printf("exprcurve tree, compiled form (native code and interpreter) and native functions %s on %zu inputs per "
                "expression\n",
                exact ? "agree to the bit" : "DISAGREE", inputs.size());
    return exact;
}

// ---------------------------------------------------------------- benchmarks

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

std::string evaluationName(const char* engine, const Case& source)
{
    return std::string("eval/") + engine + "/" + source.text;
}

std::string parseName(const char* engine, const Case& source)
{
    return std::string("parse/") + engine + "/" + source.text;
}

const std::string inputsOnlyName = "eval/inputs only";

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
}

// ---------------------------------------------------------------- summary

// Forwards to the console and keeps each run's CPU time in nanoseconds.
class CollectingReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            const double seconds = run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            nanoseconds[run.benchmark_name()] = seconds * 1e9;
        }
        ConsoleReporter::ReportRuns(runs);
    }

    // A negative value when the benchmark did not run.
    double find(const std::string& name) const
    {
        const auto found = nanoseconds.find(name);
        return found == nanoseconds.end() ? -1.0 : found->second;
    }

private:
    std::map<std::string, double> nanoseconds;
};

void printCell(double value, const char* format)
{
    if (value < 0)
        std::printf("%9s", "-");
    else
        std::printf(format, value);
}

void printRatio(double numerator, double denominator)
{
    printCell(numerator < 0 || denominator <= 0 ? -1.0 : numerator / denominator, "%9.2f");
}

void printSummary(const CollectingReporter& results)
{
    std::printf("\nns per evaluation (CPU time, the input rewrite included: %.2f ns alone); "
                "parse in microseconds%s\n",
                std::max(0.0, results.find(inputsOnlyName)),
#ifdef EXPRCURVE_BENCH_MUPARSER
                " (muparser: SetExpr + first Eval)"
#else
                " (muparser not built in)"
#endif
    );
    std::printf("%-46s%9s%9s%9s%9s%9s%9s%9s%9s%9s%9s%9s\n", "expression", "tree", "compiled",
                "interp", "native", "muparser", "tree/mu", "comp/mu", "comp/nat", "intp/mu",
                "parse", "parse mu");
    for (const Case& source : cases) {
        const double tree = results.find(evaluationName("tree", source));
        const double compiled = results.find(evaluationName("compiled", source));
        const double interpreted = results.find(evaluationName("interpreted", source));
        const double native = results.find(evaluationName("native", source));
        const double muparser = results.find(evaluationName("muparser", source));
        const double parse = results.find(parseName("exprcurve", source));
        const double parseMuparser = results.find(parseName("muparser", source));
        std::printf("%-46s", source.text);
        for (const double time : {tree, compiled, interpreted, native, muparser})
            printCell(time, "%9.2f");
        printRatio(tree, muparser);
        printRatio(compiled, muparser);
        printRatio(compiled, native);
        printRatio(interpreted, muparser);
        for (const double time : {parse, parseMuparser})
            printCell(time < 0 ? time : time / 1000.0, "%9.2f");
        std::printf("\n");
    }
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
    if (!enginesAgree(all))
        return 1;
    registerBenchmarks(all);
    CollectingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printSummary(reporter);
    benchmark::Shutdown();
    return 0;
}
