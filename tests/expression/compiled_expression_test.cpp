// The compiled form must give the tree's bits for every input and call the
// host's nodes exactly when the tree would.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#if defined(__linux__)
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include "stack_usage.h"
#endif

#include "compiledexpression.h"
#include "executable_memory.h"
#include "native_code.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"

using exprcurve::CompiledExpression;

namespace {

volatile double resultSink;

#if defined(__x86_64__) && defined(__linux__)
constexpr bool nativeCodeExpected = true;
#else
constexpr bool nativeCodeExpected = false;
#endif

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

// Host functions of arity 0, 1, 3 and 8, pure, so that batches may be
// compared with rows evaluated one by one.
double hostPick(const double*, void*) { return 0.375; }
double hostHalf(const double* v, void*) { return v[0] / 2; }
double hostMix(const double* v, void*) { return v[0] + (v[1] - v[0]) * v[2]; }
double hostWeighted8(const double* v, void*)
{
    double total = 0;
    for (int i = 0; i < 8; ++i)
        total = total * 1.0000001 + v[i] / (i + 3);
    return total;
}

// Host variables of all four kinds, bound in a parser and refilled with
// special values half of the time.
struct Inputs {
    double a = 0, b = 0, c = 0, d = 0, t = 0;
    float f = 0;
    int n = 0;
    bool k = false;
    std::mt19937 random{12345};
    FunctionParserBase parser;

    Inputs()
    {
        for (auto [name, address] : {std::pair{"a", &a}, {"b", &b}, {"c", &c}, {"d", &d}, {"t", &t}})
            parser.insertKey(name, address);
        parser.insertKey("f", &f), parser.insertKey("n", &n), parser.insertKey("k", &k);
        parser.defineFunction("pick", 0, hostPick);
        parser.defineFunction("half", 1, hostHalf);
        parser.defineFunction("mix", 3, hostMix);
        parser.defineFunction("w8", 8, hostWeighted8);
    }

    double draw()
    {
        const double eps = std::ldexp(1.0, -52);
        const double special[] = {0.0, -0.0, 1.0, -1.0, 1.0 + eps, eps, -eps, eps / 2, 0.1, 1e300, 5e-324,
                                  NAN, INFINITY, -INFINITY};
        if (random() % 2)
            return special[random() % std::size(special)];
        return std::uniform_real_distribution<double>(-4.0, 4.0)(random);
    }

    void drawAll()
    {
        for (double* variable : {&a, &b, &c, &d, &t})
            *variable = draw();
        f = static_cast<float>(draw());
        n = static_cast<int>(random());
        // The tree reads the byte: a bool holding 2 or 255 must read as true.
        const unsigned char bytes[] = {0, 1, 2, 255};
        std::memcpy(&k, &bytes[random() % std::size(bytes)], 1);
    }

    std::string describe() const
    {
        std::ostringstream text;
        text << " with a, b, c, d, t, f, n = " << a << ", " << b << ", " << c << ", " << d << ", " << t
             << ", " << f << ", " << n;
        return text.str();
    }

    // Compiles once for each backend, then compares over inputs written
    // after compiling: one at a time, then as one batch of `rounds` rows.
    // `beyondTheStack`: host calls nest deeper than the program's stack, so
    // the inner ones are evaluated through the tree.
    void expectSameBitsAsTree(const std::string& text, int rounds, bool beyondTheStack = false)
    {
        ParseMessage message{};
        const std::unique_ptr<FunctionFloatBase> tree(parser.parseString(text, message));
        const CompiledExpression native(tree.get());
        const CompiledExpression interpreted(tree.get(), CompiledExpression::Backend::Interpreter);
        ASSERT_FALSE(interpreted.usesNativeCode());
        // Only the random node keeps a program of the library's nodes and
        // host calls interpreted, however deep or long the tree.
        if (nativeCodeExpected && text.find("rnd") == std::string::npos) {
            ASSERT_NE(native.usesNativeCode(), beyondTheStack) << text;
        }
        Batch batch(*this, rounds);
        for (int round = 0; round < rounds; ++round) {
            drawAll();
            batch.store(round);
            const std::uint64_t expected = bitsOf((*tree)());
            batch.expected[round] = expected;
            for (const CompiledExpression* compiled : {&native, &interpreted})
                ASSERT_EQ(bitsOf((*compiled)()), expected)
                    << text << (compiled == &native ? " native" : " interpreted") << describe();
        }
        drawAll();  // unlisted in no batch: every variable comes from a column
        // A second native form whose batch kernel is made with two lanes
        // (SSE2) even where four (AVX) could be had.
        const CompiledExpression narrow(tree.get());
        exprcurve::compiled::allowWideBatches(false);
        std::vector<double> results(rounds);
        narrow.evaluate(rounds, batch.columns.data(), batch.columns.size(), results.data());
        exprcurve::compiled::allowWideBatches(true);
        for (int round = 0; round < rounds; ++round)
            ASSERT_EQ(bitsOf(results[round]), batch.expected[round])
                << text << " two-lane batch row " << round;
        for (const CompiledExpression* compiled : {&native, &interpreted}) {
            compiled->evaluate(rounds, batch.columns.data(), batch.columns.size(), results.data());
            for (int round = 0; round < rounds; ++round)
                ASSERT_EQ(bitsOf(results[round]), batch.expected[round])
                    << text << (compiled == &native ? " native" : " interpreted") << " batch row " << round;
        }
    }

    // Columns for all eight variables, one row per round.
    struct Batch {
        Batch(Inputs& inputs, int rows)
            : inputs(inputs), doubles(5 * rows), floats(rows), ints(rows), bools(rows), expected(rows)
        {
            double* const variables[] = {&inputs.a, &inputs.b, &inputs.c, &inputs.d, &inputs.t};
            for (int index = 0; index < 5; ++index)
                columns.push_back({variables[index], &doubles[index * rows]});
            columns.push_back({&inputs.f, floats.data()});
            columns.push_back({&inputs.n, ints.data()});
            columns.push_back({&inputs.k, bools.data()});
        }

        void store(int row)
        {
            const double values[] = {inputs.a, inputs.b, inputs.c, inputs.d, inputs.t};
            for (int index = 0; index < 5; ++index)
                doubles[index * floats.size() + row] = values[index];
            floats[row] = inputs.f;
            ints[row] = inputs.n;
            std::memcpy(&bools[row], &inputs.k, 1);
        }

        Inputs& inputs;
        std::vector<double> doubles;
        std::vector<float> floats;
        std::vector<int> ints;
        std::vector<unsigned char> bools;
        std::vector<std::uint64_t> expected;
        std::vector<exprcurve::Column> columns;
    };
};

// Texts drawn from the whole language: every operator and function, the
// four variable kinds, constants, unary minus, "rnd", an unknown name, and
// calls of host functions.
std::string randomText(std::mt19937& random, int depth)
{
    static const char* const leaves[] = {"a", "b", "f", "n", "k", "0", "2", "0.5", "pi", "epsilon", "x"};
    static const char* const functions[] = {"not", "j0", "j1", "floor", "ceil", "tan", "sin", "cos", "tanh",
                                            "sinh", "cosh", "atan", "asin", "acos", "sqrt", "abs", "log",
                                            "log10", "exp", "-", "rnd"};
    static const std::string operators = "|&=><+-*/^";
    const auto pick = [&random](const auto& list) { return list[random() % std::size(list)]; };
    const auto sub = [&random, depth] { return randomText(random, depth - 1); };
    switch (depth <= 0 ? 0 : random() % 6) {
    case 0: return pick(leaves);
    case 1: return sub() + pick(operators) + sub();
    case 2: return std::string(pick(functions)) + "(" + sub() + ")";
    case 3: return std::string(random() % 2 ? "max(" : "min(") + sub() + "," + sub() + ")";
    case 4: return "if(" + sub() + "," + sub() + "," + sub() + ")";
    default: break;
    }
    switch (random() % 4) {
    case 0: return "pick()";
    case 1: return "half(" + sub() + ")";
    case 2: return "mix(" + sub() + "," + sub() + "," + sub() + ")";
    default: {
        std::string call = "w8(" + sub();
        for (int i = 1; i < 8; ++i)
            call += std::string(",") + pick(leaves);
        return call + ")";
    }
    }
}

TEST(CompiledExpression, BenchmarkDeepAndRandomExpressionsMatchTheTree)
{
    // Both operands of every product are inner nodes, so each level needs
    // one more stack slot than the one below it: 40 levels go beyond the
    // slots kept in registers (with and without calls), 150 beyond the stack.
    // Each level leaves seven arguments waiting for the innermost call: the
    // inner calls go beyond the slots kept in registers, then beyond the stack.
    const auto nestedCalls = [](int levels) {
        std::string nested = "pick()";
        for (int level = 0; level < levels; ++level)
            nested = "w8(a,f,n,k,b-" + std::to_string(level) + ",half(c),d*t," + nested + ")";
        return nested;
    };
    const auto deepText = [](int levels, const std::string& term = "sin(a)") {
        std::string deep = "(a-b)";
        for (int level = 0; level < levels; ++level)
            deep = "(c+" + std::to_string(level) + "*d)*(" + deep + ")-" + term + "*(b-a)";
        return deep;
    };
    Inputs inputs;
    for (const std::string& text : std::vector<std::string>{
             "a+b", "a*b+c*d", "(a+b)*(c-d)/2", "sin(a)*cos(b)+sqrt(abs(c))", "max(a,b)*3+min(c,d)",
             "exp(a)/(1+exp(b))", "2*sin(t)+max(a,b)", "(a+b+c+d)*(a-b)+sin(a)*sin(b)+cos(c)*cos(d)",
             "a^3+2*a^2+4*a+1", "if(a>b,a*2,b/2)", deepText(40), deepText(40, "(a+d)"), deepText(150),
             deepText(40, "mix(a,b,half(c))"), nestedCalls(8)})
        inputs.expectSameBitsAsTree(text, 300);
    inputs.expectSameBitsAsTree(nestedCalls(12), 300, true);
    std::mt19937 random(2024);
    for (int index = 0; index < 100; ++index)
        inputs.expectSameBitsAsTree(randomText(random, 2 + index % 5), 20);
}

// Opaque to the compiled form: bumps a host variable on each call, which
// exposes any extra or missing call and any change in the order of reads.
struct HostNode : FunctionFloatBase {
    explicit HostNode(double* target) : target(target) {}
    double operator()() const override { return *target += 1.0; }
    double* target;
};

// Answers none of the operator queries and evaluates arg2 before arg1, as
// the random node does.
struct ReversedSubtraction : FunctionFloatBinary {
    double operator()() const override { const double second = (*arg2)(); return (*arg1)() - second; }
};

TEST(CompiledExpression, HostNodesAreCalledOnceAndVariablesReadInTheTreesOrder)
{
    double x = 0;
    auto* reversed = new ReversedSubtraction;  // host(x) -reversed- sin(x)
    reversed->arg1 = new HostNode(&x);
    auto* sine = new FunctionFloatSin;
    reversed->arg2 = sine;
    sine->arg = new FunctionFloatVariableDouble(&x);
    FunctionFloatMul tree;  // reversed * x
    tree.arg1 = reversed;
    tree.arg2 = new FunctionFloatVariableDouble(&x);
    const CompiledExpression compiled(&tree);
    for (const double value : {0.25, -2.0, 1e10}) {
        x = value;
        const double fromTree = tree();
        x = value;
        EXPECT_EQ(bitsOf(compiled()), bitsOf(fromTree)) << value;
        EXPECT_EQ(x, value + 1.0);
    }
}

TEST(CompiledExpression, IfCallsOnlyTheSelectedBranchLikeTheTree)
{
    double condition = 0.0, onTrue = 0.0, onZero = 100.0;
    FunctionFloatIf tree;
    tree.arg1 = new FunctionFloatVariableDouble(&condition);
    tree.arg2 = new HostNode(&onTrue);
    tree.arg3 = new HostNode(&onZero);
    const CompiledExpression compiled(&tree);
    const std::pair<double, double> conditionAndResults[] = {
        {0.0, 101}, {-0.0, 103}, {1e-17, 1}, {NAN, 3}, {-3.0, 5}};
    for (const auto& [value, fromTree] : conditionAndResults) {
        condition = value;
        EXPECT_EQ(tree(), fromTree) << value;
        EXPECT_EQ(compiled(), fromTree + 1) << value;
    }
    EXPECT_EQ(onTrue + onZero, 110.0);  // each of ten evaluations called one branch
}

// Right-grouped chains and nestings as deep as the parser builds them: every
// one runs as native code and matches the tree, one row at a time and in
// batches.
TEST(CompiledExpression, ChainsAndNestingsUpToTheDepthLimitMatchTheTree)
{
    const int levels = FunctionParserBase::maxParseDepth - 2;
    const auto repeat = [](const std::string& piece, int count, const std::string& last,
                           const std::string& close) {
        std::string text;
        for (int index = 0; index < count; ++index)
            text += piece;
        text += last;
        for (int index = 0; close.size() && index < count; ++index)
            text += close;
        return text;
    };
    Inputs inputs;
    for (const std::string& text :
         {repeat("a*b+", levels / 2, "a*b", ""), repeat("a-", levels, "b", ""),
          repeat("sin(", levels, "a", ")"), repeat("(c+a*", levels / 2, "b", ")"),
          repeat("max(a*b,", levels / 2, "c", ")"), repeat("if(a>b,c,", levels / 4, "d", ")"),
          repeat("if(a<c,if(b>a,d,", levels / 8, "c", "),b)")}) {
        ParseMessage message{};
        delete inputs.parser.parseString(text, message);
        ASSERT_TRUE(message.errors.empty()) << text.substr(0, 40);
        inputs.expectSameBitsAsTree(text, 40);
    }
}

// Evaluates the tree for each row with the host's variables written, as
// the batch promises to match.
TEST(CompiledExpression, BatchReadsUnlistedVariablesFromTheHostAndWritesNothing)
{
    Inputs inputs;
    ParseMessage message{};
    const std::unique_ptr<FunctionFloatBase> tree(inputs.parser.parseString("a*b+if(n>1,f,c)-k", message));
    const CompiledExpression compiled(tree.get());
    inputs.a = 1.5, inputs.b = -2.0, inputs.c = 0.25, inputs.f = 3.5f, inputs.n = 0, inputs.k = true;
    const std::vector<double> as = {1, 2, 3, 4, 5, 6, 7};
    const std::vector<int> ns = {0, 5, -1, 2, 2, 1, 9};
    const exprcurve::Column columns[] = {{&inputs.a, as.data()}, {&inputs.n, ns.data()}};
    std::vector<double> results(as.size());
    compiled.evaluate(as.size(), columns, 2, results.data());
    EXPECT_EQ(inputs.a, 1.5);  // nothing written
    EXPECT_EQ(inputs.n, 0);
    for (std::size_t row = 0; row < as.size(); ++row) {
        inputs.a = as[row], inputs.n = ns[row];
        EXPECT_EQ(bitsOf(results[row]), bitsOf((*tree)())) << row;
    }
}

TEST(CompiledExpression, BatchWithHostNodesWritesEachRowAndRestoresTheVariables)
{
    double x = 0.5, y = 7.0;
    FunctionFloatAdd tree;  // host(y) + x, the host node bumping y
    tree.arg1 = new HostNode(&y);
    tree.arg2 = new FunctionFloatVariableDouble(&x);
    const CompiledExpression compiled(&tree);
    const double xs[] = {1, 2, 3};
    const exprcurve::Column column{&x, xs};
    double results[3];
    compiled.evaluate(3, &column, 1, results);
    EXPECT_EQ(results[0], 9.0);
    EXPECT_EQ(results[1], 11.0);
    EXPECT_EQ(results[2], 13.0);
    EXPECT_EQ(x, 0.5);  // restored
    EXPECT_EQ(y, 10.0);  // the host node ran once per row
}

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
using stack_usage::stackBytesUsed;

// The compiler and both kinds of evaluation keep their work lists on the
// heap: at the depth limit they need a few KiB of stack, far below the
// parser's own budget. (Parsing and deleting the tree are not measured.)
TEST(CompiledExpression, CompilingAndEvaluatingAtTheDepthLimitNeedLittleStack)
{
    // memcheck takes the painted stack of a finished thread for undefined
    // memory, and runs the code on a stack of its own anyway.
    const char* preloaded = std::getenv("LD_PRELOAD");
    if (preloaded && std::strstr(preloaded, "vgpreload"))
        GTEST_SKIP() << "under valgrind";
    Inputs inputs;
    const int levels = FunctionParserBase::maxParseDepth / 2 - 1;  // a call and a sum each
    std::string nested;
    for (int level = 0; level < levels; ++level)
        nested += "sin(a*b+";
    nested += "c" + std::string(levels, ')');
    ParseMessage message{};
    const std::unique_ptr<FunctionFloatBase> tree(inputs.parser.parseString(nested, message));
    ASSERT_TRUE(message.errors.empty());
    for (const auto backend :
         {CompiledExpression::Backend::Automatic, CompiledExpression::Backend::Interpreter}) {
        const std::size_t compiling =
            stackBytesUsed([&] { const CompiledExpression compiled(tree.get(), backend); });
        const CompiledExpression compiled(tree.get(), backend);
        const std::size_t evaluating = stackBytesUsed([&] { resultSink = compiled(); });
        std::vector<double> values(300, 0.25), results(300);
        const exprcurve::Column column{&inputs.a, values.data()};
        const std::size_t batch = stackBytesUsed([&] { compiled.evaluate(300, &column, 1, results.data()); });
        std::printf("stack at the depth limit (%s): compile %zu, evaluate %zu, batch %zu bytes "
                    "(a thread doing nothing: %zu)\n",
                    compiled.usesNativeCode() ? "native" : "interpreted", compiling, evaluating, batch,
                    stackBytesUsed([] {}));
        EXPECT_LT(compiling, 16u * 1024);
        EXPECT_LT(evaluating, 16u * 1024);
        EXPECT_LT(batch, 16u * 1024);
    }
}
#endif

#if defined(__linux__)
std::vector<std::string> poolMappings()
{
    std::ifstream maps("/proc/self/maps");
    std::vector<std::string> found;
    for (std::string line; std::getline(maps, line);) {
        if (line.find("exprcurve-code") != std::string::npos)
            found.push_back(line);
    }
    return found;
}

// Whether the 8 bytes of `value` occur in the pool's mappings whose
// permissions satisfy `wanted`.
bool poolHolds(double value, bool executable)
{
    std::uint8_t pattern[8];
    std::memcpy(pattern, &value, 8);
    for (const std::string& line : poolMappings()) {
        std::istringstream fields(line);
        std::string range, permissions;
        fields >> range >> permissions;
        if (permissions[0] != 'r' || (permissions[2] == 'x') != executable || permissions[1] == 'w')
            continue;
        const std::size_t dash = range.find('-');
        const auto* begin =
            reinterpret_cast<const std::uint8_t*>(std::stoull(range.substr(0, dash), nullptr, 16));
        const auto* end =
            reinterpret_cast<const std::uint8_t*>(std::stoull(range.substr(dash + 1), nullptr, 16));
        if (std::search(begin, end, pattern, pattern + 8) != end)
            return true;
    }
    return false;
}

TEST(CompiledExpression, ConstantsOfTheTextAreNeverInExecutableMemory)
{
    if (!nativeCodeExpected)
        GTEST_SKIP() << "no native code on this platform";
    // Its bytes hold 0f 05 c3 (syscall; ret).
    const double planted = 0.016176470599707445;
    double x = 2.0;
    FunctionFloatMul tree;
    tree.arg1 = new FunctionFloatVariableDouble(&x);
    tree.arg2 = new FunctionFloatConstant(planted);
    const CompiledExpression compiled(&tree);
    ASSERT_TRUE(compiled.usesNativeCode());
    EXPECT_EQ(compiled(), x * planted);
    EXPECT_TRUE(poolHolds(planted, false));  // in the read-only data: the scan finds it
    EXPECT_FALSE(poolHolds(planted, true));
    for (const std::string& line : poolMappings())
        EXPECT_FALSE(line.find("wx") != std::string::npos) << line;  // never writable and executable
}

TEST(CompiledExpression, ThousandsOfFormsShareAFewChunksAndFreeThemAll)
{
    if (!nativeCodeExpected)
        GTEST_SKIP() << "no native code on this platform";
    namespace compiled = exprcurve::compiled;
    Inputs inputs;
    ParseMessage message{};
    const std::unique_ptr<FunctionFloatBase> tree(inputs.parser.parseString("(a+b)*(c-d)/2+sin(a)", message));
    const std::size_t chunksBefore = compiled::poolStatistics().chunks;
    {
        std::vector<CompiledExpression> forms;
        for (int index = 0; index < 5000; ++index) {
            forms.emplace_back(tree.get());
            if (index % 3 == 0)
                forms.push_back(forms.back());  // a copy shares the code
            if (index % 7 == 0) {
                CompiledExpression moved(std::move(forms.back()));
                forms.back() = std::move(moved);
            }
        }
        const compiled::PoolStatistics statistics = compiled::poolStatistics();
        // About 200 bytes of code and data per form: a few 64 KiB chunks.
        EXPECT_LE(statistics.chunks, chunksBefore + 40);
        EXPECT_LE(poolMappings().size(), 3 * (chunksBefore + 40));
        inputs.a = 0.5, inputs.b = 2, inputs.c = -1, inputs.d = 4;
        for (const CompiledExpression& form : forms)
            ASSERT_EQ(bitsOf(form()), bitsOf((*tree)()));
    }
    EXPECT_LE(compiled::poolStatistics().chunks, chunksBefore + 1);  // only the chunk taking new forms
    EXPECT_EQ(compiled::poolStatistics().lostBytes, 0u);
}

// The pool's system calls, failing from the `failAt`-th call of one kind.
struct FailingCalls {
    static inline int calls = 0;
    static inline int failAt = 0;
    static inline int kind = 0;  // 0 create, 1 map, 2 protect, 3 unmap

    static bool fails(int which) { return which == kind && ++calls >= failAt; }

    static exprcurve::compiled::MemoryCalls make()
    {
        exprcurve::compiled::MemoryCalls made;
        made.createObject = [](std::size_t size) {
            if (fails(0)) {
                errno = ENOMEM;
                return -1;
            }
            const int fd = memfd_create("exprcurve-code", MFD_CLOEXEC);
            return fd >= 0 && ftruncate(fd, static_cast<off_t>(size)) == 0 ? fd : -1;
        };
        made.map = [](void* address, std::size_t length, int protection, int flags, int fd, off_t offset) {
            if (fails(1)) {
                errno = ENOMEM;
                return MAP_FAILED;
            }
            return mmap(address, length, protection, flags, fd, offset);
        };
        made.protect = [](void* address, std::size_t length, int protection) {
            if (fails(2)) {
                errno = EACCES;
                return -1;
            }
            return mprotect(address, length, protection);
        };
        made.unmap = [](void* address, std::size_t length) {
            if (fails(3)) {
                errno = EINVAL;
                return -1;
            }
            return munmap(address, length);
        };
        made.close = ::close;
        return made;
    }
};

TEST(CompiledExpression, FailedMemoryCallsFallBackToTheInterpreterWithTheSameValues)
{
    if (!nativeCodeExpected)
        GTEST_SKIP() << "no native code on this platform";
    namespace compiled = exprcurve::compiled;
    Inputs inputs;
    ParseMessage message{};
    const std::unique_ptr<FunctionFloatBase> tree(
        inputs.parser.parseString("a*b+sin(c)/max(d,0.5)", message));
    const exprcurve::compiled::MemoryCalls failing = FailingCalls::make();
    struct Case {
        const char* name;
        int kind;
        int failAt;
        bool native;  // whether a form still gets native code
    };
    const Case cases[] = {
        {"memory object refused", 0, 1, false},
        {"writable view refused", 1, 1, false},
        {"executable view refused", 1, 2, false},
        {"protection refused by policy", 2, 1, false},
        {"unmapping refused", 3, 1, true},
    };
    for (const Case& test : cases) {
        FailingCalls::calls = 0, FailingCalls::kind = test.kind, FailingCalls::failAt = test.failAt;
        compiled::replaceMemoryCalls(&failing);
        {
            const CompiledExpression first(tree.get());
            const CompiledExpression second(tree.get());  // no system call once the probe failed
            EXPECT_EQ(first.usesNativeCode(), test.native) << test.name;
            EXPECT_EQ(second.usesNativeCode(), test.native) << test.name;
            for (int round = 0; round < 50; ++round) {
                inputs.drawAll();
                ASSERT_EQ(bitsOf(first()), bitsOf((*tree)())) << test.name;
            }
            if (!test.native) {
                EXPECT_TRUE(compiled::poolStatistics().disabled) << test.name;
            }
        }
        compiled::replaceMemoryCalls(nullptr);  // unmaps the chunk those forms used
    }
    EXPECT_EQ(compiled::poolStatistics().lostBytes, 0u);
    const CompiledExpression restored(tree.get());
    EXPECT_TRUE(restored.usesNativeCode());
}

TEST(CompiledExpression, NativeCodeCanBeTurnedOffForTheProcess)
{
    double x = 3.0;
    FunctionFloatSin tree;
    tree.arg = new FunctionFloatVariableDouble(&x);
    CompiledExpression::setNativeCodeAllowed(false);
    const CompiledExpression off(&tree);
    CompiledExpression::setNativeCodeAllowed(true);
    const CompiledExpression on(&tree);
    EXPECT_FALSE(off.usesNativeCode());
    EXPECT_EQ(on.usesNativeCode(), nativeCodeExpected);
    EXPECT_EQ(bitsOf(off()), bitsOf(std::sin(3.0)));
    double result = 0;
    const double xs[] = {0.5};
    const exprcurve::Column column{&x, xs};
    off.evaluate(1, &column, 1, &result);  // no batch code either
    EXPECT_EQ(bitsOf(result), bitsOf(std::sin(0.5)));
}
#endif

}  // namespace
