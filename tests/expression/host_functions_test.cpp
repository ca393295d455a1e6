// Functions the host defines: which names are taken, what a call builds and
// computes in every form of evaluation, the faults of a wrong call, and what
// later definitions do to trees already built.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "compiledexpression.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "tree_printer.h"

namespace {

using Faults = std::vector<std::pair<int, int>>;

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

// The context of `seed` is the double it answers.
double seed(const double*, void* context) { return *static_cast<double*>(context); }
double half(const double* v, void*) { return v[0] / 3.0 * 1.5; }
double lerp(const double* v, void*) { return v[0] + (v[1] - v[0]) * v[2]; }
// Every argument with a weight of its own, so that a swapped pair shows.
double weighted8(const double* v, void*)
{
    double total = 0.0;
    for (int i = 0; i < 8; ++i)
        total = total * 1.0000001 + v[i] / (i + 3);
    return total;
}
double thrice(const double* v, void*) { return 3 * v[0]; }

struct HostFunctions : ::testing::Test {
    HostFunctions()
    {
        const char* names[] = {"x", "y", "a", "b", "c"};
        for (int k = 0; k < 5; ++k)
            parser.insertKey(names[k], &values[k]);
        EXPECT_TRUE(parser.defineFunction("seed", 0, seed, &seedValue));
        EXPECT_TRUE(parser.defineFunction("half", 1, half));
        EXPECT_TRUE(parser.defineFunction("Lerp", 3, lerp));  // defined lower-cased
        EXPECT_TRUE(parser.defineFunction("w8", 8, weighted8));
    }

    std::unique_ptr<FunctionFloatBase> parse(const std::string& text)
    {
        return std::unique_ptr<FunctionFloatBase>(parser.parseString(text, message));
    }

    double values[5] = {0.1, -2.5, 7, 1e-3, 3};
    double seedValue = 0.7;
    FunctionParserBase parser;
    ParseMessage message{};
};

TEST_F(HostFunctions, CallsGiveTheFunctionsOwnBitsInEveryForm)
{
    double& x = values[0];
    double& y = values[1];
    double& a = values[2];
    double& b = values[3];
    double& c = values[4];
    const char* const texts[] = {"seed()", "half(x*y)", "LERP(a, b, x)", "w8(x,y,a,b,c,x-y,1/c,half(a))",
                                 "lerp(half(x),seed(),if(x>0,y,c))^2"};
    const auto byHand = [&](int row) {
        const double lerpArgs[3] = {half(&x, nullptr), seed(nullptr, &seedValue), x > 0 ? y : c};
        const double args8[8] = {x, y, a, b, c, x - y, 1 / c, half(&a, nullptr)};
        const double product = x * y;
        const double args3[3] = {a, b, x};
        switch (row) {
        case 0: return seed(nullptr, &seedValue);
        case 1: return half(&product, nullptr);
        case 2: return lerp(args3, nullptr);
        case 3: return weighted8(args8, nullptr);
        default: return std::pow(lerp(lerpArgs, nullptr), 2.0);
        }
    };
    const double inputs[][2] = {{0.1, -2.5}, {-4, 1e300}, {0.0, -0.0}, {3, NAN}};
    for (int row = 0; row < 5; ++row) {
        std::unique_ptr<FunctionFloatBase> tree = parse(texts[row]);
        ASSERT_TRUE(message.errors.empty()) << texts[row];
        const exprcurve::CompiledExpression compiled(tree.get());
        const exprcurve::CompiledExpression interpreted(tree.get(),
                                                        exprcurve::CompiledExpression::Backend::Interpreter);
        for (const auto& [first, second] : inputs) {
            x = first, y = second, seedValue = second;
            const std::uint64_t expected = bitsOf(byHand(row));
            EXPECT_EQ(bitsOf((*tree)()), expected) << texts[row];
            EXPECT_EQ(bitsOf(compiled()), expected) << texts[row];
            EXPECT_EQ(bitsOf(interpreted()), expected) << texts[row];
        }
    }
}

// A column feeds its variable wherever the tree reads it, inside a call's
// arguments as well, and the host's variables are as they were afterwards.
TEST_F(HostFunctions, BatchesFeedColumnsIntoCallArguments)
{
    double& x = values[0];
    double& y = values[1];
    const double xs[] = {0.5, -0.0, 1e300, NAN, -3, 7, 0.25};
    const double ys[] = {2, 3, -1, 0.125, 1e-300, -0.0, 9};
    constexpr std::size_t rows = sizeof xs / sizeof xs[0];
    const exprcurve::Column columns[] = {{&x, xs}, {&y, ys}};
    for (const char* text :
         {"seed()*x", "lerp(x,3,0)", "half(x)+y", "w8(x,y,a,b,c,x-y,1/c,half(a))", "if(y>0,half(x),y)"}) {
        std::unique_ptr<FunctionFloatBase> tree = parse(text);
        ASSERT_TRUE(message.errors.empty()) << text;
        const exprcurve::CompiledExpression compiled(tree.get());
        double results[rows];
        compiled.evaluate(rows, columns, 2, results);
        EXPECT_EQ(bitsOf(x), bitsOf(0.1)) << text;
        EXPECT_EQ(bitsOf(y), bitsOf(-2.5)) << text;
        for (std::size_t row = 0; row < rows; ++row) {
            x = xs[row], y = ys[row];
            EXPECT_EQ(bitsOf(results[row]), bitsOf((*tree)())) << text << ", row " << row;
        }
        x = 0.1, y = -2.5;
    }
}

TEST_F(HostFunctions, TheCallNodeAnswersOnlyItsOwnQueryAndShowsItsArguments)
{
    std::unique_ptr<FunctionFloatBase> tree = parse("lerp(a,2,seed())");
    const FunctionFloatBase& node = *tree;
    EXPECT_FALSE(node.isConstant() || node.isUnary() || node.isBinary() || node.isTernary() ||
                 node.isVariableDouble() || node.isVariableFloat() || node.isVariableInt() ||
                 node.isVariableBool());
    EXPECT_TRUE(node.isHostCall());
    const FunctionFloatHostCall* call = node.getHostCallRef();
    ASSERT_EQ(call, tree.get());
    EXPECT_EQ(call->name, "lerp");
    EXPECT_EQ(call->function, &lerp);
    ASSERT_EQ(call->arity, 3u);
    EXPECT_EQ(tree_printer::shape(call->arguments[0]), "a");
    EXPECT_EQ(tree_printer::shape(call->arguments[1]), "2");
    EXPECT_EQ(call->arguments[2]->getHostCallRef()->context, &seedValue);
    EXPECT_EQ(call->arguments[3], nullptr);
    EXPECT_FALSE(FunctionFloatConstant(1).isHostCall());
    EXPECT_EQ(FunctionFloatAdd().getHostCallRef(), nullptr);
}

std::vector<int> calls;
double record(const double* v, void*)
{
    calls.push_back(static_cast<int>(v[0]));
    return v[0];
}

TEST_F(HostFunctions, ArgumentsAreEvaluatedLeftToRightAndOnlyTheChosenBranch)
{
    ASSERT_TRUE(parser.defineFunction("note", 1, record));
    ASSERT_TRUE(parser.defineFunction("lerp", 3, lerp));
    calls.clear();
    std::unique_ptr<FunctionFloatBase> tree =
        parse("lerp(note(1),note(2)+note(3),note(4))+if(0,note(5),note(6))");
    (*tree)();
    EXPECT_EQ(calls, (std::vector<int>{1, 2, 3, 4, 6}));
    for (const auto backend : {exprcurve::CompiledExpression::Backend::Automatic,
                               exprcurve::CompiledExpression::Backend::Interpreter}) {
        calls.clear();
        exprcurve::CompiledExpression(tree.get(), backend)();
        EXPECT_EQ(calls, (std::vector<int>{1, 2, 3, 4, 6}));
    }
    // A batch makes each row's calls before the next row's, and an "if"
    // calls only the branch its row takes.
    std::unique_ptr<FunctionFloatBase> perRow = parse("note(x)+if(x>1,note(10+x),note(20+x))");
    const double xs[] = {1, 2, 3};
    const exprcurve::Column column{&values[0], xs};
    double results[3];
    calls.clear();
    exprcurve::CompiledExpression(perRow.get()).evaluate(3, &column, 1, results);
    EXPECT_EQ(calls, (std::vector<int>{1, 21, 2, 12, 3, 13}));
}

TEST_F(HostFunctions, RefusedNames)
{
    const struct {
        const char* name;
        unsigned int arity;
        HostFunction function;
    } refused[] = {
        {"", 1, thrice},      {"2f", 1, thrice},     {"_f", 1, thrice},  {"f-g", 1, thrice},
        {"f g", 1, thrice},   {"sin", 1, thrice},    {"MAX", 2, thrice}, {"Rnd", 1, thrice},
        {"if", 3, thrice},    {"not", 1, thrice},    {"f", 9, thrice},   {"f", 1, nullptr},
        {"v3len", 1, thrice}, {"f_2", 1, thrice},    {"f.g", 1, thrice}, {"f(", 1, thrice},
    };
    for (const auto& r : refused)
        EXPECT_FALSE(parser.defineFunction(r.name, r.arity, r.function)) << r.name;
    for (const char* name : {"f", "my_fn", "atan2", "sin_", "maxi", "F8"})
        EXPECT_TRUE(parser.defineFunction(name, 1, thrice)) << name;
    EXPECT_TRUE(parser.defineFunction("none", 8, thrice));
    EXPECT_TRUE(parser.removeFunction("MY_FN"));
    EXPECT_FALSE(parser.removeFunction("my_fn"));
    EXPECT_FALSE(parser.removeFunction("sin"));
    EXPECT_EQ(parser.findFunction("my_fn"), nullptr);
    ASSERT_NE(parser.findFunction("f8"), nullptr);
    EXPECT_EQ(parser.findFunction("f8")->arity, 1u);
}

TEST_F(HostFunctions, LaterDefinitionsLeaveTreesAsTheyWereBuilt)
{
    ASSERT_TRUE(parser.defineFunction("g", 1, half));
    std::unique_ptr<FunctionFloatBase> before = parse("g(c)");
    ASSERT_TRUE(parser.defineFunction("g", 1, thrice));
    std::unique_ptr<FunctionFloatBase> after = parse("g(c)");
    ASSERT_TRUE(parser.removeFunction("g"));
    std::unique_ptr<FunctionFloatBase> removed = parse("g(c)");
    EXPECT_EQ((*before)(), 1.5);
    EXPECT_EQ((*after)(), 9.0);
    EXPECT_EQ(tree_printer::shape(removed.get()), "0");
    EXPECT_EQ(message.errors, (Faults{{3, 1}}));  // an unknown function again
}

TEST_F(HostFunctions, AKeyAndAFunctionMayShareAName)
{
    double gain = 4;
    ASSERT_TRUE(parser.insertKey("gain", &gain));
    ASSERT_TRUE(parser.defineFunction("gain", 1, thrice));
    std::unique_ptr<FunctionFloatBase> tree = parse("gain(2)*gain + gain (1)");
    EXPECT_TRUE(message.errors.empty());
    EXPECT_EQ((*tree)(), 6 * 4 + 3);
}

// The position rules hold for calls as for every other form: the running
// position ends at the text's length.
TEST_F(HostFunctions, WrongCallsAndTheirFaults)
{
    const int operand = PARSE_BAD_OPERAND, bracket = PARSE_BAD_BRACKET;
    const struct {
        const char* text;
        const char* shape;
        Faults faults{};
        int errorCode = PARSE_OK;
    } cases[] = {
        {"lerp(1,2)", "0", {{0, 9}}, operand},
        {"x+lerp(foo,2,3,4)", "Add(x,0)", {{2, 15}}, operand},  // nothing inside is parsed
        {"seed(1)", "0", {{0, 7}}, operand},
        {"half()", "0", {{0, 6}}, operand},
        {"w8(1,2,3,4,5,6,7,8,9)", "0", {{0, 21}}, operand},
        {"half(x))", "Host(0)", {{6, 1}}, bracket},  // like sin(x))
        {"half((x,y))", "Host(0)", {{6, 3}}, operand},  // one argument, (x,y)
        {"half", "0", {{0, 4}}, operand},
        {"half(x)", "Host(x)"},
        {"half{x}", "Host(x)"},
        {"seed()", "Host()"},
        {"lerp(,,)", "Host(0,0,0)"},
        {"lerp(1,2,foo)", "Host(1,2,0)", {{9, 3}}, operand},
        {"2half(x)y", "Mul(2,Mul(Host(x),y))"},
        {"half(rnd(1))", "Host(Rnd(1,0))", {{11, 1}}, operand},  // no key "t"
    };
    for (const auto& t : cases) {
        std::unique_ptr<FunctionFloatBase> tree = parse(t.text);
        EXPECT_EQ(tree_printer::shape(tree.get()), t.shape) << t.text;
        EXPECT_EQ(std::tie(message.errors, message.errorCode), std::tie(t.faults, t.errorCode)) << t.text;
        const int end =
            static_cast<int>(message.text.size()) + (message.text.find("rnd") != std::string::npos);
        EXPECT_EQ(message.position, end) << t.text;
    }
}

TEST_F(HostFunctions, VariableDiscoveryLooksThroughCallArguments)
{
    std::unique_ptr<FunctionFloatBase> tree = parse("lerp(b, a, half(b+c)) + seed() + w8(y,y,y,y,y,y,y,x)");
    std::vector<std::string> names;
    for (const FunctionParserBase::keyStruct* key : parser.getAllVars(tree.get()))
        names.push_back(key ? key->name : "(null)");
    EXPECT_EQ(names, (std::vector<std::string>{"b", "a", "c", "y", "x"}));
}

double failing(const double*, void*) { throw std::runtime_error("no table for this value"); }

// The tree and the interpreter let an exception pass to their caller, batches
// included; native code cannot be unwound, so there the call ends the
// program with the exception's message instead of anything undefined.
TEST_F(HostFunctions, WhatAFunctionThrowsReachesTheCallerOrEndsNativeCode)
{
    ASSERT_TRUE(parser.defineFunction("lookup", 1, failing));
    std::unique_ptr<FunctionFloatBase> tree = parse("1+lookup(x)");
    EXPECT_THROW((*tree)(), std::runtime_error);
    const exprcurve::CompiledExpression interpreted(tree.get(),
                                                    exprcurve::CompiledExpression::Backend::Interpreter);
    EXPECT_THROW(interpreted(), std::runtime_error);
    const double xs[] = {1, 2, 3};
    const exprcurve::Column column{&values[0], xs};
    double results[3];
    EXPECT_THROW(interpreted.evaluate(3, &column, 1, results), std::runtime_error);
    EXPECT_EQ(values[0], 0.1);  // nothing left written
    EXPECT_THROW((*tree)(), std::runtime_error);  // the tree is unharmed
    const exprcurve::CompiledExpression native(tree.get());
    if (native.usesNativeCode()) {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        EXPECT_DEATH(native(), "no table for this value");
    }
}

}  // namespace
