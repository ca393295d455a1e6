// Evaluation rules of the operator nodes: tolerances, NaN and signed zero,
// the math library results they pass through unchanged, and the noise of
// the random node.
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>
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
    std::uint64_t actualBits;
    std::uint64_t expectedBits;
    std::memcpy(&actualBits, &actual, sizeof actual);
    std::memcpy(&expectedBits, &expected, sizeof expected);
    if (actualBits == expectedBits || (std::isnan(actual) && std::isnan(expected))) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "got " << actual << " (bits " << std::hex
                                         << actualBits << "), expected " << expected;
}

template <class Node>
NodePtr unaryOf(double x, double /*unused*/)
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

struct OperatorCases {
    const char* name;
    NodePtr (*make)(double, double);
    std::vector<std::vector<double>> operandsAndResult;  // x, result or a, b, result
};

TEST(Operators, EdgeCases)
{
    const double quarterTolerance = std::ldexp(1.0, -26);  // squares to 2^-52
    const OperatorCases operators[] = {
        {"not", unaryOf<FunctionFloatNeg>, {{0.0, 1.0}, {1e-17, 1.0}, {-tolerance / 2, 1.0},
                                            {tolerance, 0.0}, {-3.0, 0.0}, {nan, 0.0}}},
        {"abs", unaryOf<FunctionFloatAbs>, {{-2.0, 2.0}, {3.0, 3.0}, {0.0, -0.0}, {-0.0, 0.0},
                                            {-infinity, infinity}, {nan, nan}}},
        {"+", binaryOf<FunctionFloatAdd>, {{0.1, 0.2, 0.30000000000000004}}},
        {"-", binaryOf<FunctionFloatSub>, {{2.0, 5.0, -3.0}}},
        {"*", binaryOf<FunctionFloatMul>, {{3.0, -0.0, -0.0}}},
        {"/", binaryOf<FunctionFloatDiv>, {{1.0, 0.0, infinity}, {1.0, -0.0, -infinity},
                                           {0.0, 0.0, nan}}},
        {"^", binaryOf<FunctionFloatPow>, {{2.0, 10.0, 1024.0}, {-8.0, 1.0 / 3.0, nan}}},
        {"=", binaryOf<FunctionFloatEql>, {{0.1 + 0.2, 0.3, 1.0}, {1.0, 1.0 + tolerance, 0.0},
                                           {0.0, tolerance / 2, 1.0}, {1e20, 1e20 + 1e4, 0.0},
                                           {nan, nan, 0.0}}},
        {"|", binaryOf<FunctionFloatOr>, {{1.0, -1.0, 0.0}, {1.0, 0.0, 1.0},
                                          {tolerance, 0.0, 0.0}, {-3.0, 0.0, 1.0}}},
        {"&", binaryOf<FunctionFloatAnd>, {{2.0, 0.5, 1.0}, {1e-10, 1e-10, 0.0},
                                           {quarterTolerance, quarterTolerance, 0.0},
                                           {-1.0, 1.0, 1.0}, {1.0, 0.0, 0.0}}},
        {">", binaryOf<FunctionFloatGrt>, {{2.0, 1.0, 1.0}, {1.0, 1.0, 0.0}, {nan, 1.0, 0.0},
                                           {1.0, nan, 0.0}}},
        {"<", binaryOf<FunctionFloatLss>, {{1.0, 2.0, 1.0}, {2.0, 1.0, 0.0}, {nan, 1.0, 0.0}}},
        // max and min answer b whenever their comparison is false.
        {"max", binaryOf<FunctionFloatMax>, {{3.0, 2.0, 3.0}, {1.0, nan, nan}, {nan, 1.0, 1.0},
                                             {0.0, -0.0, -0.0}}},
        {"min", binaryOf<FunctionFloatMin>, {{2.0, 3.0, 2.0}, {1.0, nan, nan}, {nan, 1.0, 1.0},
                                             {0.0, -0.0, -0.0}}},
    };
    for (const OperatorCases& op : operators) {
        for (const std::vector<double>& c : op.operandsAndResult) {
            SCOPED_TRACE(::testing::Message() << op.name << " " << c[0] << " " << c[1]);
            EXPECT_TRUE(sameDouble((*op.make(c[0], c[1]))(), c.back()));
        }
    }
}

TEST(Operators, MathFunctionsGiveTheLibraryResult)
{
#define LIBRARY(Node, function) \
    {#function, unaryOf<FunctionFloat##Node>, [](double x) -> double { return function(x); }}
    const struct {
        const char* name;
        NodePtr (*make)(double, double);
        double (*library)(double);
    } functions[] = {
        LIBRARY(J0, ::j0),        LIBRARY(J1, ::j1),        LIBRARY(Floor, std::floor),
        LIBRARY(Ceil, std::ceil), LIBRARY(Tan, std::tan),   LIBRARY(Sin, std::sin),
        LIBRARY(Cos, std::cos),   LIBRARY(TanH, std::tanh), LIBRARY(SinH, std::sinh),
        LIBRARY(CosH, std::cosh), LIBRARY(ATan, std::atan), LIBRARY(ASin, std::asin),
        LIBRARY(ACos, std::acos), LIBRARY(Sqrt, std::sqrt), LIBRARY(Log, std::log),
        LIBRARY(L10, std::log10), LIBRARY(Exp, std::exp),
    };
#undef LIBRARY
    // Domain errors, poles and overflow included: sqrt(-1), asin(2), log(0).
    for (const auto& function : functions) {
        for (double x : {-0.0, 0.0, 0.5, -0.75, -1.0, 1.0, 2.0, -7.125, 1000.0, nan, infinity}) {
            SCOPED_TRACE(::testing::Message() << function.name << "(" << x << ")");
            EXPECT_TRUE(sameDouble((*function.make(x, 0.0))(), function.library(x)));
        }
    }
}

// A constant that logs its id each time it is evaluated.
class LoggedConstant : public FunctionFloatConstant {
public:
    LoggedConstant(int id, double value, std::vector<int>& log)
        : FunctionFloatConstant(value), id(id), log(log)
    {
    }
    double operator()() const override
    {
        log.push_back(id);
        return value;
    }

private:
    int id;
    std::vector<int>& log;
};

TEST(IfOperator, TestsForExactZeroAndEvaluatesOnlyTheSelectedBranch)
{
    for (double condition : {1.0, 1e-17, -2.0, nan, infinity, 0.0, -0.0}) {
        SCOPED_TRACE(condition);
        std::vector<int> log;
        FunctionFloatIf node;
        node.arg1 = new LoggedConstant(1, condition, log);
        node.arg2 = new LoggedConstant(2, 20.0, log);
        node.arg3 = new LoggedConstant(3, 30.0, log);
        const bool selectsSecond = condition != 0.0;
        EXPECT_EQ(node(), selectsSecond ? 20.0 : 30.0);
        EXPECT_EQ(log, (std::vector<int>{1, selectsSecond ? 2 : 3}));
    }
}

// These hold whatever order the random nodes of this program are made in;
// the fixed tables of the first nodes of a process are checked by a program
// of their own.
TEST(RandomNode, ReadsTheSamplesOfTheSquaredStepSymmetricallyTimesTheAmplitude)
{
    double amplitude = 1.0;
    double position = 0.0;
    FunctionFloatRnd node;
    node.arg1 = new FunctionFloatVariableDouble(&amplitude);
    node.arg2 = new FunctionFloatVariableDouble(&position);
    const auto noiseAt = [&](double t) {
        position = t;
        return node();
    };
    const std::vector<double>& table = node.randomTable;
    ASSERT_EQ(table.size(), 10000u);
    for (double sample : table) {
        ASSERT_TRUE(sample >= 0.0 && sample < 1.0) << sample;
    }
    const std::pair<double, std::size_t> wholeSteps[] = {
        {0.0, 0}, {0.001, 1}, {0.125, 15625 % 10000}, {0.375, 140625 % 10000},
        {1.0, 0}, {100000.0, 0},  // steps 1000 and 1e8: multiples of 100
        {5e6, 8384},              // step 5e9: its square wraps modulo 2^64
    };
    for (const auto& [t, sample] : wholeSteps) {
        SCOPED_TRACE(t);
        EXPECT_EQ(noiseAt(t), table[sample]);
    }
    // 0.0625 is step 62 and a half, exactly representable.
    EXPECT_EQ(noiseAt(0.0625), (table[3845] - table[3844]) * 0.5 + table[3844]);
    for (double t : {0.0005, 0.3337, 7.25, 123.456}) {
        SCOPED_TRACE(t);
        const double unit = noiseAt(t);
        EXPECT_EQ(noiseAt(-t), unit);
        amplitude = -2.5;
        EXPECT_EQ(noiseAt(t), -2.5 * unit);
        amplitude = 1.0;
    }
}

TEST(RandomNode, EvaluatesPositionBeforeAmplitude)
{
    std::vector<int> log;
    FunctionFloatRnd node;
    node.arg1 = new LoggedConstant(1, 1.0, log);
    node.arg2 = new LoggedConstant(2, 0.5, log);
    node();
    EXPECT_EQ(log, (std::vector<int>{2, 1}));
}

}  // namespace
