// The interpreter of compiled programs: where no native code is made, and
// for batches of programs native code cannot run.
#include "program_interpreter.h"

#include <array>
#include <cstdint>
#include <utility>

#include "functionfloatbase.h"
#include "functionfloatoperations.h"
#include "random_noise.h"

namespace exprcurve {
namespace compiled {

double operand(Form form, const Operand& operand, double accumulator)
{
    switch (form) {
    case Form::Constant:
        return operand.constant;
    case Form::Variable:
        return *operand.variable;
    case Form::FloatVariable:
        return static_cast<double>(*operand.floatVariable);
    case Form::IntVariable:
        return static_cast<double>(*operand.intVariable);
    case Form::BoolVariable:
        return *operand.boolByte != 0 ? 1.0 : 0.0;
    default:
        return accumulator;
    }
}

namespace {

double apply(Operation operation, double a, double b)
{
    using namespace exprcurve::operations;
    switch (operation) {
    case Operation::Add:
        return a + b;
    case Operation::Sub:
        return a - b;
    case Operation::Mul:
        return a * b;
    case Operation::Div:
        return a / b;
    case Operation::Max:
        return maximum(a, b);
    case Operation::Min:
        return minimum(a, b);
    case Operation::Grt:
        return greater(a, b);
    case Operation::Lss:
        return less(a, b);
    default:
        return info(operation).binary(a, b);
    }
}

// The interpreter runs one routine per instruction, chosen when the form is
// made (Instruction::handler): each routine is the instruction's step,
// operation and operand form compiled together, so running an instruction
// costs one indirect call. The accumulator and the next instruction travel
// in registers (a two-member result), the stack in memory.
struct Machine {
    double* top;
    const Instruction* start;
};

struct Next {
    const Instruction* step;
    double accumulator;
};

using Handler = Next (*)(Machine&, const Instruction*, double);

template <Form form>
double leftOperand(Machine& machine, const Instruction& step, double accumulator)
{
    switch (form) {
    case Form::StackAcc:
        return *--machine.top;
    case Form::AccStack:
    case Form::AccConstant:
    case Form::AccVariable:
        return accumulator;
    case Form::ConstantAcc:
    case Form::ConstantVariable:
        return step.first.constant;
    default:  // VariableAcc, VariableVariable, VariableConstant
        return *step.first.variable;
    }
}

template <Form form>
double rightOperand(Machine& machine, const Instruction& step, double accumulator)
{
    switch (form) {
    case Form::AccStack:
        return *--machine.top;
    case Form::AccConstant:
    case Form::VariableConstant:
        return step.second.constant;
    case Form::AccVariable:
    case Form::VariableVariable:
    case Form::ConstantVariable:
        return *step.second.variable;
    default:  // StackAcc, ConstantAcc, VariableAcc
        return accumulator;
    }
}

template <Operation operation, Form form, bool pushFirst>
Next binaryStep(Machine& machine, const Instruction* step, double accumulator)
{
    if (pushFirst)
        *machine.top++ = accumulator;
    const double left = leftOperand<form>(machine, *step, accumulator);
    const double right = rightOperand<form>(machine, *step, accumulator);
    return {step + 1, apply(operation, left, right)};
}

template <Operation operation, bool ofVariable>
Next unaryStep(Machine&, const Instruction* step, double accumulator)
{
    return {step + 1, info(operation).unary(ofVariable ? *step->first.variable : accumulator)};
}

template <Form form>
Next loadStep(Machine&, const Instruction* step, double accumulator)
{
    return {step + 1, operand(form, step->first, accumulator)};
}

Next pushStep(Machine& machine, const Instruction* step, double accumulator)
{
    *machine.top++ = accumulator;
    return {step + 1, accumulator};
}

Next jumpStep(Machine& machine, const Instruction* step, double accumulator)
{
    return {machine.start + step->first.target, accumulator};
}

Next jumpIfZeroStep(Machine& machine, const Instruction* step, double accumulator)
{
    return {accumulator == 0.0 ? machine.start + step->first.target : step + 1, accumulator};
}

Next randomStep(Machine&, const Instruction* step, double accumulator)
{
    const auto* node = static_cast<const FunctionFloatRnd*>(step->first.node);
    return {step + 1, randomNoise(node->randomTable, accumulator)};
}

Next callNodeStep(Machine&, const Instruction* step, double)
{
    return {step + 1, (*step->first.node)()};
}

// The arguments before the last lie on the stack in their order, so the
// call reads them where they are, with the last stored after them.
Next hostCallStep(Machine& machine, const Instruction* step, double accumulator)
{
    const auto& call = static_cast<const FunctionFloatHostCall&>(*step->first.node);
    double* arguments = machine.top;
    if (call.arity > 0) {
        arguments -= call.arity - 1;
        arguments[call.arity - 1] = accumulator;
    }
    machine.top = arguments;
    return {step + 1, call.function(arguments, call.context)};
}

constexpr int firstBinary = firstBinaryOperation;
constexpr int binaryOperations = static_cast<int>(Operation::count) - firstBinary;
constexpr int binaryForms = static_cast<int>(Form::ConstantVariable) + 1;
constexpr int loadForms = 5;  // Constant .. BoolVariable

template <std::size_t... index>
constexpr std::array<Handler, sizeof...(index)> binaryHandlers(std::index_sequence<index...>)
{
    return {&binaryStep<static_cast<Operation>(firstBinary + index / (2 * binaryForms)),
                        static_cast<Form>(index / 2 % binaryForms), index % 2 == 1>...};
}

template <std::size_t... index>
constexpr std::array<Handler, sizeof...(index)> unaryHandlers(std::index_sequence<index...>)
{
    return {&unaryStep<static_cast<Operation>(index / 2), index % 2 == 1>...};
}

template <std::size_t... index>
constexpr std::array<Handler, sizeof...(index)> loadHandlers(std::index_sequence<index...>)
{
    return {&loadStep<static_cast<Form>(static_cast<int>(Form::Constant) + index)>...};
}

// The table: the six plain steps, then loads, unary and binary routines.
struct HandlerTable {
    static constexpr int loads = 6;
    static constexpr int unaries = loads + loadForms;
    static constexpr int binaries = unaries + 2 * firstBinary;
    static constexpr int size = binaries + 2 * binaryForms * binaryOperations;

    constexpr HandlerTable() : handlers()
    {
        const Handler plain[] = {pushStep, jumpStep, jumpIfZeroStep, randomStep, callNodeStep, hostCallStep};
        int next = 0;
        for (const Handler handler : plain)
            handlers[next++] = handler;
        for (const Handler handler : loadHandlers(std::make_index_sequence<loadForms>()))
            handlers[next++] = handler;
        for (const Handler handler : unaryHandlers(std::make_index_sequence<2 * firstBinary>()))
            handlers[next++] = handler;
        for (const Handler handler : binaryHandlers(std::make_index_sequence<2 * binaryForms * binaryOperations>()))
            handlers[next++] = handler;
    }

    Handler handlers[size];
};

constexpr HandlerTable handlerTable;

std::uint16_t handlerIndex(const Instruction& step)
{
    const int operation = static_cast<int>(step.operation);
    const int form = static_cast<int>(step.form);
    switch (step.step) {
    case Step::Push:
        return 0;
    case Step::Jump:
        return 1;
    case Step::JumpIfZero:
        return 2;
    case Step::Random:
        return 3;
    case Step::CallNode:
        return 4;
    case Step::HostCall:
        return 5;
    case Step::Load:
        return static_cast<std::uint16_t>(HandlerTable::loads + form - static_cast<int>(Form::Constant));
    case Step::Unary:
        return static_cast<std::uint16_t>(HandlerTable::unaries + 2 * operation + (step.form == Form::Variable));
    case Step::Binary:
        break;
    }
    return static_cast<std::uint16_t>(HandlerTable::binaries + 2 * ((operation - firstBinary) * binaryForms + form) +
                                      (step.pushFirst ? 1 : 0));
}

}  // namespace

void chooseHandlers(Program& program)
{
    for (Instruction& step : program)
        step.handler = handlerIndex(step);
}

double interpretProgram(const Program& program)
{
    double stack[stackCapacity];
    Machine machine{stack, program.data()};
    const Instruction* const end = program.data() + program.size();
    Next next{program.data(), 0.0};
    while (next.step != end)
        next = handlerTable.handlers[next.step->handler](machine, next.step, next.accumulator);
    return next.accumulator;
}

}  // namespace compiled
}  // namespace exprcurve
