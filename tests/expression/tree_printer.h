// Test helper: the shape of a tree as text, e.g. "Sub(x,Sub(0,y))". Inner
// nodes print their class name without the "FunctionFloat" prefix, constants
// print with %.17g, variable leaves by their text ("<VariableDouble>" etc.
// when the text is empty).
#ifndef EXPRCURVE_TESTS_TREE_PRINTER_H
#define EXPRCURVE_TESTS_TREE_PRINTER_H

#include <cxxabi.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <typeinfo>

#include "functionfloatbase.h"

namespace tree_printer {

inline std::string className(const FunctionFloatBase& node)
{
    int status = 0;
    char* demangled = abi::__cxa_demangle(typeid(node).name(), nullptr, nullptr, &status);
    std::string name = status == 0 ? demangled : typeid(node).name();
    std::free(demangled);
    const std::string prefix = "FunctionFloat";
    return name.compare(0, prefix.size(), prefix) == 0 ? name.substr(prefix.size()) : name;
}

inline std::string shape(const FunctionFloatBase* node)
{
    if (!node)
        return "null";
    if (node->isConstant()) {
        char buffer[40];
        std::snprintf(buffer, sizeof buffer, "%.17g", node->getConstantRef()->value);
        return buffer;
    }
    const std::string name = className(*node);
    if (node->isUnary())
        return name + "(" + shape(node->getUnaryRef()->arg) + ")";
    if (node->isBinary()) {
        const FunctionFloatBinary* b = node->getBinaryRef();
        return name + "(" + shape(b->arg1) + "," + shape(b->arg2) + ")";
    }
    if (node->isTernary()) {
        const FunctionFloatTernary* t = node->getTernaryRef();
        return name + "(" + shape(t->arg1) + "," + shape(t->arg2) + "," + shape(t->arg3) + ")";
    }
    return node->text.empty() ? "<" + name + ">" : node->text;
}

}  // namespace tree_printer

#endif  // EXPRCURVE_TESTS_TREE_PRINTER_H
