// The one place that turns a key's kind code into the type of the host
// variable behind it (internal).
#ifndef EXPRCURVE_EXPRESSION_KEY_TABLE_H
#define EXPRCURVE_EXPRESSION_KEY_TABLE_H

#include "functionparserbase.h"

namespace exprcurve::keys {

// Calls `visitor` with the key's variable as a bool*, int*, float* or
// double*, after its kind, and returns what the visitor returns. A key of any
// other kind code reaches no visitor and gives a value-initialised result
// (null, 0.0, nothing), which is what every caller answers for it.
template <typename Visitor>
auto visitKey(const FunctionParserBase::keyStruct& key, Visitor&& visitor)
    -> decltype(visitor(static_cast<double*>(nullptr)))
{
    using Result = decltype(visitor(static_cast<double*>(nullptr)));
    switch (key.type) {
    case KEY_BOOL:
        return visitor(static_cast<bool*>(key.ptr));
    case KEY_INT:
        return visitor(static_cast<int*>(key.ptr));
    case KEY_FLOAT:
        return visitor(static_cast<float*>(key.ptr));
    case KEY_DOUBLE:
        return visitor(static_cast<double*>(key.ptr));
    default:
        return Result();
    }
}

// Lambdas for each kind joined into one visitor.
template <typename... Lambdas>
struct Overloaded : Lambdas... {
    using Lambdas::operator()...;
};
template <typename... Lambdas>
Overloaded(Lambdas...) -> Overloaded<Lambdas...>;

}  // namespace exprcurve::keys

#endif  // EXPRCURVE_EXPRESSION_KEY_TABLE_H
