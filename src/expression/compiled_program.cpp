// The operations of compiled programs: each is the operation of one node
// class, its value rule the one the built-in table gives that class.
#include "compiled_program.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "functionfloatbase.h"

namespace exprcurve {
namespace compiled {
namespace {

// The node class of each operation, in the order of Operation.
constexpr const char* classNames[] = {
    "Neg", "J0", "J1", "Floor", "Ceil", "Tan", "Sin", "Cos", "TanH", "SinH", "CosH", "ATan", "ASin", "ACos", "Sqrt",
    "Abs", "Log", "L10", "Exp",
    "Add", "Sub", "Mul", "Div", "Pow", "And", "Or", "Eql", "Grt", "Lss", "Max", "Min",
};

static_assert(std::size(classNames) == static_cast<std::size_t>(Operation::count), "one class per operation");

using Rows = std::array<const BuiltinOperation*, static_cast<std::size_t>(Operation::count)>;

Rows findRows()
{
    Rows rows{};
    for (std::size_t index = 0; index < rows.size(); ++index) {
        for (const BuiltinOperation& row : builtinOperations) {
            if (std::strcmp(row.className, classNames[index]) == 0)
                rows[index] = &row;
        }
    }
    return rows;
}

}  // namespace

const BuiltinOperation& info(Operation operation)
{
    static const Rows rows = findRows();
    return *rows[static_cast<std::size_t>(operation)];
}

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
    case Step::HostCall: {
        const unsigned int arity = static_cast<const FunctionFloatHostCall*>(instruction.first.node)->arity;
        return pushed - (arity > 0 ? static_cast<int>(arity) - 1 : 0);
    }
    case Step::Binary:
        return instruction.form == Form::StackAcc || instruction.form == Form::AccStack ? pushed - 1 : pushed;
    default:
        return 0;
    }
}

}  // namespace compiled
}  // namespace exprcurve
