// A compiled form of an expression tree for hot loops.
//
// CompiledExpression walks a tree once and turns it into a flat program for a
// small accumulator machine, with fused instructions for the common shapes
// (variable op variable, variable op constant, a function of a variable).
// Evaluating the program gives the same bits as evaluating the tree: the same
// operations in the same order and grouping, the same math library calls, the
// same -0.0 behaviour, NaN wherever the tree gives NaN, and "if" evaluating
// only the branch it selects. (When both operands of an operation are NaN,
// which one's sign and payload survives is left open by C++ itself, for the
// tree as much as for the program.)
//
//     std::unique_ptr<FunctionFloatBase> tree(parser.parseString(text, message));
//     const exprcurve::CompiledExpression compiled(tree.get());
//     for (...) { a = ...; value = compiled(); }  // same bits as (*tree)()
//
// Lifetime and binding:
//   - The tree must outlive the compiled form and stay unchanged while it is
//     in use. Variable leaves are still read through their addresses at every
//     evaluation (the host changes its variables as before), but the addresses
//     and the constants' values are taken when compiling: a tree whose
//     structure, `value` or `control` fields change must be compiled again.
//   - Nodes the compiler does not know (a host's own node classes and any
//     node with a missing child) are evaluated through their virtual
//     operator(), which calls back into the tree; subtrees holding them keep
//     the tree's order of evaluation. A host class derived from one of the
//     library's operator classes is taken to compute what that class
//     computes. The random node is computed from its own table.
//   - Calls of host functions (defineFunction) are part of the program: the
//     arguments are computed left to right and the function is called
//     directly, from native code as well; subtrees holding calls keep the
//     tree's order. A call nested so deep that its waiting arguments would
//     overflow the program's stack of 64 values is evaluated through the
//     tree. Exceptions: the tree and the interpreter let whatever a host
//     function throws reach their caller. Native code cannot be unwound, so
//     a host function must not throw when its form runs native code: there
//     an escaping exception ends the program (std::terminate) at the call.
//     Give forms whose functions may throw Backend::Interpreter.
//
// Evaluation allocates nothing and writes nothing outside its own frame, so
// one compiled form may be evaluated from several threads at once while
// nobody writes the bound variables.
//
// Native code: on x86-64 Linux the program is translated into machine code
// (SSE2 operations in the tree's order, the same math-library calls the
// interpreter makes) for every tree of the library's own nodes, however deep
// or long: the operand needing more stack is computed first (the library's
// nodes have no side effects, so this changes no bit) and the stack spills
// to the machine stack. The code of many forms shares pages of one process-
// wide pool; no page is ever writable and executable at once, and the
// constants of the text are kept in read-only data beside the code, never in
// executable memory. Copies share their code; the last one frees it.
// Programs that call back into the tree (a host's nodes, a node with a
// missing child) stay interpreted, so that an exception thrown there unwinds
// as it would from the tree, and so do programs holding a random node.
// Programs with host calls run native code; their batches run row after
// row, so that each row makes the calls operator() would make. Where executable memory cannot be
// had (another platform, a policy that forbids it: one refusal turns native
// code off for the process), after setNativeCodeAllowed(false), or with
// Backend::Interpreter, the program is interpreted; the results are the
// same either way, and usesNativeCode() tells which one runs.
//
// Batches: evaluate() computes many rows in one call, the values of listed
// variables taken from columns. Native code runs a loop over the rows, four
// rows per AVX instruction where the processor has AVX (two per SSE2
// instruction elsewhere); each lane rounds exactly as the scalar instruction
// does, math functions are called lane by lane, and an "if" computes both
// branches and selects per row. Every result is bit for bit what operator()
// gives for that row.
#ifndef EXPRCURVE_COMPILEDEXPRESSION_H
#define EXPRCURVE_COMPILEDEXPRESSION_H

#include <cstddef>
#include <memory>

class FunctionFloatBase;

namespace exprcurve {

// One variable's values for a batch: `variable` is the address bound in the
// tree's leaves (a double, float, int or bool of the host), `values` points
// to that many values of the same type, one per row.
struct Column {
    const void* variable;  // the address of a host variable, as bound in the tree's leaves
    const void* values;    // `rows` values of that variable's own type
};

namespace compiled {
struct State;
}

class CompiledExpression {
public:
    enum class Backend {
        Automatic,    // native code where the platform allows, else the interpreter
        Interpreter,  // always the interpreter
    };

    // `root` must not be null; it is not owned and must outlive this object.
    explicit CompiledExpression(const FunctionFloatBase* root,
                                Backend backend = Backend::Automatic);
    ~CompiledExpression();
    CompiledExpression(const CompiledExpression& other);
    CompiledExpression& operator=(const CompiledExpression& other);
    CompiledExpression(CompiledExpression&& other) noexcept;
    CompiledExpression& operator=(CompiledExpression&& other) noexcept;

    double operator()() const { return nativeEntry ? nativeEntry() : interpret(); }

    // True when evaluation runs native code.
    bool usesNativeCode() const { return nativeEntry != nullptr; }

    // results[i] = what operator() gives while every listed variable holds
    // its i-th value; unlisted variables are read from the host. Nothing is
    // written to the host's variables, so several threads may evaluate one
    // form at once; except that a form holding a node it does not know (a
    // host's own node class, which can only see the host's variables) writes
    // each listed variable before each row and restores the original values
    // after the last row (also when a node throws), and is then
    // single-threaded like the expression-driven curve evaluation.
    void evaluate(std::size_t rows, const Column* columns, std::size_t columnCount, double* results) const;

    // Process-wide, true at start; forms made afterwards follow it (forms
    // already made keep their code). Thread-safe.
    static void setNativeCodeAllowed(bool allowed);

private:
    double interpret() const;

    std::shared_ptr<const compiled::State> state;
    double (*nativeEntry)() = nullptr;
};

}  // namespace exprcurve

#endif  // EXPRCURVE_COMPILEDEXPRESSION_H
