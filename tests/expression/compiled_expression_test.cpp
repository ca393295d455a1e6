// The compiled form must give the tree's bits for every input and call the
// host's nodes exactly when the tree would.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "compiledexpression.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"

using exprcurve::CompiledExpression;

namespace {

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
    }

    double draw()
    {
        const double eps = std::ldexp(1.0, -52);
        const double special[] = {0.0, -0.0, 1.0, -1.0, 1.0 + eps, eps, -eps, eps / 2, 0.1, 1e300, 5e-324, NAN, INFINITY, -INFINITY};
        if (random() % 2)
            return special[random() % std::size(special)];
        return std::uniform_real_distribution<double>(-4.0, 4.0)(random);
    }

    // Compiles once for each backend, then compares over inputs written
    // after compiling.
    void expectSameBitsAsTree(const std::string& text, int rounds, bool fitsTheStack = true)
    {
        ParseMessage message{};
        const std::unique_ptr<FunctionFloatBase> tree(parser.parseString(text, message));
        const CompiledExpression native(tree.get());
        const CompiledExpression interpreted(tree.get(), CompiledExpression::Backend::Interpreter);
        ASSERT_FALSE(interpreted.usesNativeCode());
        // Only the random node and subtrees too deep for the stack call back
        // into the tree, which keeps a program interpreted.
        if (nativeCodeExpected && fitsTheStack && text.find("rnd") == std::string::npos) {
            ASSERT_TRUE(native.usesNativeCode()) << text;
        }
        for (int round = 0; round < rounds; ++round) {
            for (double* variable : {&a, &b, &c, &d, &t})
                *variable = draw();
            f = static_cast<float>(draw());
            n = static_cast<int>(random());
            // The tree reads the byte: a bool holding 2 or 255 must read as true.
            const unsigned char bytes[] = {0, 1, 2, 255};
            std::memcpy(&k, &bytes[random() % std::size(bytes)], 1);
            const std::uint64_t expected = bitsOf((*tree)());
            for (const CompiledExpression* compiled : {&native, &interpreted})
                ASSERT_EQ(bitsOf((*compiled)()), expected) << text << (compiled == &native ? " native" : " interpreted")
                    << " with a, b, c, d, t, f, n = " << a << ", " << b << ", " << c << ", " << d << ", " << t << ", "
                    << f << ", " << n;
        }
    }
};

// Texts drawn from the whole language: every operator and function, the
// four variable kinds, constants, unary minus, "rnd", and an unknown name.
std::string randomText(std::mt19937& random, int depth)
{
    static const char* const leaves[] = {"a", "b", "f", "n", "k", "0", "2", "0.5", "pi", "epsilon", "x"};
    static const char* const functions[] = {"not", "j0", "j1", "floor", "ceil", "tan", "sin", "cos", "tanh", "sinh",
                                            "cosh", "atan", "asin", "acos", "sqrt", "abs", "log", "log10", "exp", "-", "rnd"};
    static const std::string operators = "|&=><+-*/^";
    const auto pick = [&random](const auto& list) { return list[random() % std::size(list)]; };
    const auto sub = [&random, depth] { return randomText(random, depth - 1); };
    switch (depth <= 0 ? 0 : random() % 5) {
    case 0: return pick(leaves);
    case 1: return sub() + pick(operators) + sub();
    case 2: return std::string(pick(functions)) + "(" + sub() + ")";
    case 3: return std::string(random() % 2 ? "max(" : "min(") + sub() + "," + sub() + ")";
    default: return "if(" + sub() + "," + sub() + "," + sub() + ")";
    }
}

TEST(CompiledExpression, BenchmarkDeepAndRandomExpressionsMatchTheTree)
{
    // Both operands of every product are inner nodes, so each level needs
    // one more stack slot than the one below it: 40 levels go beyond the
    // slots kept in registers (with and without calls), 150 beyond the stack.
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
             "a^3+2*a^2+4*a+1", "if(a>b,a*2,b/2)", deepText(40), deepText(40, "(a+d)")})
        inputs.expectSameBitsAsTree(text, 300);
    inputs.expectSameBitsAsTree(deepText(150), 300, false);
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
    const std::pair<double, double> conditionAndResults[] = {{0.0, 101}, {-0.0, 103}, {1e-17, 1}, {NAN, 3}, {-3.0, 5}};
    for (const auto& [value, fromTree] : conditionAndResults) {
        condition = value;
        EXPECT_EQ(tree(), fromTree) << value;
        EXPECT_EQ(compiled(), fromTree + 1) << value;
    }
    EXPECT_EQ(onTrue + onZero, 110.0);  // each of ten evaluations called one branch
}

#if defined(__linux__)
// Bytes of read-only executable memory mapped without a file: native code.
// (A tool's own code cache, such as valgrind's, is writable as well.)
std::uint64_t anonymousCodeBytes()
{
    std::ifstream maps("/proc/self/maps");
    std::uint64_t bytes = 0;
    for (std::string line; std::getline(maps, line);) {
        std::istringstream fields(line);
        std::string range, permissions, offset, device, inode, path;
        fields >> range >> permissions >> offset >> device >> inode >> path;
        if (permissions != "r-xp" || !path.empty())
            continue;
        const std::size_t dash = range.find('-');
        bytes += std::stoull(range.substr(dash + 1), nullptr, 16) - std::stoull(range.substr(0, dash), nullptr, 16);
    }
    return bytes;
}

TEST(CompiledExpression, NativeCodeIsSharedByCopiesAndReleasedWithTheLastOne)
{
    double a = 1.5, b = -2.0;
    FunctionFloatAdd tree;
    tree.arg1 = new FunctionFloatVariableDouble(&a);
    tree.arg2 = new FunctionFloatVariableDouble(&b);
    const std::uint64_t before = anonymousCodeBytes();
    for (int round = 0; round < 2000; ++round) {
        const CompiledExpression compiled(&tree);
        CompiledExpression copy(compiled);
        CompiledExpression moved(std::move(copy));
        ASSERT_EQ(moved(), -0.5);
        ASSERT_EQ(moved.usesNativeCode(), compiled.usesNativeCode());
    }
    EXPECT_EQ(anonymousCodeBytes(), before);
}
#endif

}  // namespace
