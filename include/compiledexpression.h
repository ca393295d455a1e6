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
//   - Nodes the compiler does not know (a host's own node classes, the random
//     node, and any node with a missing child) are evaluated through their
//     virtual operator(), which calls back into the tree. A host class derived
//     from one of the library's operator classes is taken to compute what that
//     class computes.
//
// Evaluation allocates nothing and writes nothing outside its own frame, so
// one compiled form may be evaluated from several threads at once while
// nobody writes the bound variables. It uses a fixed-size stack in its frame;
// a subtree that would need a deeper stack is evaluated through the tree.
//
// Native code: on x86-64 Linux the program is translated into machine code
// (SSE2 operations in the tree's order, the same math-library calls through
// the same C++ wrappers the interpreter uses), placed in memory pages of its
// own (at least one page, 4 KiB, per compiled form; copies share it) that
// are made executable and never written again. Programs that call back into
// the tree (a host's nodes, the random node, a subtree too deep for the
// stack) stay interpreted, so that an exception thrown there unwinds as it
// would from the tree. Where executable memory cannot be had
// (another platform, a policy that forbids it) or with Backend::Interpreter,
// the program is interpreted; the results are the same either way.
#ifndef EXPRCURVE_COMPILEDEXPRESSION_H
#define EXPRCURVE_COMPILEDEXPRESSION_H

#include <cstddef>
#include <memory>
#include <vector>

class FunctionFloatBase;

namespace exprcurve {

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

    double operator()() const { return native ? native->entry() : interpret(); }

    // True when evaluation runs native code.
    bool usesNativeCode() const { return native != nullptr; }

    struct Instruction;

    // Executable memory holding the program's machine code; `entry` computes
    // the expression.
    struct NativeCode {
        double (*entry)();
        void* memory;
        std::size_t size;
        ~NativeCode();
    };

private:
    double interpret() const;

    std::vector<Instruction> program;
    std::shared_ptr<const NativeCode> native;
};

}  // namespace exprcurve

#endif  // EXPRCURVE_COMPILEDEXPRESSION_H
