// The variables a tree reads: the address and key kind behind each of its
// variable leaves, found by a walk with a stack of its own (trees may be a
// thousand levels deep) through every node kind, host calls' arguments
// included.
#ifndef EXPRCURVE_EXPRESSION_VARIABLE_LEAVES_H
#define EXPRCURVE_EXPRESSION_VARIABLE_LEAVES_H

#include <cstddef>
#include <functional>
#include <vector>

class FunctionFloatBase;

namespace exprcurve::variables {

// What a variable leaf reads: the key kind of its class and its address.
struct Binding {
    int type;  // KEY_BOOL, KEY_INT, KEY_FLOAT or KEY_DOUBLE
    const void* address;

    bool operator==(const Binding& other) const { return type == other.type && address == other.address; }
};

struct BindingHash {
    std::size_t operator()(const Binding& binding) const
    {
        return std::hash<const void*>()(binding.address) ^ static_cast<std::size_t>(binding.type);
    }
};

// The bindings of the tree's leaves, each once, in the order a depth-first,
// left-to-right walk first reaches them.
std::vector<Binding> distinctBindings(const FunctionFloatBase* root);

}  // namespace exprcurve::variables

#endif  // EXPRCURVE_EXPRESSION_VARIABLE_LEAVES_H
