// The language's built-in operators and functions, one row each.
//
// The row is the one place that ties a name of the language to its node
// class and its value rule: the parser builds nodes from it, the compiled
// form takes its operations from it, and tree printers name nodes by it.
// A host can list the names it must not reuse, label the nodes of a tree or
// offer the functions to its users from the same rows.
//
//     for (const exprcurve::BuiltinOperation& row : exprcurve::builtinOperations)
//         if (!row.isOperator) offer(row.name, row.arity);
#ifndef EXPRCURVE_BUILTINOPERATIONS_H
#define EXPRCURVE_BUILTINOPERATIONS_H

#include <cstddef>
#include <string_view>

class FunctionFloatBase;

namespace exprcurve {

struct BuiltinOperation {
    const char* name;       // as written: "+" for an operator, "sin" for a function
    const char* className;  // the node class's short name: "Add" for FunctionFloatAdd
    bool isOperator;        // written between its two operands, else as name(...)
    unsigned int arity;     // operands written in the text ("rnd" reads "t" too)
    FunctionFloatBase* (*create)();                   // a new node of the class, no children
    bool (*isNodeOf)(const FunctionFloatBase& node);  // node is of the row's class
    double (*unary)(double);                          // the value rule of a one-operand
    double (*binary)(double, double);                 // or two-operand row; else null
};

// The ten operators, loosest first (the order in which the parser splits a
// text), then the 23 functions in the order the parser tries them.
constexpr std::size_t builtinOperationCount = 33;
extern const BuiltinOperation builtinOperations[builtinOperationCount];

// The function called `name` (exact, lower case), or null; operators are not
// found by name.
const BuiltinOperation* findBuiltinFunction(std::string_view name);

// The row of the node's class, or null for leaves, host calls and nodes of a
// host's own classes. A binary node that answers none of the binary queries
// is taken to be the random node, which answers none by design.
const BuiltinOperation* builtinOperationOf(const FunctionFloatBase& node);

}  // namespace exprcurve

#endif  // EXPRCURVE_BUILTINOPERATIONS_H
