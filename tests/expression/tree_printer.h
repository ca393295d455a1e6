// Test helper: the shape of a tree as text, e.g. "Sub(x,Sub(0,y))", found with
// the classification queries alone. Constants print with %.17g, variable
// leaves by their text ("<VariableDouble>" etc. when the text is empty).
#ifndef EXPRCURVE_TESTS_TREE_PRINTER_H
#define EXPRCURVE_TESTS_TREE_PRINTER_H

#include <cstdio>
#include <string>
#include <utility>

#include "functionfloatbase.h"

namespace tree_printer {

template <class Node>
using Query = bool (Node::*)() const;

// The name of the first query that answers true, or `fallback`.
template <class Node, std::size_t N>
std::string nameBy(const Node& node, const std::pair<Query<Node>, const char*> (&queries)[N],
                   const char* fallback)
{
    for (const auto& query : queries) {
        if ((node.*query.first)())
            return query.second;
    }
    return fallback;
}

inline std::string shape(const FunctionFloatBase* node)
{
    using U = FunctionFloatUnary;
    using B = FunctionFloatBinary;
    using L = FunctionFloatBase;
    static const std::pair<Query<U>, const char*> unary[] = {
        {&U::isCos, "Cos"},     {&U::isSin, "Sin"},     {&U::isTan, "Tan"},     {&U::isExp, "Exp"},
        {&U::isLog, "Log"},     {&U::isL10, "L10"},     {&U::isAbs, "Abs"},     {&U::isSqrt, "Sqrt"},
        {&U::isACos, "ACos"},   {&U::isASin, "ASin"},   {&U::isATan, "ATan"},   {&U::isCosH, "CosH"},
        {&U::isSinH, "SinH"},   {&U::isTanH, "TanH"},   {&U::isCeil, "Ceil"},   {&U::isFloor, "Floor"},
        {&U::isJ0, "J0"},       {&U::isJ1, "J1"},       {&U::isNeg, "Neg"}};
    static const std::pair<Query<B>, const char*> binary[] = {
        {&B::isAdd, "Add"}, {&B::isSub, "Sub"}, {&B::isMul, "Mul"}, {&B::isDiv, "Div"},
        {&B::isPow, "Pow"}, {&B::isAnd, "And"}, {&B::isOr, "Or"},   {&B::isEql, "Eql"},
        {&B::isGrt, "Grt"}, {&B::isLss, "Lss"}, {&B::isMax, "Max"}, {&B::isMin, "Min"}};
    static const std::pair<Query<L>, const char*> leaves[] = {
        {&L::isVariableDouble, "<VariableDouble>"}, {&L::isVariableFloat, "<VariableFloat>"},
        {&L::isVariableInt, "<VariableInt>"}, {&L::isVariableBool, "<VariableBool>"}};

    if (!node)
        return "null";
    if (const FunctionFloatConstant* constant = node->getConstantRef()) {
        char buffer[40];
        std::snprintf(buffer, sizeof buffer, "%.17g", constant->value);
        return buffer;
    }
    if (const U* u = node->getUnaryRef())
        return nameBy(*u, unary, "Unary") + "(" + shape(u->arg) + ")";
    if (const B* b = node->getBinaryRef())  // the random node answers none of the binary queries
        return nameBy(*b, binary, "Rnd") + "(" + shape(b->arg1) + "," + shape(b->arg2) + ")";
    if (const FunctionFloatTernary* t = node->getTernaryRef())
        return std::string(t->isIf() ? "If" : "Ternary") + "(" + shape(t->arg1) + "," + shape(t->arg2) +
               "," + shape(t->arg3) + ")";
    return node->text.empty() ? nameBy(*node, leaves, "<node>") : node->text;
}

}  // namespace tree_printer

#endif  // EXPRCURVE_TESTS_TREE_PRINTER_H
