// The compiled form of an expression tree: a flat program for an accumulator
// machine. Every instruction leaves its result in the accumulator; a binary
// node whose operands are both inner nodes pushes its left value onto a small
// stack in the evaluation frame and pops it back when the right one is done.
// Where the platform allows, the program is then turned into native code;
// otherwise it is interpreted here.
#include "compiledexpression.h"

#include <cassert>
#include <optional>
#include <unordered_set>
#include <utility>

#include "compiled_program.h"
#include "native_code.h"
#include "functionfloatbase.h"

namespace exprcurve {
namespace compiled {
namespace {

#define EXPRCURVE_UNARY_TABLE_ENTRY(NAME, OPERATION) \
    {&FunctionFloatUnary::is##NAME, Opcode::NAME, Opcode::NAME##OfVariable},

struct UnaryEntry {
    bool (FunctionFloatUnary::*query)() const;
    Opcode opcode;
    Opcode ofVariable;
};

constexpr UnaryEntry unaryTable[] = {EXPRCURVE_UNARY_OPERATIONS(EXPRCURVE_UNARY_TABLE_ENTRY)};

#define EXPRCURVE_FORM_TABLE_ENTRY(NAME, FORM) Opcode::NAME##FORM,
#define EXPRCURVE_BINARY_TABLE_ENTRY(NAME, OPERATION) \
    {&FunctionFloatBinary::is##NAME, {EXPRCURVE_BINARY_FORMS(EXPRCURVE_FORM_TABLE_ENTRY, NAME)}},

struct BinaryEntry {
    bool (FunctionFloatBinary::*query)() const;
    Opcode byForm[static_cast<int>(Form::count)];
};

constexpr BinaryEntry binaryTable[] = {EXPRCURVE_BINARY_OPERATIONS(EXPRCURVE_BINARY_TABLE_ENTRY)};

// ---------------------------------------------------------------- classification

enum class Kind { Constant, VariableDouble, VariableFloat, VariableInt, VariableBool,
                  Unary, Binary, If, Opaque };

// What the compiler knows of one node: its kind, its leaf operand, its
// children and the table entry of its operator.
struct Shape {
    Kind kind = Kind::Opaque;
    Operand leaf{};
    const FunctionFloatBase* children[3] = {nullptr, nullptr, nullptr};
    const UnaryEntry* unary = nullptr;
    const BinaryEntry* binary = nullptr;
};

Shape leafShape(Kind kind, Operand leaf)
{
    Shape shape;
    shape.kind = kind;
    shape.leaf = leaf;
    return shape;
}

Shape unaryShape(const FunctionFloatUnary& node)
{
    Shape shape;
    if (!node.arg)
        return shape;
    for (const UnaryEntry& entry : unaryTable) {
        if ((node.*entry.query)()) {
            shape.kind = Kind::Unary;
            shape.unary = &entry;
            shape.children[0] = node.arg;
            break;
        }
    }
    return shape;
}

Shape binaryShape(const FunctionFloatBinary& node)
{
    Shape shape;
    if (!node.arg1 || !node.arg2)
        return shape;
    for (const BinaryEntry& entry : binaryTable) {
        if ((node.*entry.query)()) {
            shape.kind = Kind::Binary;
            shape.binary = &entry;
            shape.children[0] = node.arg1;
            shape.children[1] = node.arg2;
            break;
        }
    }
    return shape;
}

Shape ternaryShape(const FunctionFloatTernary& node)
{
    Shape shape;
    if (node.isIf() && node.arg1 && node.arg2 && node.arg3) {
        shape.kind = Kind::If;
        shape.children[0] = node.arg1;
        shape.children[1] = node.arg2;
        shape.children[2] = node.arg3;
    }
    return shape;
}

// A node with a missing child or a null address stays opaque: its own
// operator() then behaves (and asserts) exactly as the tree does.
Shape shapeOf(const FunctionFloatBase& node)
{
    Operand leaf{};
    if (const FunctionFloatConstant* constant = node.getConstantRef()) {
        leaf.constant = constant->value;
        return leafShape(Kind::Constant, leaf);
    }
    if (const FunctionFloatVariableDouble* variable = node.getVariableDoubleRef()) {
        leaf.variable = variable->control;
        return variable->control ? leafShape(Kind::VariableDouble, leaf) : Shape{};
    }
    if (const FunctionFloatVariableFloat* variable = node.getVariableFloatRef()) {
        leaf.floatVariable = variable->control;
        return variable->control ? leafShape(Kind::VariableFloat, leaf) : Shape{};
    }
    if (const FunctionFloatVariableInt* variable = node.getVariableIntRef()) {
        leaf.intVariable = variable->control;
        return variable->control ? leafShape(Kind::VariableInt, leaf) : Shape{};
    }
    if (const FunctionFloatVariableBool* variable = node.getVariableBoolRef()) {
        // The node reads the byte, so that a byte other than 0 or 1 is defined.
        leaf.boolByte = reinterpret_cast<const unsigned char*>(variable->control);
        return variable->control ? leafShape(Kind::VariableBool, leaf) : Shape{};
    }
    if (const FunctionFloatUnary* unary = node.getUnaryRef())
        return unaryShape(*unary);
    if (const FunctionFloatBinary* binary = node.getBinaryRef())
        return binaryShape(*binary);
    if (const FunctionFloatTernary* ternary = node.getTernaryRef())
        return ternaryShape(*ternary);
    return Shape{};
}

int childCount(Kind kind)
{
    switch (kind) {
    case Kind::Unary:
        return 1;
    case Kind::Binary:
        return 2;
    case Kind::If:
        return 3;
    default:
        return 0;
    }
}

// ---------------------------------------------------------------- compiler

class Compiler {
public:
    explicit Compiler(const FunctionFloatBase& root)
    {
        findOpaqueSubtrees(root);
        compile(root, 0);
    }

    std::vector<Instruction> program;

private:
    // Records every node whose subtree holds an opaque node, and answers
    // whether `node` is one of them.
    bool findOpaqueSubtrees(const FunctionFloatBase& node)
    {
        const Shape shape = shapeOf(node);
        bool opaque = shape.kind == Kind::Opaque;
        for (int index = 0; index < childCount(shape.kind); ++index)
            opaque = findOpaqueSubtrees(*shape.children[index]) || opaque;
        if (opaque)
            holdsOpaque.insert(&node);
        return opaque;
    }

    void emit(Opcode opcode, Operand first = {}, Operand second = {})
    {
        program.push_back(Instruction{opcode, first, second});
    }

    // Emits code that leaves the value of `node` in the accumulator, with
    // `depth` values on the stack that it must keep.
    void compile(const FunctionFloatBase& node, int depth)
    {
        const Shape shape = shapeOf(node);
        switch (shape.kind) {
        case Kind::Constant:
            return emit(Opcode::Constant, shape.leaf);
        case Kind::VariableDouble:
            return emit(Opcode::VariableDouble, shape.leaf);
        case Kind::VariableFloat:
            return emit(Opcode::VariableFloat, shape.leaf);
        case Kind::VariableInt:
            return emit(Opcode::VariableInt, shape.leaf);
        case Kind::VariableBool:
            return emit(Opcode::VariableBool, shape.leaf);
        case Kind::Unary:
            return compileUnary(shape, depth);
        case Kind::Binary:
            return compileBinary(node, shape, depth);
        case Kind::If:
            return compileIf(shape, depth);
        case Kind::Opaque:
            break;
        }
        callThroughTree(node);
    }

    void callThroughTree(const FunctionFloatBase& node)
    {
        Operand operand{};
        operand.node = &node;
        emit(Opcode::CallNode, operand);
    }

    void compileUnary(const Shape& shape, int depth)
    {
        const Shape argument = shapeOf(*shape.children[0]);
        if (argument.kind == Kind::VariableDouble)
            return emit(shape.unary->ofVariable, argument.leaf);
        compile(*shape.children[0], depth);
        emit(shape.unary->opcode);
    }

    // The tree evaluates arg1, then arg2. Reading a variable or a constant
    // has no effect, so a leaf operand is read inside the combining
    // instruction, except that a variable on the left is read after the
    // right subtree only when that subtree calls nothing through the tree
    // (a host's node could write the variable).
    void compileBinary(const FunctionFloatBase& node, const Shape& shape, int depth)
    {
        const FunctionFloatBase& left = *shape.children[0];
        const FunctionFloatBase& right = *shape.children[1];
        const Shape leftShape = shapeOf(left);
        const Shape rightShape = shapeOf(right);
        const bool leftVariable = leftShape.kind == Kind::VariableDouble;
        const bool leftConstant = leftShape.kind == Kind::Constant;
        const bool rightVariable = rightShape.kind == Kind::VariableDouble;
        const bool rightConstant = rightShape.kind == Kind::Constant;
        const auto emitForm = [&](Form form) {
            emit(shape.binary->byForm[static_cast<int>(form)], leftShape.leaf, rightShape.leaf);
        };

        if (const std::optional<Form> form = leafPairForm(leftShape, rightShape))
            return emitForm(*form);
        if (rightConstant || rightVariable) {
            compile(left, depth);
            return emitForm(rightConstant ? Form::AccConstant : Form::AccVariable);
        }
        if (leftConstant || (leftVariable && holdsOpaque.count(&right) == 0)) {
            compile(right, depth);
            return emitForm(leftConstant ? Form::ConstantAcc : Form::VariableAcc);
        }
        if (depth == stackCapacity)
            return callThroughTree(node);
        compile(left, depth);
        pushThenCompile(right, depth + 1);
        emitForm(Form::StackAcc);
    }

    // The form of a binary node whose operands are both leaves it can read
    // itself, if it has one.
    static std::optional<Form> leafPairForm(const Shape& left, const Shape& right)
    {
        const bool leftVariable = left.kind == Kind::VariableDouble;
        const bool rightVariable = right.kind == Kind::VariableDouble;
        if (leftVariable && rightVariable)
            return Form::VariableVariable;
        if (leftVariable && right.kind == Kind::Constant)
            return Form::VariableConstant;
        if (left.kind == Kind::Constant && rightVariable)
            return Form::ConstantVariable;
        return std::nullopt;
    }

    // Pushes the accumulator and leaves the value of `node` in it, fusing the
    // push into the node's instruction when that reads two leaves.
    void pushThenCompile(const FunctionFloatBase& node, int depth)
    {
        const Shape shape = shapeOf(node);
        if (shape.kind == Kind::Binary) {
            const Shape left = shapeOf(*shape.children[0]);
            const Shape right = shapeOf(*shape.children[1]);
            if (const std::optional<Form> form = leafPairForm(left, right))
                return emit(shape.binary->byForm[static_cast<int>(pushing(*form))], left.leaf,
                            right.leaf);
        }
        emit(Opcode::Push);
        compile(node, depth);
    }

    void compileIf(const Shape& shape, int depth)
    {
        compile(*shape.children[0], depth);
        const std::size_t jumpToElse = program.size();
        emit(Opcode::JumpIfZero);
        compile(*shape.children[1], depth);
        const std::size_t jumpToEnd = program.size();
        emit(Opcode::Jump);
        program[jumpToElse].first.target = program.size();
        compile(*shape.children[2], depth);
        program[jumpToEnd].first.target = program.size();
    }

    std::unordered_set<const FunctionFloatBase*> holdsOpaque;
};

}  // namespace
}  // namespace compiled

// ---------------------------------------------------------------- the class

CompiledExpression::CompiledExpression(const FunctionFloatBase* root, Backend backend)
{
    assert(root);
    program = compiled::Compiler(*root).program;
    if (backend == Backend::Automatic)
        native = compiled::generateNativeCode(program);
}

CompiledExpression::~CompiledExpression() = default;
CompiledExpression::CompiledExpression(const CompiledExpression& other) = default;
CompiledExpression& CompiledExpression::operator=(const CompiledExpression& other) = default;
CompiledExpression::CompiledExpression(CompiledExpression&& other) noexcept = default;
CompiledExpression& CompiledExpression::operator=(CompiledExpression&& other) noexcept = default;

#define EXPRCURVE_UNARY_CASES(NAME, OPERATION)                \
    case Opcode::NAME:                                        \
        accumulator = OPERATION(accumulator);                 \
        break;                                                \
    case Opcode::NAME##OfVariable:                            \
        accumulator = OPERATION(*step->first.variable);       \
        break;

#define EXPRCURVE_BINARY_CASES(NAME, OPERATION)                                          \
    case Opcode::NAME##StackAcc:                                                         \
        --top;                                                                           \
        accumulator = OPERATION(*top, accumulator);                                      \
        break;                                                                           \
    case Opcode::NAME##AccConstant:                                                      \
        accumulator = OPERATION(accumulator, step->second.constant);                     \
        break;                                                                           \
    case Opcode::NAME##AccVariable:                                                      \
        accumulator = OPERATION(accumulator, *step->second.variable);                    \
        break;                                                                           \
    case Opcode::NAME##ConstantAcc:                                                      \
        accumulator = OPERATION(step->first.constant, accumulator);                      \
        break;                                                                           \
    case Opcode::NAME##VariableAcc:                                                      \
        accumulator = OPERATION(*step->first.variable, accumulator);                     \
        break;                                                                           \
    case Opcode::NAME##VariableVariable:                                                 \
        accumulator = OPERATION(*step->first.variable, *step->second.variable);          \
        break;                                                                           \
    case Opcode::NAME##VariableConstant:                                                 \
        accumulator = OPERATION(*step->first.variable, step->second.constant);           \
        break;                                                                           \
    case Opcode::NAME##ConstantVariable:                                                 \
        accumulator = OPERATION(step->first.constant, *step->second.variable);           \
        break;                                                                           \
    case Opcode::NAME##PushVariableVariable:                                             \
        *top++ = accumulator;                                                            \
        accumulator = OPERATION(*step->first.variable, *step->second.variable);          \
        break;                                                                           \
    case Opcode::NAME##PushVariableConstant:                                             \
        *top++ = accumulator;                                                            \
        accumulator = OPERATION(*step->first.variable, step->second.constant);           \
        break;                                                                           \
    case Opcode::NAME##PushConstantVariable:                                             \
        *top++ = accumulator;                                                            \
        accumulator = OPERATION(step->first.constant, *step->second.variable);           \
        break;

double CompiledExpression::interpret() const
{
    using compiled::Opcode;
    using namespace compiled;  // the operations named in the case lists
    double stack[compiled::stackCapacity];
    double* top = stack;
    double accumulator = 0.0;
    const Instruction* const start = program.data();
    const Instruction* const end = start + program.size();
    for (const Instruction* step = start; step != end; ++step) {
        switch (step->opcode) {
        case Opcode::Push:
            *top++ = accumulator;
            break;
        case Opcode::Jump:
            step = start + step->first.target - 1;
            break;
        case Opcode::JumpIfZero:
            if (accumulator == 0.0)
                step = start + step->first.target - 1;
            break;
        case Opcode::Constant:
            accumulator = step->first.constant;
            break;
        case Opcode::VariableDouble:
            accumulator = *step->first.variable;
            break;
        case Opcode::VariableFloat:
            accumulator = static_cast<double>(*step->first.floatVariable);
            break;
        case Opcode::VariableInt:
            accumulator = static_cast<double>(*step->first.intVariable);
            break;
        case Opcode::VariableBool:
            accumulator = *step->first.boolByte != 0 ? 1.0 : 0.0;
            break;
        case Opcode::CallNode:
            accumulator = (*step->first.node)();
            break;
            EXPRCURVE_UNARY_OPERATIONS(EXPRCURVE_UNARY_CASES)
            EXPRCURVE_BINARY_OPERATIONS(EXPRCURVE_BINARY_CASES)
        }
    }
    return accumulator;
}

}  // namespace exprcurve
