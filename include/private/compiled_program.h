// The program of a compiled expression (internal, not installed): the
// operations it can perform, its opcodes and instructions. The interpreter
// and the native code generator both work from these definitions.
//
// The operation of each instruction is named once, in the operation lists
// below: the math-library call or IEEE operation the node class makes, or
// the shared rule of functionfloatoperations.h it evaluates through. The
// opcodes, the dispatch cases and the compiler's tables are generated from
// those lists.
#ifndef EXPRCURVE_PRIVATE_COMPILEDPROGRAM_H
#define EXPRCURVE_PRIVATE_COMPILEDPROGRAM_H

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <math.h>  // j0, j1
#include <optional>
#include <vector>

#include "compiledexpression.h"
#include "functionfloatoperations.h"

class FunctionFloatBase;

namespace exprcurve {
namespace compiled {

// ---------------------------------------------------------------- operations

using namespace exprcurve::operations;

inline double add(double a, double b) { return a + b; }
inline double subtract(double a, double b) { return a - b; }
inline double multiply(double a, double b) { return a * b; }
inline double divide(double a, double b) { return a / b; }
inline double power(double a, double b) { return std::pow(a, b); }

// Values a program may keep waiting for right operands; 512 bytes of the
// evaluation frame.
constexpr int stackCapacity = 64;

// X(name of the node class's query, the operation)
#define EXPRCURVE_UNARY_OPERATIONS(X)                                                    \
    X(Neg, logicalNot) X(J0, ::j0) X(J1, ::j1) X(Floor, std::floor) X(Ceil, std::ceil) \
    X(Tan, std::tan) X(Sin, std::sin) X(Cos, std::cos) X(TanH, std::tanh)              \
    X(SinH, std::sinh) X(CosH, std::cosh) X(ATan, std::atan) X(ASin, std::asin)        \
    X(ACos, std::acos) X(Sqrt, std::sqrt) X(Abs, flipSignUnlessPositive)               \
    X(Log, std::log) X(L10, std::log10) X(Exp, std::exp)

#define EXPRCURVE_BINARY_OPERATIONS(X)                                                  \
    X(Add, add) X(Sub, subtract) X(Mul, multiply) X(Div, divide) X(Pow, power)         \
    X(And, logicalAnd) X(Or, logicalOr) X(Eql, equal) X(Grt, greater) X(Lss, less)     \
    X(Max, maximum) X(Min, minimum)

// ---------------------------------------------------------------- instructions

// Where a binary instruction finds its operands: "Acc" is the accumulator,
// "Stack" the value popped from the stack (always the left operand),
// "Variable" a double read through its address, "Constant" a copied value.
// The "Push" forms first push the accumulator, saving a dispatch whenever a
// left value has to wait for a right operand made of two leaves.
#define EXPRCURVE_BINARY_FORMS(X, NAME)                                               \
    X(NAME, StackAcc) X(NAME, AccConstant) X(NAME, AccVariable) X(NAME, ConstantAcc) \
    X(NAME, VariableAcc) X(NAME, VariableVariable) X(NAME, VariableConstant)         \
    X(NAME, ConstantVariable) X(NAME, PushVariableVariable)                          \
    X(NAME, PushVariableConstant) X(NAME, PushConstantVariable)

enum class Form { StackAcc, AccConstant, AccVariable, ConstantAcc, VariableAcc,
                  VariableVariable, VariableConstant, ConstantVariable, PushVariableVariable,
                  PushVariableConstant, PushConstantVariable, count };

// The push form of each form that reads two leaves.
inline Form pushing(Form form)
{
    switch (form) {
    case Form::VariableVariable:
        return Form::PushVariableVariable;
    case Form::VariableConstant:
        return Form::PushVariableConstant;
    default:
        return Form::PushConstantVariable;
    }
}

// The two-leaf form that a push form continues with, or no value for a form
// that pushes nothing.
inline std::optional<Form> afterPush(Form form)
{
    switch (form) {
    case Form::PushVariableVariable:
        return Form::VariableVariable;
    case Form::PushVariableConstant:
        return Form::VariableConstant;
    case Form::PushConstantVariable:
        return Form::ConstantVariable;
    default:
        return std::nullopt;
    }
}

#define EXPRCURVE_UNARY_OPCODES(NAME, OPERATION) NAME, NAME##OfVariable,
#define EXPRCURVE_FORM_OPCODE(NAME, FORM) NAME##FORM,
#define EXPRCURVE_BINARY_OPCODES(NAME, OPERATION) EXPRCURVE_BINARY_FORMS(EXPRCURVE_FORM_OPCODE, NAME)

// The program ends after its last instruction; jumps may target that end.
enum class Opcode : std::uint8_t {
    Push,                // pushes the accumulator
    Jump,                // to `first.target`
    JumpIfZero,          // to `first.target` when the accumulator is 0.0 or -0.0
    Constant,            // loads `first.constant`
    VariableDouble,      // loads through `first.variable`
    VariableFloat,
    VariableInt,
    VariableBool,
    CallNode,            // evaluates `first.node` through the tree
    EXPRCURVE_UNARY_OPERATIONS(EXPRCURVE_UNARY_OPCODES)
    EXPRCURVE_BINARY_OPERATIONS(EXPRCURVE_BINARY_OPCODES)
};

union Operand {
    double constant;
    const double* variable;
    const float* floatVariable;
    const int* intVariable;
    const unsigned char* boolByte;
    const FunctionFloatBase* node;
    std::size_t target;
};

}  // namespace compiled

struct CompiledExpression::Instruction {
    compiled::Opcode opcode;
    compiled::Operand first;
    compiled::Operand second;
};

namespace compiled {
using Instruction = CompiledExpression::Instruction;
using Program = std::vector<Instruction>;
}  // namespace compiled

}  // namespace exprcurve

#endif  // EXPRCURVE_PRIVATE_COMPILEDPROGRAM_H
