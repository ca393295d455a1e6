// The rows of the built-in operators and functions.
#include "builtinoperations.h"

#include "functionfloatbase.h"
#include "functionfloatoperations.h"

namespace exprcurve {
namespace {

namespace op = operations;

template <class Node>
FunctionFloatBase* create()
{
    return new Node;
}

const FunctionFloatUnary* arityOf(const FunctionFloatBase& node, const FunctionFloatUnary*)
{
    return node.getUnaryRef();
}
const FunctionFloatBinary* arityOf(const FunctionFloatBase& node, const FunctionFloatBinary*)
{
    return node.getBinaryRef();
}
const FunctionFloatTernary* arityOf(const FunctionFloatBase& node, const FunctionFloatTernary*)
{
    return node.getTernaryRef();
}

// The node is of the arity class and answers the class's own query.
template <class Arity, bool (Arity::*query)() const>
bool answers(const FunctionFloatBase& node)
{
    const Arity* arity = arityOf(node, static_cast<const Arity*>(nullptr));
    return arity != nullptr && (arity->*query)();
}

bool isRandomNode(const FunctionFloatBase& node);

using U = FunctionFloatUnary;
using B = FunctionFloatBinary;

#define EXPRCURVE_OPERATOR(NAME, CLASS, RULE) \
    {NAME, #CLASS, true, 2, create<FunctionFloat##CLASS>, answers<B, &B::is##CLASS>, nullptr, RULE}
#define EXPRCURVE_UNARY(NAME, CLASS, RULE) \
    {NAME, #CLASS, false, 1, create<FunctionFloat##CLASS>, answers<U, &U::is##CLASS>, RULE, nullptr}
#define EXPRCURVE_BINARY(NAME, CLASS, RULE) \
    {NAME, #CLASS, false, 2, create<FunctionFloat##CLASS>, answers<B, &B::is##CLASS>, nullptr, RULE}

}  // namespace

const BuiltinOperation builtinOperations[builtinOperationCount] = {
    EXPRCURVE_OPERATOR("|", Or, op::logicalOr),
    EXPRCURVE_OPERATOR("&", And, op::logicalAnd),
    EXPRCURVE_OPERATOR("=", Eql, op::equal),
    EXPRCURVE_OPERATOR(">", Grt, op::greater),
    EXPRCURVE_OPERATOR("<", Lss, op::less),
    EXPRCURVE_OPERATOR("+", Add, op::sum),
    EXPRCURVE_OPERATOR("-", Sub, op::difference),
    EXPRCURVE_OPERATOR("*", Mul, op::product),
    EXPRCURVE_OPERATOR("/", Div, op::quotient),
    EXPRCURVE_OPERATOR("^", Pow, op::toThePower),
    // "if" evaluates only the branch it selects: no value rule of its own.
    {"if", "If", false, 3, create<FunctionFloatIf>, answers<FunctionFloatTernary, &FunctionFloatTernary::isIf>,
     nullptr, nullptr},
    EXPRCURVE_BINARY("max", Max, op::maximum),
    EXPRCURVE_BINARY("min", Min, op::minimum),
    EXPRCURVE_UNARY("exp", Exp, op::exponential),
    EXPRCURVE_UNARY("log10", L10, op::decimalLog),
    EXPRCURVE_UNARY("log", Log, op::naturalLog),
    // The random node reads its own table: no value rule of its own either.
    {"rnd", "Rnd", false, 1, create<FunctionFloatRnd>, isRandomNode, nullptr, nullptr},
    EXPRCURVE_UNARY("abs", Abs, op::flipSignUnlessPositive),
    EXPRCURVE_UNARY("sqrt", Sqrt, op::squareRoot),
    EXPRCURVE_UNARY("acos", ACos, op::arcCosine),
    EXPRCURVE_UNARY("asin", ASin, op::arcSine),
    EXPRCURVE_UNARY("atan", ATan, op::arcTangent),
    EXPRCURVE_UNARY("cosh", CosH, op::hyperbolicCosine),
    EXPRCURVE_UNARY("sinh", SinH, op::hyperbolicSine),
    EXPRCURVE_UNARY("tanh", TanH, op::hyperbolicTangent),
    EXPRCURVE_UNARY("cos", Cos, op::cosine),
    EXPRCURVE_UNARY("sin", Sin, op::sine),
    EXPRCURVE_UNARY("tan", Tan, op::tangent),
    EXPRCURVE_UNARY("ceil", Ceil, op::roundUp),
    EXPRCURVE_UNARY("floor", Floor, op::roundDown),
    EXPRCURVE_UNARY("j0", J0, op::besselJ0),
    EXPRCURVE_UNARY("j1", J1, op::besselJ1),
    EXPRCURVE_UNARY("not", Neg, op::logicalNot),
};

#undef EXPRCURVE_OPERATOR
#undef EXPRCURVE_UNARY
#undef EXPRCURVE_BINARY

namespace {

bool isRandomNode(const FunctionFloatBase& node)
{
    if (!node.isBinary())
        return false;
    for (const BuiltinOperation& row : builtinOperations) {
        if (row.binary && row.isNodeOf(node))
            return false;
    }
    return true;
}

}  // namespace

const BuiltinOperation* findBuiltinFunction(std::string_view name)
{
    for (const BuiltinOperation& row : builtinOperations) {
        if (!row.isOperator && name == row.name)
            return &row;
    }
    return nullptr;
}

const BuiltinOperation* builtinOperationOf(const FunctionFloatBase& node)
{
    for (const BuiltinOperation& row : builtinOperations) {
        if (row.isNodeOf(node))
            return &row;
    }
    return nullptr;
}

}  // namespace exprcurve
