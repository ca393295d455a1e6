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
#ifndef EXPRCURVE_COMPILEDEXPRESSION_H
#define EXPRCURVE_COMPILEDEXPRESSION_H

#include <vector>

class FunctionFloatBase;

namespace exprcurve {

class CompiledExpression {
public:
    // `root` must not be null; it is not owned and must outlive this object.
    explicit CompiledExpression(const FunctionFloatBase* root);
    ~CompiledExpression();
    CompiledExpression(const CompiledExpression& other);
    CompiledExpression& operator=(const CompiledExpression& other);
    CompiledExpression(CompiledExpression&& other) noexcept;
    CompiledExpression& operator=(CompiledExpression&& other) noexcept;

    double operator()() const;

    struct Instruction;

private:
    std::vector<Instruction> program;
};

}  // namespace exprcurve

#endif  // EXPRCURVE_COMPILEDEXPRESSION_H
