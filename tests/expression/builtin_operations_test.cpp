// The table of built-ins: each row's class, query and value rule belong
// together, and the operators stand in the parser's order.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <set>
#include <string>

#include "builtinoperations.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"

namespace {

using exprcurve::BuiltinOperation;
using exprcurve::builtinOperations;

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

// Which NaN survives an operation on two NaNs is the compiler's choice.
bool same(double a, double b) { return bitsOf(a) == bitsOf(b) || (std::isnan(a) && std::isnan(b)); }

TEST(BuiltinOperations, EachRowsNodeIsRecognisedByThatRowAlone)
{
    for (const BuiltinOperation& row : builtinOperations) {
        std::unique_ptr<FunctionFloatBase> node(row.create());
        EXPECT_EQ(exprcurve::builtinOperationOf(*node), &row) << row.name;
        const bool unary = node->isUnary(), binary = node->isBinary(), ternary = node->isTernary();
        EXPECT_EQ(unary, row.unary != nullptr) << row.name;
        EXPECT_EQ(row.binary != nullptr, binary && std::string(row.name) != "rnd") << row.name;
        EXPECT_EQ(ternary, row.arity == 3) << row.name;
    }
    EXPECT_EQ(exprcurve::builtinOperationOf(FunctionFloatConstant(1)), nullptr);
    EXPECT_EQ(exprcurve::builtinOperationOf(FunctionFloatHostCall()), nullptr);
}

TEST(BuiltinOperations, OperatorsLeadLoosestFirstAndFunctionsAreFoundByExactName)
{
    const functionType loosestFirst[] = {FT_OR,  FT_AND, FT_EQL, FT_GRT, FT_LSS,
                                         FT_ADD, FT_SUB, FT_MUL, FT_DIV, FT_POW};
    for (std::size_t i = 0; i < 10; ++i) {
        EXPECT_TRUE(builtinOperations[i].isOperator);
        EXPECT_EQ(builtinOperations[i].name, std::string(1, tableInfo[loosestFirst[i]].opChar));
    }
    std::set<std::string> names;
    for (std::size_t i = 10; i < exprcurve::builtinOperationCount; ++i) {
        const BuiltinOperation& row = builtinOperations[i];
        EXPECT_FALSE(row.isOperator);
        EXPECT_EQ(exprcurve::findBuiltinFunction(row.name), &row);
        names.insert(row.name);
    }
    EXPECT_EQ(names.size(), 23u);
    for (const char* name : {"+", "sinh(", "Sin", "", "lo"})
        EXPECT_EQ(exprcurve::findBuiltinFunction(name), nullptr) << name;
}

// A row's value rule is what its node computes, bit for bit.
TEST(BuiltinOperations, ValueRulesAreTheNodesOwn)
{
    const double inputs[] = {0.0, -0.0, 0.5, -1.5, 2.0, 1e-17, 1e300, NAN, INFINITY};
    for (const BuiltinOperation& row : builtinOperations) {
        std::unique_ptr<FunctionFloatBase> node(row.create());
        for (double a : inputs) {
            for (double b : inputs) {
                if (row.unary) {
                    auto& unary = static_cast<FunctionFloatUnary&>(*node);
                    unary.arg = new FunctionFloatConstant(a);
                    const double value = (*node)();
                    EXPECT_TRUE(same(value, row.unary(a))) << row.name << a;
                    delete unary.arg;
                    unary.arg = nullptr;
                } else if (row.binary) {
                    auto& binary = static_cast<FunctionFloatBinary&>(*node);
                    binary.arg1 = new FunctionFloatConstant(a);
                    binary.arg2 = new FunctionFloatConstant(b);
                    const double value = (*node)();
                    EXPECT_TRUE(same(value, row.binary(a, b))) << row.name << a << b;
                    delete binary.arg1;
                    delete binary.arg2;
                    binary.arg1 = binary.arg2 = nullptr;
                }
            }
        }
    }
}

}  // namespace
