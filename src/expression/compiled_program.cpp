// The one table of the operations a compiled program performs.
#include "compiled_program.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <math.h>  // j0, j1

#include "functionfloatoperations.h"

namespace exprcurve {
namespace compiled {
namespace {
using namespace exprcurve::operations;
}  // namespace

// Unary entries in the order of Operation, then the binary ones. Each calls
// exactly what its node class calls.
constexpr OperationInfo operationTable[] = {
    {"not", logicalNot, nullptr},
    {"j0", [](double x) { return ::j0(x); }, nullptr},
    {"j1", [](double x) { return ::j1(x); }, nullptr},
    {"floor", [](double x) { return std::floor(x); }, nullptr},
    {"ceil", [](double x) { return std::ceil(x); }, nullptr},
    {"tan", [](double x) { return std::tan(x); }, nullptr},
    {"sin", [](double x) { return std::sin(x); }, nullptr},
    {"cos", [](double x) { return std::cos(x); }, nullptr},
    {"tanh", [](double x) { return std::tanh(x); }, nullptr},
    {"sinh", [](double x) { return std::sinh(x); }, nullptr},
    {"cosh", [](double x) { return std::cosh(x); }, nullptr},
    {"atan", [](double x) { return std::atan(x); }, nullptr},
    {"asin", [](double x) { return std::asin(x); }, nullptr},
    {"acos", [](double x) { return std::acos(x); }, nullptr},
    {"sqrt", [](double x) { return std::sqrt(x); }, nullptr},
    {"abs", flipSignUnlessPositive, nullptr},
    {"log", [](double x) { return std::log(x); }, nullptr},
    {"log10", [](double x) { return std::log10(x); }, nullptr},
    {"exp", [](double x) { return std::exp(x); }, nullptr},
    {"+", nullptr, [](double a, double b) { return a + b; }},
    {"-", nullptr, [](double a, double b) { return a - b; }},
    {"*", nullptr, [](double a, double b) { return a * b; }},
    {"/", nullptr, [](double a, double b) { return a / b; }},
    {"^", nullptr, [](double a, double b) { return std::pow(a, b); }},
    {"&", nullptr, logicalAnd},
    {"|", nullptr, logicalOr},
    {"=", nullptr, equal},
    {">", nullptr, greater},
    {"<", nullptr, less},
    {"max", nullptr, maximum},
    {"min", nullptr, minimum},
};

static_assert(std::size(operationTable) == static_cast<std::size_t>(Operation::count),
              "one table entry per operation");

bool readsInput(const Instruction& instruction, bool second, Input* input)
{
    const Operand& operand = second ? instruction.second : instruction.first;
    Form kind = Form::Variable;
    switch (instruction.step) {
    case Step::Load:
    case Step::Unary:
        if (second)
            return false;
        kind = instruction.form;
        break;
    case Step::Binary:
        switch (instruction.form) {
        case Form::AccVariable:
        case Form::ConstantVariable:
            if (!second)
                return false;
            break;
        case Form::VariableAcc:
        case Form::VariableConstant:
            if (second)
                return false;
            break;
        case Form::VariableVariable:
            break;
        default:
            return false;
        }
        break;
    default:
        return false;
    }
    if (kind != Form::Variable && kind != Form::FloatVariable && kind != Form::IntVariable &&
        kind != Form::BoolVariable)
        return false;
    *input = Input{operand.variable, kind};
    if (kind == Form::FloatVariable)
        input->address = operand.floatVariable;
    else if (kind == Form::IntVariable)
        input->address = operand.intVariable;
    else if (kind == Form::BoolVariable)
        input->address = operand.boolByte;
    return true;
}

std::vector<Input> inputsOf(const Program& program)
{
    std::vector<Input> inputs;
    for (const Instruction& instruction : program) {
        for (const bool second : {false, true}) {
            Input input;
            if (!readsInput(instruction, second, &input))
                continue;
            const bool known = std::any_of(inputs.begin(), inputs.end(), [&](const Input& seen) {
                return seen.address == input.address && seen.kind == input.kind;
            });
            if (!known)
                inputs.push_back(input);
        }
    }
    return inputs;
}

int stackEffect(const Instruction& instruction)
{
    const int pushed = instruction.pushFirst ? 1 : 0;
    switch (instruction.step) {
    case Step::Push:
        return 1;
    case Step::Binary:
        return instruction.form == Form::StackAcc || instruction.form == Form::AccStack ? pushed - 1 : pushed;
    default:
        return 0;
    }
}

}  // namespace compiled
}  // namespace exprcurve
