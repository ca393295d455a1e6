// The program of a compiled expression (internal): the operations it can
// perform and its instructions. The compiler writes it, the interpreter runs
// it and the native code generator translates it; all three work from these
// definitions and from the built-in table (builtinoperations.h), which gives
// every operation's value rule.
//
// The machine has an accumulator and a stack of values waiting for their
// right (or left) operand. Every instruction names what it does (`step`, and
// for computing steps the `operation`) and where its operands are (`form`);
// nothing is encoded twice.
#ifndef EXPRCURVE_EXPRESSION_COMPILED_PROGRAM_H
#define EXPRCURVE_EXPRESSION_COMPILED_PROGRAM_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "builtinoperations.h"

class FunctionFloatBase;

namespace exprcurve {
namespace compiled {

// ---------------------------------------------------------------- operations

// Every operation a node of the library computes, unary ones first: the
// compiled form's own dense numbering of the built-in table's rows.
enum class Operation : std::uint8_t {
    Not, J0, J1, Floor, Ceil, Tan, Sin, Cos, TanH, SinH, CosH, ATan, ASin, ACos, Sqrt, Abs,
    Log, L10, Exp,
    Add, Sub, Mul, Div, Pow, And, Or, Eql, Grt, Lss, Max, Min,
    count
};

constexpr int firstBinaryOperation = static_cast<int>(Operation::Add);

// The row of the built-in table that names the operation's node class and
// value rule (exactly one of `unary` and `binary` is set): the compiled form
// computes what the node computes by calling the same rule.
const BuiltinOperation& info(Operation operation);

inline bool isUnary(Operation operation) { return static_cast<int>(operation) < firstBinaryOperation; }

// ---------------------------------------------------------------- instructions

enum class Step : std::uint8_t {
    Push,        // pushes the accumulator
    Jump,        // to `first.target`
    JumpIfZero,  // to `first.target` when the accumulator is 0.0 or -0.0
    Load,        // the leaf named by `form` into the accumulator
    Unary,       // `operation` of the accumulator or of a variable
    Binary,      // `operation` of two operands named by `form`
    Random,      // the noise of the random node `first.node` at the position in the accumulator
    CallNode,    // evaluates `first.node` through the tree
    HostCall,    // calls the host function of the call node `first.node`: its
                 // last argument in the accumulator, the others on the stack
};

// Where operands are. For Binary the left operand is named first: "Acc" is
// the accumulator, "Stack" the value popped from the stack, "Variable" a
// double read through `first`/`second.variable`, "Constant" a value held in
// the instruction. Load and Unary use the one-operand forms.
enum class Form : std::uint8_t {
    StackAcc, AccStack, AccConstant, AccVariable, ConstantAcc, VariableAcc, VariableVariable,
    VariableConstant, ConstantVariable,
    Acc, Constant, Variable, FloatVariable, IntVariable, BoolVariable,
};

union Operand {
    double constant;
    const double* variable;
    const float* floatVariable;
    const int* intVariable;
    const unsigned char* boolByte;  // the node reads the byte: 2 or 255 is true too
    const FunctionFloatBase* node;
    std::size_t target;
};

struct Instruction {
    Step step;
    Operation operation;
    Form form;
    bool pushFirst;         // pushes the accumulator before reading the operands
    std::uint16_t handler;  // the interpreter's routine for this instruction, set by the interpreter
    Operand first;
    Operand second;
};

using Program = std::vector<Instruction>;

// A host variable the program reads, with the kind of the leaf that reads it.
struct Input {
    const void* address;
    Form kind;  // Variable, FloatVariable, IntVariable or BoolVariable
};

// Every distinct input of a program, in the order of first reading.
std::vector<Input> inputsOf(const Program& program);

// The input an instruction's operand reads (`first` or `second`), if it
// reads one.
bool readsInput(const Instruction& instruction, bool second, Input* input);

// How many values an instruction leaves on the stack beyond those it found.
int stackEffect(const Instruction& instruction);

// Values a program may keep waiting for an operand: the interpreter's stack
// in its frame (512 bytes). The compiler orders the operands of the
// library's own nodes so that a tree needs about log2 of its size in slots;
// only a tree holding host nodes or calls can need more (past the capacity
// such a subtree is evaluated through the tree).
constexpr int stackCapacity = 64;

}  // namespace compiled
}  // namespace exprcurve

#endif  // EXPRCURVE_EXPRESSION_COMPILED_PROGRAM_H
