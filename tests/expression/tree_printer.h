// Test helper: the shape of a tree as text, e.g. "Sub(x,Sub(0,y))", found with
// the classification queries alone. Constants print with %.17g, leaves by
// their text, a textless double leaf as "<VariableDouble>". Unary nodes the
// tests do not build print as "Unary"; the random node answers no binary query.
#ifndef EXPRCURVE_TESTS_TREE_PRINTER_H
#define EXPRCURVE_TESTS_TREE_PRINTER_H

#include <cstdio>
#include <string>
#include <utility>

#include "functionfloatbase.h"

namespace tree_printer {

inline std::string shape(const FunctionFloatBase* node)
{
    using U = FunctionFloatUnary;
    using B = FunctionFloatBinary;
    static const std::pair<bool (U::*)() const, const char*> unary[] = {
        {&U::isSin, "Sin"}, {&U::isLog, "Log"}, {&U::isL10, "L10"}, {&U::isAbs, "Abs"}, {&U::isNeg, "Neg"}};
    static const std::pair<bool (B::*)() const, const char*> binary[] = {
        {&B::isAdd, "Add"}, {&B::isSub, "Sub"}, {&B::isMul, "Mul"}, {&B::isDiv, "Div"}, {&B::isPow, "Pow"},
        {&B::isAnd, "And"}, {&B::isOr, "Or"}, {&B::isEql, "Eql"}, {&B::isGrt, "Grt"}, {&B::isLss, "Lss"},
        {&B::isMax, "Max"}, {&B::isMin, "Min"}};
    const auto nameBy = [](const auto& node, const auto& queries, const char* unnamed) -> std::string {
        for (const auto& [query, name] : queries)
            if ((node.*query)())
                return name;
        return unnamed;
    };
    if (const FunctionFloatConstant* constant = node->getConstantRef()) {
        char buffer[40];
        std::snprintf(buffer, sizeof buffer, "%.17g", constant->value);
        return buffer;
    }
    if (const U* u = node->getUnaryRef())
        return nameBy(*u, unary, "Unary") + "(" + shape(u->arg) + ")";
    if (const B* b = node->getBinaryRef())
        return nameBy(*b, binary, "Rnd") + "(" + shape(b->arg1) + "," + shape(b->arg2) + ")";
    if (const FunctionFloatTernary* t = node->getTernaryRef())
        return "If(" + shape(t->arg1) + "," + shape(t->arg2) + "," + shape(t->arg3) + ")";
    return !node->text.empty() ? node->text : node->isVariableDouble() ? "<VariableDouble>" : "<leaf>";
}

}  // namespace tree_printer

#endif  // EXPRCURVE_TESTS_TREE_PRINTER_H
