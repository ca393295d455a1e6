// Batches of expressions that call host functions, for the C and Python
// interfaces.
//
// CompiledExpression::evaluate evaluates such a form row by row through the
// tree, writing the listed variables into the host's storage first, but it
// writes only variables that it reads outside the host calls: a variable
// read only among a call's arguments (`lerp(x,2,0.5)`) keeps its current
// value in every row. Until the compiled form writes those too, batches of
// forms with host calls go through the loop below, which writes every listed
// variable the tree reads, of any kind, and puts the values back afterwards.
#ifndef EXPRCURVE_HOST_CALL_BATCHES_H
#define EXPRCURVE_HOST_CALL_BATCHES_H

#include <cstddef>
#include <vector>

#include "compiledexpression.h"

class FunctionFloatBase;

namespace exprcurve {

// What a tree reads, found once when it is parsed.
struct TreeInputs {
    struct Leaf {
        const void* address;
        std::size_t size;  // of the variable's type
    };
    std::vector<Leaf> leaves;  // each variable once
    bool callsHost = false;    // a host call anywhere in the tree
};

TreeInputs treeInputs(const FunctionFloatBase* root);

// results[i] = compiled() while every listed variable that the tree reads
// holds its i-th value; the variables are restored before returning.
void evaluateRowByRow(const CompiledExpression& compiled, const TreeInputs& inputs,
                      std::size_t rows, const Column* columns, std::size_t columnCount,
                      double* results);

}  // namespace exprcurve

#endif  // EXPRCURVE_HOST_CALL_BATCHES_H
