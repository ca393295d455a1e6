// Test helper: the shape of a tree as text, e.g. "Sub(x,Sub(0,y))", found
// without RTTI: built-in nodes by their row of the table of built-ins (its
// class name), host calls as "Host(...)". Constants print with %.17g, leaves
// by their text, a textless double leaf as "<VariableDouble>".
#ifndef EXPRCURVE_TESTS_TREE_PRINTER_H
#define EXPRCURVE_TESTS_TREE_PRINTER_H

#include <cstdio>
#include <string>
#include <vector>

#include "builtinoperations.h"
#include "functionfloatbase.h"

namespace tree_printer {

inline std::string shape(const FunctionFloatBase* node);

inline std::string call(const char* name, const std::vector<const FunctionFloatBase*>& arguments)
{
    std::string text = std::string(name) + "(";
    for (std::size_t i = 0; i < arguments.size(); ++i)
        text += (i > 0 ? "," : "") + shape(arguments[i]);
    return text + ")";
}

inline std::string shape(const FunctionFloatBase* node)
{
    if (const FunctionFloatConstant* constant = node->getConstantRef()) {
        char buffer[40];
        std::snprintf(buffer, sizeof buffer, "%.17g", constant->value);
        return buffer;
    }
    const exprcurve::BuiltinOperation* row = exprcurve::builtinOperationOf(*node);
    const char* name = row ? row->className : "?";
    if (const FunctionFloatUnary* u = node->getUnaryRef())
        return call(name, {u->arg});
    if (const FunctionFloatBinary* b = node->getBinaryRef())
        return call(name, {b->arg1, b->arg2});
    if (const FunctionFloatTernary* t = node->getTernaryRef())
        return call(name, {t->arg1, t->arg2, t->arg3});
    if (const FunctionFloatHostCall* h = node->getHostCallRef())
        return call("Host", std::vector<const FunctionFloatBase*>(h->arguments, h->arguments + h->arity));
    return !node->text.empty() ? node->text : node->isVariableDouble() ? "<VariableDouble>" : "<leaf>";
}

}  // namespace tree_printer

#endif  // EXPRCURVE_TESTS_TREE_PRINTER_H
