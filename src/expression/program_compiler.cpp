// The compiler from expression trees to programs.
//
// It first lays the tree out in a flat list (parents before children) and,
// walking that list backwards, learns for every node whether its subtree
// calls out of the library (a host function, or a node evaluated through
// the tree) and how many stack slots it needs. Then it emits
// instructions from an explicit work list.
//
// Order of evaluation: the library's own nodes have no side effects, so when
// neither operand of a binary node calls back into the tree, the operand
// that needs more stack is computed first and the combining instruction
// takes its operands from where they were left (AccStack instead of
// StackAcc): each operation still sees the same left and right values, so
// no bit changes, and a tree of n nodes needs about log2(n) slots. Subtrees
// that call out of the library keep the tree's order: host code may have
// effects, and may write the variables the tree reads.
#include "program_compiler.h"

#include <algorithm>
#include <typeinfo>

#include "functionfloatbase.h"

namespace exprcurve {
namespace compiled {
namespace {

// ---------------------------------------------------------------- classification

enum class Kind { Constant, Variable, FloatVariable, IntVariable, BoolVariable, Unary, Binary, If,
                  Random, HostCall, Opaque };

// What the compiler knows of one node.
struct Shape {
    Kind kind = Kind::Opaque;
    Operation operation{};
    Operand leaf{};
    const FunctionFloatBase* children[FunctionFloatHostCall::maxArguments] = {};
    int childCount = 0;
};

Shape leafShape(Kind kind, Operand leaf)
{
    Shape shape;
    shape.kind = kind;
    shape.leaf = leaf;
    return shape;
}

Shape innerShape(Kind kind, std::initializer_list<const FunctionFloatBase*> children)
{
    Shape shape;
    for (const FunctionFloatBase* child : children) {
        if (!child)
            return Shape{};  // opaque: its own operator() behaves (and asserts) as the tree does
        shape.children[shape.childCount++] = child;
    }
    shape.kind = kind;
    return shape;
}

// The operation among [first, last) whose node class `node` is of.
bool operationOf(const FunctionFloatBase& node, int first, int last, Operation* found)
{
    for (int index = first; index < last; ++index) {
        if (info(static_cast<Operation>(index)).isNodeOf(node)) {
            *found = static_cast<Operation>(index);
            return true;
        }
    }
    return false;
}

Shape unaryShape(const FunctionFloatUnary& node)
{
    Operation operation;
    if (!operationOf(node, 0, firstBinaryOperation, &operation))
        return Shape{};
    Shape shape = innerShape(Kind::Unary, {node.arg});
    shape.operation = operation;
    return shape;
}

Shape binaryShape(const FunctionFloatBinary& node)
{
    Operation operation;
    if (operationOf(node, firstBinaryOperation, static_cast<int>(Operation::count), &operation)) {
        Shape shape = innerShape(Kind::Binary, {node.arg1, node.arg2});
        shape.operation = operation;
        return shape;
    }
    // Only the random node itself, not a host class derived from it, which
    // may compute something else.
    if (typeid(node) == typeid(FunctionFloatRnd)) {
        Shape shape = innerShape(Kind::Random, {node.arg2, node.arg1});  // the order it evaluates them
        shape.leaf.node = &node;
        return shape;
    }
    return Shape{};
}

Shape ternaryShape(const FunctionFloatTernary& node)
{
    return node.isIf() ? innerShape(Kind::If, {node.arg1, node.arg2, node.arg3}) : Shape{};
}

// Only the call node itself, not a host class derived from it, and only a
// whole one; anything else is evaluated through the tree.
Shape hostCallShape(const FunctionFloatHostCall& node)
{
    if (typeid(node) != typeid(FunctionFloatHostCall) || !node.function ||
        node.arity > FunctionFloatHostCall::maxArguments)
        return Shape{};
    Shape shape;
    for (unsigned int i = 0; i < node.arity; ++i) {
        if (!node.arguments[i])
            return Shape{};
        shape.children[shape.childCount++] = node.arguments[i];
    }
    shape.kind = Kind::HostCall;
    shape.leaf.node = &node;
    return shape;
}

Shape shapeOf(const FunctionFloatBase& node)
{
    Operand leaf{};
    if (const FunctionFloatConstant* constant = node.getConstantRef()) {
        leaf.constant = constant->value;
        return leafShape(Kind::Constant, leaf);
    }
    if (const FunctionFloatVariableDouble* variable = node.getVariableDoubleRef()) {
        leaf.variable = variable->control;
        return variable->control ? leafShape(Kind::Variable, leaf) : Shape{};
    }
    if (const FunctionFloatVariableFloat* variable = node.getVariableFloatRef()) {
        leaf.floatVariable = variable->control;
        return variable->control ? leafShape(Kind::FloatVariable, leaf) : Shape{};
    }
    if (const FunctionFloatVariableInt* variable = node.getVariableIntRef()) {
        leaf.intVariable = variable->control;
        return variable->control ? leafShape(Kind::IntVariable, leaf) : Shape{};
    }
    if (const FunctionFloatVariableBool* variable = node.getVariableBoolRef()) {
        leaf.boolByte = reinterpret_cast<const unsigned char*>(variable->control);
        return variable->control ? leafShape(Kind::BoolVariable, leaf) : Shape{};
    }
    if (const FunctionFloatUnary* unary = node.getUnaryRef())
        return unaryShape(*unary);
    if (const FunctionFloatBinary* binary = node.getBinaryRef())
        return binaryShape(*binary);
    if (const FunctionFloatTernary* ternary = node.getTernaryRef())
        return ternaryShape(*ternary);
    if (const FunctionFloatHostCall* call = node.getHostCallRef())
        return hostCallShape(*call);
    return Shape{};
}

Form loadForm(Kind kind)
{
    switch (kind) {
    case Kind::Constant:
        return Form::Constant;
    case Kind::Variable:
        return Form::Variable;
    case Kind::FloatVariable:
        return Form::FloatVariable;
    case Kind::IntVariable:
        return Form::IntVariable;
    default:
        return Form::BoolVariable;
    }
}

bool isLeaf(Kind kind) { return kind <= Kind::BoolVariable; }

// ---------------------------------------------------------------- layout

struct Entry {
    const FunctionFloatBase* node;
    Shape shape;
    int children[FunctionFloatHostCall::maxArguments] = {-1, -1, -1, -1, -1, -1, -1, -1};
    bool callsOut = false;  // the subtree holds a host call or a node evaluated through the tree
    int need = 0;            // stack slots the subtree needs beyond those below it
};

// ---------------------------------------------------------------- compiler

class Compiler {
public:
    explicit Compiler(const FunctionFloatBase& root)
    {
        layOut(root);
        measure();
        emitAll();
    }

    Program program;

private:
    void layOut(const FunctionFloatBase& root)
    {
        struct Pending {
            const FunctionFloatBase* node;
            int parent;
            int slot;
        };
        std::vector<Pending> pending{{&root, -1, 0}};
        while (!pending.empty()) {
            const Pending next = pending.back();
            pending.pop_back();
            const int index = static_cast<int>(entries.size());
            entries.push_back(Entry{next.node, shapeOf(*next.node)});
            if (next.parent >= 0)
                entries[next.parent].children[next.slot] = index;
            const Shape& shape = entries.back().shape;
            for (int slot = shape.childCount - 1; slot >= 0; --slot)
                pending.push_back({shape.children[slot], index, slot});
        }
    }

    // Children come after their parents, so one backward pass sees every
    // child before its parent.
    void measure()
    {
        for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
            entry->callsOut = entry->shape.kind == Kind::Opaque || entry->shape.kind == Kind::HostCall;
            for (int slot = 0; slot < entry->shape.childCount; ++slot)
                entry->callsOut = entry->callsOut || entries[entry->children[slot]].callsOut;
            entry->need = need(*entry);
        }
    }

    // The slots the emission below uses for this node, children measured.
    int need(const Entry& entry) const
    {
        const auto childNeed = [&](int slot) { return entries[entry.children[slot]].need; };
        switch (entry.shape.kind) {
        case Kind::Unary:
            return childNeed(0);
        case Kind::If:
            return std::max({childNeed(0), childNeed(1), childNeed(2)});
        case Kind::Random:
            return std::max(childNeed(0), childNeed(1) + 1);
        case Kind::HostCall: {
            // Argument i is computed above the i before it; the last one is
            // then stored above them all for the call.
            int slots = entry.shape.childCount;
            for (int slot = 0; slot < entry.shape.childCount; ++slot)
                slots = std::max(slots, childNeed(slot) + slot);
            return slots;
        }
        case Kind::Binary:
            break;
        default:
            return 0;
        }
        switch (binaryPlan(entry)) {
        case Plan::Leaves:
            return 0;
        case Plan::LeftThenRightLeaf:
            return childNeed(0);
        case Plan::RightThenLeftLeaf:
            return childNeed(1);
        case Plan::LeftFirst:
            return std::max(childNeed(0), childNeed(1) + 1);
        case Plan::RightFirst:
            return std::max(childNeed(1), childNeed(0) + 1);
        }
        return 0;
    }

    // How a binary node is computed.
    enum class Plan {
        Leaves,             // one instruction reads both leaves
        LeftThenRightLeaf,  // the left subtree, then an instruction reading the right leaf
        RightThenLeftLeaf,  // the right subtree, then an instruction reading the left leaf
        LeftFirst,          // left, push, right, combine with the popped left
        RightFirst,         // right, push, left, combine with the popped right
    };

    Plan binaryPlan(const Entry& entry) const
    {
        const Entry& left = entries[entry.children[0]];
        const Entry& right = entries[entry.children[1]];
        if (leafPairForm(left.shape.kind, right.shape.kind))
            return Plan::Leaves;
        if (readsInPlace(right.shape.kind))
            return Plan::LeftThenRightLeaf;
        // Reading a variable has no effect, so a left variable may be read
        // after the right subtree, unless that subtree calls out of the
        // library, which could write the variable.
        if (left.shape.kind == Kind::Constant || (left.shape.kind == Kind::Variable && !right.callsOut))
            return Plan::RightThenLeftLeaf;
        if (!left.callsOut && !right.callsOut && right.need > left.need)
            return Plan::RightFirst;
        return Plan::LeftFirst;
    }

    static bool readsInPlace(Kind kind) { return kind == Kind::Constant || kind == Kind::Variable; }

    // The form of an instruction reading two leaves itself, or false.
    static bool leafPairForm(Kind left, Kind right, Form* form = nullptr)
    {
        Form found;
        if (left == Kind::Variable && right == Kind::Variable)
            found = Form::VariableVariable;
        else if (left == Kind::Variable && right == Kind::Constant)
            found = Form::VariableConstant;
        else if (left == Kind::Constant && right == Kind::Variable)
            found = Form::ConstantVariable;
        else
            return false;
        if (form)
            *form = found;
        return true;
    }

    // ------------------------------------------------------------ emission

    struct Task {
        enum Action { Compile, PushThenCompile, Emit, EmitJump, PatchJump } action;
        int entry = -1;   // Compile, PushThenCompile
        int depth = 0;    // Compile, PushThenCompile: values on the stack below
        Instruction instruction{};  // Emit, EmitJump
        int jump = -1;    // EmitJump, PatchJump: index into `jumps`
    };

    void emitAll()
    {
        tasks.push_back(compileTask(0, 0));
        while (!tasks.empty()) {
            const Task task = tasks.back();
            tasks.pop_back();
            switch (task.action) {
            case Task::Compile:
                compile(task.entry, task.depth);
                break;
            case Task::PushThenCompile:
                pushThenCompile(task.entry, task.depth);
                break;
            case Task::Emit:
                program.push_back(task.instruction);
                break;
            case Task::EmitJump:
                jumps[task.jump] = program.size();
                program.push_back(task.instruction);
                break;
            case Task::PatchJump:
                program[jumps[task.jump]].first.target = program.size();
                break;
            }
        }
    }

    static Task compileTask(int entry, int depth)
    {
        Task task{Task::Compile};
        task.entry = entry;
        task.depth = depth;
        return task;
    }

    static Task emitTask(const Instruction& instruction)
    {
        Task task{Task::Emit};
        task.instruction = instruction;
        return task;
    }

    static Instruction make(Step step, Operation operation, Form form, Operand first = {},
                            Operand second = {})
    {
        return Instruction{step, operation, form, false, 0, first, second};
    }

    // Tasks run in the order given; the work list is last in, first out.
    void schedule(std::initializer_list<Task> inOrder)
    {
        for (auto task = std::rbegin(inOrder); task != std::rend(inOrder); ++task)
            tasks.push_back(*task);
    }

    void compile(int index, int depth)
    {
        const Entry& entry = entries[index];
        const Shape& shape = entry.shape;
        if (isLeaf(shape.kind))
            return program.push_back(make(Step::Load, {}, loadForm(shape.kind), shape.leaf));
        switch (shape.kind) {
        case Kind::Unary:
            return compileUnary(entry, depth);
        case Kind::Binary:
            return compileBinary(entry, depth);
        case Kind::If:
            return compileIf(entry, depth);
        case Kind::Random:
            return compileRandom(entry, depth);
        case Kind::HostCall:
            return compileHostCall(entry, depth);
        default:
            return callThroughTree(entry);
        }
    }

    void callThroughTree(const Entry& entry)
    {
        Operand node{};
        node.node = entry.node;
        program.push_back(make(Step::CallNode, {}, Form::Acc, node));
    }

    void compileUnary(const Entry& entry, int depth)
    {
        const Entry& argument = entries[entry.children[0]];
        if (argument.shape.kind == Kind::Variable)
            return program.push_back(make(Step::Unary, entry.shape.operation, Form::Variable, argument.shape.leaf));
        schedule({compileTask(entry.children[0], depth),
                  emitTask(make(Step::Unary, entry.shape.operation, Form::Acc))});
    }

    void compileBinary(const Entry& entry, int depth)
    {
        const int left = entry.children[0], right = entry.children[1];
        const Operand leftLeaf = entries[left].shape.leaf, rightLeaf = entries[right].shape.leaf;
        const Operation operation = entry.shape.operation;
        const auto combine = [&](Form form) {
            return emitTask(make(Step::Binary, operation, form, leftLeaf, rightLeaf));
        };
        const Plan plan = binaryPlan(entry);
        if (plan == Plan::Leaves) {
            Form form;
            leafPairForm(entries[left].shape.kind, entries[right].shape.kind, &form);
            return program.push_back(combine(form).instruction);
        }
        if (plan == Plan::LeftThenRightLeaf) {
            const bool constant = entries[right].shape.kind == Kind::Constant;
            return schedule({compileTask(left, depth), combine(constant ? Form::AccConstant : Form::AccVariable)});
        }
        if (plan == Plan::RightThenLeftLeaf) {
            const bool constant = entries[left].shape.kind == Kind::Constant;
            return schedule({compileTask(right, depth), combine(constant ? Form::ConstantAcc : Form::VariableAcc)});
        }
        if (depth == stackCapacity)
            return callThroughTree(entry);
        if (plan == Plan::RightFirst)
            return schedule({compileTask(right, depth), pushThenCompileTask(left, depth + 1), combine(Form::AccStack)});
        schedule({compileTask(left, depth), pushThenCompileTask(right, depth + 1), combine(Form::StackAcc)});
    }

    static Task pushThenCompileTask(int entry, int depth)
    {
        Task task = compileTask(entry, depth);
        task.action = Task::PushThenCompile;
        return task;
    }

    // Pushes the accumulator and leaves the value of the node in it, fusing
    // the push into the node's instruction when that reads two leaves.
    void pushThenCompile(int index, int depth)
    {
        const Entry& entry = entries[index];
        if (entry.shape.kind == Kind::Binary) {
            const Shape& left = entries[entry.children[0]].shape;
            const Shape& right = entries[entry.children[1]].shape;
            Form form;
            if (leafPairForm(left.kind, right.kind, &form)) {
                Instruction instruction = make(Step::Binary, entry.shape.operation, form, left.leaf, right.leaf);
                instruction.pushFirst = true;
                return program.push_back(instruction);
            }
        }
        program.push_back(make(Step::Push, {}, Form::Acc));
        compile(index, depth);
    }

    void compileIf(const Entry& entry, int depth)
    {
        const int toElse = newJump(), toEnd = newJump();
        Task jumpIfZero{Task::EmitJump};
        jumpIfZero.instruction = make(Step::JumpIfZero, {}, Form::Acc);
        jumpIfZero.jump = toElse;
        Task jump{Task::EmitJump};
        jump.instruction = make(Step::Jump, {}, Form::Acc);
        jump.jump = toEnd;
        Task patchElse{Task::PatchJump};
        patchElse.jump = toElse;
        Task patchEnd{Task::PatchJump};
        patchEnd.jump = toEnd;
        schedule({compileTask(entry.children[0], depth), jumpIfZero, compileTask(entry.children[1], depth), jump,
                  patchElse, compileTask(entry.children[2], depth), patchEnd});
    }

    // The node evaluates its position (arg2) first, then its amplitude
    // (arg1), and returns amplitude * noise.
    void compileRandom(const Entry& entry, int depth)
    {
        if (depth == stackCapacity)
            return callThroughTree(entry);
        Operand node{};
        node.node = entry.node;
        schedule({compileTask(entry.children[0], depth), emitTask(make(Step::Random, {}, Form::Acc, node)),
                  pushThenCompileTask(entry.children[1], depth + 1),
                  emitTask(make(Step::Binary, Operation::Mul, Form::AccStack))});
    }

    // The arguments left to right, each but the last pushed before the next
    // is computed, then the call, which takes the last from the accumulator.
    void compileHostCall(const Entry& entry, int depth)
    {
        const int arity = entry.shape.childCount;
        if (depth + arity > stackCapacity)
            return callThroughTree(entry);
        const Task call = emitTask(make(Step::HostCall, {}, Form::Acc, entry.shape.leaf));
        if (arity == 0)
            return program.push_back(call.instruction);
        tasks.push_back(call);
        for (int slot = arity - 1; slot >= 1; --slot)
            tasks.push_back(pushThenCompileTask(entry.children[slot], depth + slot));
        tasks.push_back(compileTask(entry.children[0], depth));
    }

    int newJump()
    {
        jumps.push_back(0);
        return static_cast<int>(jumps.size()) - 1;
    }

    std::vector<Entry> entries;
    std::vector<Task> tasks;
    std::vector<std::size_t> jumps;  // program index of each jump instruction
};

}  // namespace

Program compileProgram(const FunctionFloatBase& root) { return Compiler(root).program; }

}  // namespace compiled
}  // namespace exprcurve
