// The compiled form must give the tree's bits for every input and call the
// host's nodes exactly when the tree would.
#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "compiledexpression.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"

using exprcurve::CompiledExpression;

namespace {

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

const double tolerance = std::ldexp(1.0, -52);
const double specialValues[] = {
    0.0, -0.0, 1.0, -1.0, 1.0 + tolerance, 1.0 - tolerance / 2, tolerance, -tolerance,
    tolerance / 2, std::nextafter(tolerance, 1.0), std::nextafter(tolerance, 0.0), 0.5, 2.0,
    3.0, 0.1, 0.2, 0.3, 1e300, -1e-300, 5e-324, std::numeric_limits<double>::quiet_NaN(),
    std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};

// Host variables of all four kinds, bound in a parser, refilled at random.
struct Inputs {
    double a = 0, b = 0, c = 0, d = 0, t = 0;
    float f = 0;
    int n = 0;
    bool k = false;
    std::mt19937 random{12345};

    void bind(FunctionParserBase& parser)
    {
        for (auto [name, address] : {std::pair{"a", &a}, {"b", &b}, {"c", &c}, {"d", &d}, {"t", &t}})
            parser.insertKey(name, address);
        parser.insertKey("f", &f);
        parser.insertKey("n", &n);
        parser.insertKey("k", &k);
    }

    double draw()
    {
        if (random() % 2 == 0)
            return specialValues[random() % std::size(specialValues)];
        return std::uniform_real_distribution<double>(-4.0, 4.0)(random);
    }

    void refill()
    {
        for (double* variable : {&a, &b, &c, &d, &t})
            *variable = draw();
        f = static_cast<float>(draw());
        const int integers[] = {0, 1, -3, 7, INT_MAX, INT_MIN};
        n = integers[random() % std::size(integers)];
        // The tree reads the byte: a bool holding 2 or 255 must read as true.
        const unsigned char bytes[] = {0, 1, 2, 255};
        std::memcpy(&k, &bytes[random() % std::size(bytes)], 1);
    }
};

// Compiles once, then compares over many inputs written after compiling.
void expectSameBitsAsTree(const FunctionFloatBase& tree, Inputs& inputs, int rounds,
                          const std::string& text)
{
    const CompiledExpression compiled(&tree);
    for (int round = 0; round < rounds; ++round) {
        inputs.refill();
        ASSERT_EQ(bitsOf(compiled()), bitsOf(tree()))
            << text << " with a=" << inputs.a << " b=" << inputs.b << " c=" << inputs.c
            << " d=" << inputs.d << " t=" << inputs.t << " f=" << inputs.f << " n=" << inputs.n;
    }
}

std::unique_ptr<FunctionFloatBase> parse(FunctionParserBase& parser, const std::string& text)
{
    ParseMessage message{};
    return std::unique_ptr<FunctionFloatBase>(parser.parseString(text, message));
}

TEST(CompiledExpression, BenchmarkExpressionsMatchTheTree)
{
    Inputs inputs;
    FunctionParserBase parser;
    inputs.bind(parser);
    for (const char* text :
         {"a+b", "a*b+c*d", "(a+b)*(c-d)/2", "sin(a)*cos(b)+sqrt(abs(c))", "max(a,b)*3+min(c,d)",
          "exp(a)/(1+exp(b))", "2*sin(t)+max(a,b)", "(a+b+c+d)*(a-b)+sin(a)*sin(b)+cos(c)*cos(d)",
          "a^3+2*a^2+4*a+1", "if(a>b,a*2,b/2)"}) {
        expectSameBitsAsTree(*parse(parser, text), inputs, 3000, text);
    }
}

// Texts drawn from the whole language: every operator and function, the
// four variable kinds, constants, unary minus, "rnd", and faulty pieces.
std::string randomText(std::mt19937& random, int depth)
{
    static const char* const leaves[] = {"a", "b", "c", "d", "t", "f", "n", "k",
                                         "0", "1", "2", "0.5", "pi", "epsilon", "x"};
    static const char* const functions[] = {"not", "j0", "j1", "floor", "ceil", "tan", "sin",
                                            "cos", "tanh", "sinh", "cosh", "atan", "asin",
                                            "acos", "sqrt", "abs", "log", "log10", "exp"};
    static const std::string operators = "|&=><+-*/^";
    const auto pick = [&random](const auto& list) { return list[random() % std::size(list)]; };
    const auto sub = [&random, depth] { return randomText(random, depth - 1); };
    switch (depth <= 0 ? 0 : random() % 9) {
    case 0:
        return pick(leaves);
    case 1:
        return sub() + pick(operators) + sub();
    case 2:
        return "(" + sub() + pick(operators) + sub() + ")";
    case 3:
        return std::string(pick(functions)) + "(" + sub() + ")";
    case 4:
        return std::string(random() % 2 ? "max(" : "min(") + sub() + "," + sub() + ")";
    case 5:
        return "if(" + sub() + "," + sub() + "," + sub() + ")";
    case 6:
        return "-" + sub();
    case 7:
        return "rnd(" + sub() + ")";
    default:
        return "(" + sub() + ")*(" + sub() + ")";
    }
}

TEST(CompiledExpression, RandomTextsMatchTheTree)
{
    Inputs inputs;
    FunctionParserBase parser;
    inputs.bind(parser);
    std::mt19937 random(2024);
    for (int index = 0; index < 400; ++index) {
        const std::string text = randomText(random, 2 + index % 5);
        expectSameBitsAsTree(*parse(parser, text), inputs, 60, text);
    }
}

TEST(CompiledExpression, TreesDeeperThanTheStackMatchTheTree)
{
    Inputs inputs;
    FunctionParserBase parser;
    inputs.bind(parser);
    // Both operands of every product are inner nodes, so each level needs
    // one more stack slot than the one below it.
    std::string text = "(a-b)";
    for (int level = 0; level < 150; ++level)
        text = "(c+" + std::to_string(level) + "*d)*(" + text + ")-sin(a)*(b-a)";
    ParseMessage message{};
    const std::unique_ptr<FunctionFloatBase> tree(parser.parseString(text, message));
    ASSERT_TRUE(message.errors.empty());
    expectSameBitsAsTree(*tree, inputs, 200, "a deep product");
}

// ---------------------------------------------------------------- host nodes

class CountingNode : public FunctionFloatBase {
public:
    explicit CountingNode(double result) : result(result) {}
    double operator()() const override
    {
        ++calls;
        return result;
    }
    double result;
    mutable int calls = 0;
};

// Writes a host variable when evaluated, to expose any change in the order
// of reads.
class WritingNode : public FunctionFloatBase {
public:
    explicit WritingNode(double* target) : target(target) {}
    double operator()() const override { return *target += 1.0; }
    double* target;
};

// A host binary class that answers none of the operator queries and
// evaluates arg2 before arg1, as the random node does.
class ReversedSubtraction : public FunctionFloatBinary {
public:
    double operator()() const override
    {
        const double b = (*arg2)();
        return (*arg1)() - b;
    }
};

template <class Node>
Node* make(FunctionFloatBase* first, FunctionFloatBase* second)
{
    auto* node = new Node;
    node->arg1 = first;
    node->arg2 = second;
    return node;
}

TEST(CompiledExpression, HostNodesAreCalledAsOftenAsByTheTree)
{
    double x = 0.25;
    auto* inner = new CountingNode(3.0);
    auto* outer = new CountingNode(-0.0);
    auto* sine = new FunctionFloatSin;
    sine->arg = inner;
    const std::unique_ptr<FunctionFloatBase> tree(make<FunctionFloatMul>(
        make<ReversedSubtraction>(sine, new FunctionFloatVariableDouble(&x)),
        make<FunctionFloatAdd>(new FunctionFloatVariableDouble(&x), outer)));
    const CompiledExpression compiled(tree.get());
    for (const double value : {0.25, -2.0, 1e10}) {
        x = value;
        EXPECT_EQ(bitsOf(compiled()), bitsOf((*tree)()));
    }
    EXPECT_EQ(inner->calls, 6);
    EXPECT_EQ(outer->calls, 6);
}

TEST(CompiledExpression, VariablesAreReadInTheTreesOrderAroundHostNodes)
{
    double x = 1.0;
    const std::unique_ptr<FunctionFloatBase> tree(make<FunctionFloatSub>(
        new FunctionFloatVariableDouble(&x),
        make<FunctionFloatMul>(new WritingNode(&x), new FunctionFloatVariableDouble(&x))));
    const CompiledExpression compiled(tree.get());
    x = 1.0;
    const double fromTree = (*tree)();  // 1 - 2 * 2
    x = 1.0;
    EXPECT_EQ(bitsOf(compiled()), bitsOf(fromTree));
    EXPECT_EQ(fromTree, -3.0);
}

TEST(CompiledExpression, IfCallsOnlyTheSelectedBranch)
{
    double condition = 0.0;
    auto* selectedOnTrue = new CountingNode(1.5);
    auto* selectedOnZero = new CountingNode(-2.5);
    auto* node = new FunctionFloatIf;
    node->arg1 = new FunctionFloatVariableDouble(&condition);
    node->arg2 = selectedOnTrue;
    node->arg3 = selectedOnZero;
    const std::unique_ptr<FunctionFloatBase> tree(node);
    const CompiledExpression compiled(tree.get());
    const struct {
        double condition;
        double expected;
    } cases[] = {{0.0, -2.5}, {-0.0, -2.5}, {1e-17, 1.5}, {std::nan(""), 1.5}, {-3.0, 1.5}};
    int trueCalls = 0;
    int zeroCalls = 0;
    for (const auto& entry : cases) {
        condition = entry.condition;
        EXPECT_EQ(compiled(), entry.expected) << entry.condition;
        (entry.expected > 0 ? trueCalls : zeroCalls) += 1;
        EXPECT_EQ(selectedOnTrue->calls, trueCalls);
        EXPECT_EQ(selectedOnZero->calls, zeroCalls);
    }
}

TEST(CompiledExpressionConcurrency, OneCompiledFormServesSeveralThreads)
{
    double a = 0.7, b = -1.25, c = 3.0, d = 0.5;
    FunctionParserBase parser;
    parser.insertKey("a", &a);
    parser.insertKey("b", &b);
    parser.insertKey("c", &c);
    parser.insertKey("d", &d);
    const auto tree = parse(parser, "(a+b+c+d)*(a-b)+if(a>b,sin(a)*sin(b),cos(c))*((c-d)*(a+d))");
    const CompiledExpression compiled(tree.get());
    const std::uint64_t expected = bitsOf((*tree)());
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index) {
        threads.emplace_back([&] {
            for (int round = 0; round < 20000; ++round)
                mismatches += bitsOf(compiled()) != expected;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches.load(), 0);
}

}  // namespace
