// Evaluation rules of the operator nodes: tolerances, NaN and signed zero,
// and the math library results they pass through unchanged.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

#include <math.h>

#include "functionfloatbase.h"

namespace {

using NodePtr = std::unique_ptr<FunctionFloatBase>;

template <class Node>
NodePtr nodeOf(double a, double b)
{
    auto* node = new Node;
    if constexpr (std::is_base_of_v<FunctionFloatUnary, Node>) {
        node->arg = new FunctionFloatConstant(a);
    } else {
        node->arg1 = new FunctionFloatConstant(a);
        node->arg2 = new FunctionFloatConstant(b);
    }
    return NodePtr(node);
}

// Poles, overflow and domain errors included: log(-0), exp(1000), sqrt(-1),
// acos(2). Called at run time, as the nodes call them: the compiler's folding
// of calls on constants may round differently.
std::vector<std::vector<double>> libraryResults(double (*function)(double))
{
    std::vector<std::vector<double>> rows;
    for (volatile double x : {-0.0, 0.5, -1.0, 2.0, 1000.0})
        rows.push_back({x, function(x)});
    return rows;
}
#define LIBRARY(Node, function) {#function, nodeOf<FunctionFloat##Node>, libraryResults(function)},

TEST(Operators, EdgeCasesAndLibraryResults)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    const double tolerance = std::ldexp(1.0, -52);
    const struct {
        const char* name;
        NodePtr (*make)(double, double);
        std::vector<std::vector<double>> operandsAndResult;  // x, result or a, b, result
    } operators[] = {
        {"not", nodeOf<FunctionFloatNeg>,
         {{0.0, 1.0}, {1e-17, 1.0}, {-tolerance / 2, 1.0}, {tolerance, 0.0}, {-3.0, 0.0}, {nan, 0.0}}},
        {"abs", nodeOf<FunctionFloatAbs>,
         {{-2.0, 2.0}, {3.0, 3.0}, {0.0, -0.0}, {-0.0, 0.0}, {-infinity, infinity}, {nan, nan}}},
        {"+", nodeOf<FunctionFloatAdd>, {{0.1, 0.2, 0.30000000000000004}}},
        {"-", nodeOf<FunctionFloatSub>, {{2.0, 5.0, -3.0}}},
        {"*", nodeOf<FunctionFloatMul>, {{3.0, -0.0, -0.0}}},
        {"^", nodeOf<FunctionFloatPow>, {{2.0, 10.0, 1024.0}, {-8.0, 1.0 / 3.0, nan}}},
        {"/", nodeOf<FunctionFloatDiv>, {{1.0, 0.0, infinity}, {1.0, -0.0, -infinity}, {0.0, 0.0, nan}}},
        {"=", nodeOf<FunctionFloatEql>,
         {{0.1 + 0.2, 0.3, 1.0}, {1.0, 1.0 + tolerance, 0.0}, {0.0, tolerance / 2, 1.0},
          {1e20, 1e20 + 1e4, 0.0}, {nan, nan, 0.0}}},
        {"|", nodeOf<FunctionFloatOr>,
         {{1.0, -1.0, 0.0}, {1.0, 0.0, 1.0}, {tolerance, 0.0, 0.0}, {-3.0, 0.0, 1.0}}},
        // 2^-26 squares to the tolerance.
        {"&", nodeOf<FunctionFloatAnd>,
         {{2.0, 0.5, 1.0}, {1e-10, 1e-10, 0.0}, {-1.0, 1.0, 1.0}, {0x1p-26, 0x1p-26, 0.0}, {1.0, 0.0, 0.0}}},
        {">", nodeOf<FunctionFloatGrt>, {{2.0, 1.0, 1.0}, {1.0, 1.0, 0.0}, {nan, 1.0, 0.0}, {1.0, nan, 0.0}}},
        {"<", nodeOf<FunctionFloatLss>, {{1.0, 2.0, 1.0}, {2.0, 1.0, 0.0}, {nan, 1.0, 0.0}}},
        // max and min answer b whenever their comparison is false.
        {"max", nodeOf<FunctionFloatMax>,
         {{3.0, 2.0, 3.0}, {1.0, nan, nan}, {nan, 1.0, 1.0}, {0.0, -0.0, -0.0}}},
        {"min", nodeOf<FunctionFloatMin>,
         {{2.0, 3.0, 2.0}, {1.0, nan, nan}, {nan, 1.0, 1.0}, {0.0, -0.0, -0.0}}},
        LIBRARY(J0, ::j0)
        LIBRARY(J1, ::j1)
        LIBRARY(Floor, std::floor)
        LIBRARY(Ceil, std::ceil)
        LIBRARY(Tan, std::tan)
        LIBRARY(Sin, std::sin)
        LIBRARY(Cos, std::cos)
        LIBRARY(TanH, std::tanh)
        LIBRARY(SinH, std::sinh)
        LIBRARY(CosH, std::cosh)
        LIBRARY(ATan, std::atan)
        LIBRARY(ASin, std::asin)
        LIBRARY(ACos, std::acos)
        LIBRARY(Sqrt, std::sqrt)
        LIBRARY(Log, std::log)
        LIBRARY(L10, std::log10)
        LIBRARY(Exp, std::exp)
    };
#undef LIBRARY
    for (const auto& op : operators) {
        for (const std::vector<double>& c : op.operandsAndResult) {
            const double result = (*op.make(c[0], c[1]))();
            // Any NaN matches any NaN: the math library chooses its sign and payload.
            const bool same = std::memcmp(&result, &c.back(), sizeof result) == 0;
            EXPECT_TRUE(same || (std::isnan(result) && std::isnan(c.back())))
                << op.name << " " << c[0] << " " << c[1] << " gave " << result << ", expected " << c.back();
        }
    }
}

}  // namespace

namespace {

// Records the order in which the random node reads its children.
struct OrderProbe : FunctionFloatBase {
    OrderProbe(int id, std::vector<int>& log) : id(id), log(log) {}
    double operator()() const override
    {
        log.push_back(id);
        return 0.5;
    }
    int id;
    std::vector<int>& log;
};

TEST(RandomNode, ReadsThePositionBeforeTheAmplitude)
{
    std::vector<int> log;
    FunctionFloatRnd noise;
    noise.arg1 = new OrderProbe(1, log);
    noise.arg2 = new OrderProbe(2, log);
    noise();
    EXPECT_EQ(log, (std::vector<int>{2, 1}));
}

}  // namespace
