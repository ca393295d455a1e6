// Test helper: the shape of a tree as text, e.g. "Sub(x,Sub(0,y))", read
// through the classification queries alone. Constants print with %.17g,
// variable leaves by their text (or "<double>" etc. when the text is empty).
#ifndef EXPRCURVE_TESTS_TREE_PRINTER_H
#define EXPRCURVE_TESTS_TREE_PRINTER_H

#include <cstdio>
#include <string>

#include "functionfloatbase.h"

namespace tree_printer {

inline std::string unaryName(const FunctionFloatUnary& u)
{
    if (u.isCos()) return "Cos";
    if (u.isSin()) return "Sin";
    if (u.isTan()) return "Tan";
    if (u.isExp()) return "Exp";
    if (u.isLog()) return "Log";
    if (u.isL10()) return "L10";
    if (u.isAbs()) return "Abs";
    if (u.isSqrt()) return "Sqrt";
    if (u.isACos()) return "ACos";
    if (u.isASin()) return "ASin";
    if (u.isATan()) return "ATan";
    if (u.isCosH()) return "CosH";
    if (u.isSinH()) return "SinH";
    if (u.isTanH()) return "TanH";
    if (u.isCeil()) return "Ceil";
    if (u.isFloor()) return "Floor";
    if (u.isJ0()) return "J0";
    if (u.isJ1()) return "J1";
    if (u.isNeg()) return "Neg";
    return "Unary?";
}

// The random node answers none of the binary operator queries.
inline std::string binaryName(const FunctionFloatBinary& b)
{
    if (b.isAdd()) return "Add";
    if (b.isSub()) return "Sub";
    if (b.isMul()) return "Mul";
    if (b.isDiv()) return "Div";
    if (b.isPow()) return "Pow";
    if (b.isAnd()) return "And";
    if (b.isOr()) return "Or";
    if (b.isEql()) return "Eql";
    if (b.isGrt()) return "Grt";
    if (b.isLss()) return "Lss";
    if (b.isMax()) return "Max";
    if (b.isMin()) return "Min";
    return "Rnd";
}

inline std::string variableText(const FunctionFloatBase& leaf, const char* kind)
{
    return leaf.text.empty() ? std::string("<") + kind + ">" : leaf.text;
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
    if (node->isUnary()) {
        const FunctionFloatUnary* u = node->getUnaryRef();
        return unaryName(*u) + "(" + shape(u->arg) + ")";
    }
    if (node->isBinary()) {
        const FunctionFloatBinary* b = node->getBinaryRef();
        return binaryName(*b) + "(" + shape(b->arg1) + "," + shape(b->arg2) + ")";
    }
    if (node->isTernary()) {
        const FunctionFloatTernary* t = node->getTernaryRef();
        const std::string name = t->isIf() ? "If" : "Ternary?";
        return name + "(" + shape(t->arg1) + "," + shape(t->arg2) + "," + shape(t->arg3) + ")";
    }
    if (node->isVariableDouble()) return variableText(*node, "double");
    if (node->isVariableFloat()) return variableText(*node, "float");
    if (node->isVariableInt()) return variableText(*node, "int");
    if (node->isVariableBool()) return variableText(*node, "bool");
    return "?";
}

}  // namespace tree_printer

#endif  // EXPRCURVE_TESTS_TREE_PRINTER_H
