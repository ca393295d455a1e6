// Evaluation rules of the operator nodes: tolerances, NaN and signed zero,
// and the math library results they pass through unchanged.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <math.h>

#include "functionfloatbase.h"

namespace {

using NodePtr = std::unique_ptr<FunctionFloatBase>;

const double nan = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();
const double tolerance = 2.220446049250313e-16;  // 2^-52

// Same value to the bit, except that any NaN matches any NaN (the math
// library is free to choose the sign and payload of the NaN it returns).
::testing::AssertionResult sameDouble(double actual, double expected)
{
    if (std::isnan(actual) && std::isnan(expected)) {
        return ::testing::AssertionSuccess();
    }
    std::uint64_t actualBits;
    std::uint64_t expectedBits;
    std::memcpy(&actualBits, &actual, sizeof actual);
    std::memcpy(&expectedBits, &expected, sizeof expected);
    if (actualBits == expectedBits) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << "got " << actual << " (bits " << std::hex << actualBits << "), expected "
           << expected << " (bits " << expectedBits << ")";
}

template <class Node>
NodePtr unaryOf(double x)
{
    auto* node = new Node;
    node->arg = new FunctionFloatConstant(x);
    return NodePtr(node);
}

template <class Node>
NodePtr binaryOf(double a, double b)
{
    auto* node = new Node;
    node->arg1 = new FunctionFloatConstant(a);
    node->arg2 = new FunctionFloatConstant(b);
    return NodePtr(node);
}

struct UnaryCase {
    std::string name;
    std::function<NodePtr(double)> make;
    double x;
    double expected;
};

TEST(UnaryOperators, EdgeCases)
{
    const UnaryCase cases[] = {
        {"not 0", unaryOf<FunctionFloatNeg>, 0.0, 1.0},
        {"not 1e-17", unaryOf<FunctionFloatNeg>, 1e-17, 1.0},
        {"not -2^-53", unaryOf<FunctionFloatNeg>, -tolerance / 2, 1.0},
        {"not 2^-52", unaryOf<FunctionFloatNeg>, tolerance, 0.0},
        {"not -3", unaryOf<FunctionFloatNeg>, -3.0, 0.0},
        {"not NaN", unaryOf<FunctionFloatNeg>, nan, 0.0},
        {"abs -2", unaryOf<FunctionFloatAbs>, -2.0, 2.0},
        {"abs 3", unaryOf<FunctionFloatAbs>, 3.0, 3.0},
        {"abs 0", unaryOf<FunctionFloatAbs>, 0.0, -0.0},
        {"abs -0", unaryOf<FunctionFloatAbs>, -0.0, 0.0},
        {"abs -inf", unaryOf<FunctionFloatAbs>, -infinity, infinity},
        {"abs NaN", unaryOf<FunctionFloatAbs>, nan, nan},
        {"sqrt -1", unaryOf<FunctionFloatSqrt>, -1.0, nan},
        {"asin 2", unaryOf<FunctionFloatASin>, 2.0, nan},
        {"acos -2", unaryOf<FunctionFloatACos>, -2.0, nan},
        {"log -1", unaryOf<FunctionFloatLog>, -1.0, nan},
        {"log 0", unaryOf<FunctionFloatLog>, 0.0, -infinity},
        {"log10 0", unaryOf<FunctionFloatL10>, 0.0, -infinity},
        {"exp 1000", unaryOf<FunctionFloatExp>, 1000.0, infinity},
        {"floor -0.5", unaryOf<FunctionFloatFloor>, -0.5, -1.0},
        {"ceil -0.5", unaryOf<FunctionFloatCeil>, -0.5, -0.0},
    };
    for (const UnaryCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_TRUE(sameDouble((*c.make(c.x))(), c.expected));
    }
}

struct MathCase {
    std::string name;
    std::function<NodePtr(double)> make;
    std::function<double(double)> libm;
};

TEST(UnaryOperators, MathFunctionsGiveTheLibraryResult)
{
    const MathCase functions[] = {
        {"j0", unaryOf<FunctionFloatJ0>, [](double x) { return ::j0(x); }},
        {"j1", unaryOf<FunctionFloatJ1>, [](double x) { return ::j1(x); }},
        {"floor", unaryOf<FunctionFloatFloor>, [](double x) { return std::floor(x); }},
        {"ceil", unaryOf<FunctionFloatCeil>, [](double x) { return std::ceil(x); }},
        {"tan", unaryOf<FunctionFloatTan>, [](double x) { return std::tan(x); }},
        {"sin", unaryOf<FunctionFloatSin>, [](double x) { return std::sin(x); }},
        {"cos", unaryOf<FunctionFloatCos>, [](double x) { return std::cos(x); }},
        {"tanh", unaryOf<FunctionFloatTanH>, [](double x) { return std::tanh(x); }},
        {"sinh", unaryOf<FunctionFloatSinH>, [](double x) { return std::sinh(x); }},
        {"cosh", unaryOf<FunctionFloatCosH>, [](double x) { return std::cosh(x); }},
        {"atan", unaryOf<FunctionFloatATan>, [](double x) { return std::atan(x); }},
        {"asin", unaryOf<FunctionFloatASin>, [](double x) { return std::asin(x); }},
        {"acos", unaryOf<FunctionFloatACos>, [](double x) { return std::acos(x); }},
        {"sqrt", unaryOf<FunctionFloatSqrt>, [](double x) { return std::sqrt(x); }},
        {"log", unaryOf<FunctionFloatLog>, [](double x) { return std::log(x); }},
        {"log10", unaryOf<FunctionFloatL10>, [](double x) { return std::log10(x); }},
        {"exp", unaryOf<FunctionFloatExp>, [](double x) { return std::exp(x); }},
    };
    for (const MathCase& function : functions) {
        for (double x : {-0.0, 0.0, 0.5, -0.75, 1.0, 2.5, -7.125, 100.0, 1e-300, nan, infinity}) {
            SCOPED_TRACE(function.name + "(" + std::to_string(x) + ")");
            EXPECT_TRUE(sameDouble((*function.make(x))(), function.libm(x)));
        }
    }
}

struct BinaryCase {
    std::string name;
    std::function<NodePtr(double, double)> make;
    double a;
    double b;
    double expected;
};

TEST(BinaryOperators, EdgeCases)
{
    const BinaryCase cases[] = {
        {"2 - 5", binaryOf<FunctionFloatSub>, 2.0, 5.0, -3.0},
        {"6 / 4", binaryOf<FunctionFloatDiv>, 6.0, 4.0, 1.5},
        {"1 / 0", binaryOf<FunctionFloatDiv>, 1.0, 0.0, infinity},
        {"1 / -0", binaryOf<FunctionFloatDiv>, 1.0, -0.0, -infinity},
        {"0 / 0", binaryOf<FunctionFloatDiv>, 0.0, 0.0, nan},
        {"0.1 + 0.2", binaryOf<FunctionFloatAdd>, 0.1, 0.2, 0.30000000000000004},
        {"3 * -0", binaryOf<FunctionFloatMul>, 3.0, -0.0, -0.0},
        {"2 ^ 10", binaryOf<FunctionFloatPow>, 2.0, 10.0, 1024.0},
        {"2 ^ 0.5", binaryOf<FunctionFloatPow>, 2.0, 0.5, std::pow(2.0, 0.5)},
        {"-8 ^ (1/3)", binaryOf<FunctionFloatPow>, -8.0, 1.0 / 3.0, nan},
        {"0.1+0.2 = 0.3", binaryOf<FunctionFloatEql>, 0.1 + 0.2, 0.3, 1.0},
        {"1 = 1+2^-52", binaryOf<FunctionFloatEql>, 1.0, 1.0000000000000002, 0.0},
        {"0 = 2^-53", binaryOf<FunctionFloatEql>, 0.0, tolerance / 2, 1.0},
        {"1e20 = 1e20+1e4", binaryOf<FunctionFloatEql>, 1e20, 1e20 + 1e4, 0.0},
        {"NaN = NaN", binaryOf<FunctionFloatEql>, nan, nan, 0.0},
        {"1 | -1", binaryOf<FunctionFloatOr>, 1.0, -1.0, 0.0},
        {"1 | 0", binaryOf<FunctionFloatOr>, 1.0, 0.0, 1.0},
        {"2^-52 | 0", binaryOf<FunctionFloatOr>, tolerance, 0.0, 0.0},
        {"-3 | 0", binaryOf<FunctionFloatOr>, -3.0, 0.0, 1.0},
        {"2 & 0.5", binaryOf<FunctionFloatAnd>, 2.0, 0.5, 1.0},
        {"1e-10 & 1e-10", binaryOf<FunctionFloatAnd>, 1e-10, 1e-10, 0.0},
        {"2^-26 & 2^-26", binaryOf<FunctionFloatAnd>, std::ldexp(1.0, -26), std::ldexp(1.0, -26), 0.0},
        {"-1 & 1", binaryOf<FunctionFloatAnd>, -1.0, 1.0, 1.0},
        {"1 & 0", binaryOf<FunctionFloatAnd>, 1.0, 0.0, 0.0},
        {"2 > 1", binaryOf<FunctionFloatGrt>, 2.0, 1.0, 1.0},
        {"1 > 1", binaryOf<FunctionFloatGrt>, 1.0, 1.0, 0.0},
        {"NaN > 1", binaryOf<FunctionFloatGrt>, nan, 1.0, 0.0},
        {"1 > NaN", binaryOf<FunctionFloatGrt>, 1.0, nan, 0.0},
        {"1 < 2", binaryOf<FunctionFloatLss>, 1.0, 2.0, 1.0},
        {"2 < 1", binaryOf<FunctionFloatLss>, 2.0, 1.0, 0.0},
        {"NaN < 1", binaryOf<FunctionFloatLss>, nan, 1.0, 0.0},
        {"max(3, 2)", binaryOf<FunctionFloatMax>, 3.0, 2.0, 3.0},
        {"max(2, 3)", binaryOf<FunctionFloatMax>, 2.0, 3.0, 3.0},
        {"max(1, NaN)", binaryOf<FunctionFloatMax>, 1.0, nan, nan},
        {"max(NaN, 1)", binaryOf<FunctionFloatMax>, nan, 1.0, 1.0},
        {"max(0, -0)", binaryOf<FunctionFloatMax>, 0.0, -0.0, -0.0},
        {"max(-0, 0)", binaryOf<FunctionFloatMax>, -0.0, 0.0, 0.0},
        {"min(2, 3)", binaryOf<FunctionFloatMin>, 2.0, 3.0, 2.0},
        {"min(3, 2)", binaryOf<FunctionFloatMin>, 3.0, 2.0, 2.0},
        {"min(1, NaN)", binaryOf<FunctionFloatMin>, 1.0, nan, nan},
        {"min(NaN, 1)", binaryOf<FunctionFloatMin>, nan, 1.0, 1.0},
        {"min(0, -0)", binaryOf<FunctionFloatMin>, 0.0, -0.0, -0.0},
    };
    for (const BinaryCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_TRUE(sameDouble((*c.make(c.a, c.b))(), c.expected));
    }
}

// A leaf that counts how often it is evaluated.
class CountingConstant : public FunctionFloatConstant {
public:
    explicit CountingConstant(double value) : FunctionFloatConstant(value) {}
    double operator()() const override
    {
        ++evaluations;
        return value;
    }
    mutable int evaluations = 0;
};

struct IfCase {
    double condition;
    bool selectsSecond;
};

TEST(IfOperator, TestsForExactZeroAndEvaluatesOnlyTheSelectedBranch)
{
    const IfCase cases[] = {
        {1.0, true}, {1e-17, true}, {-2.0, true}, {nan, true}, {infinity, true},
        {0.0, false}, {-0.0, false},
    };
    for (const IfCase& c : cases) {
        SCOPED_TRACE(c.condition);
        FunctionFloatIf node;
        auto* second = new CountingConstant(20.0);
        auto* third = new CountingConstant(30.0);
        node.arg1 = new FunctionFloatConstant(c.condition);
        node.arg2 = second;
        node.arg3 = third;
        EXPECT_EQ(node(), c.selectsSecond ? 20.0 : 30.0);
        EXPECT_EQ(second->evaluations, c.selectsSecond ? 1 : 0);
        EXPECT_EQ(third->evaluations, c.selectsSecond ? 0 : 1);
    }
}

TEST(Operators, ChildrenAreEvaluatedAnewEveryTime)
{
    double x = 0.25;
    FunctionFloatMul node;
    node.arg1 = new FunctionFloatVariableDouble(&x);
    node.arg2 = new FunctionFloatConstant(4.0);
    EXPECT_EQ(node(), 1.0);
    x = -2.0;
    EXPECT_EQ(node(), -8.0);
}

}  // namespace
