#include "variable_leaves.h"

#include <unordered_set>

#include "functionfloatbase.h"
#include "functionparserbase.h"

namespace exprcurve::variables {

namespace {

// The kinds are asked in the same order as for every other use of a leaf, the
// first true answer winning, in case a host's node class answers several.
bool bindingOf(const FunctionFloatBase& node, Binding& binding)
{
    if (node.isVariableBool())
        binding = {KEY_BOOL, node.getVariableBoolRef()->control};
    else if (node.isVariableInt())
        binding = {KEY_INT, node.getVariableIntRef()->control};
    else if (node.isVariableFloat())
        binding = {KEY_FLOAT, node.getVariableFloatRef()->control};
    else if (node.isVariableDouble())
        binding = {KEY_DOUBLE, node.getVariableDoubleRef()->control};
    else
        return false;
    return true;
}

}  // namespace

std::vector<Binding> distinctBindings(const FunctionFloatBase* root)
{
    std::vector<Binding> bindings;
    std::unordered_set<Binding, BindingHash> seen;
    std::vector<const FunctionFloatBase*> pending{root};
    while (!pending.empty()) {
        const FunctionFloatBase* node = pending.back();
        pending.pop_back();
        if (!node)
            continue;
        // Children go on the stack last first, so the first is taken next.
        Binding binding{};
        if (node->isUnary()) {
            pending.push_back(node->getUnaryRef()->arg);
        } else if (node->isBinary()) {
            const FunctionFloatBinary& binary = *node->getBinaryRef();
            pending.insert(pending.end(), {binary.arg2, binary.arg1});
        } else if (node->isTernary()) {
            const FunctionFloatTernary& ternary = *node->getTernaryRef();
            pending.insert(pending.end(), {ternary.arg3, ternary.arg2, ternary.arg1});
        } else if (node->isHostCall()) {
            const FunctionFloatHostCall& call = *node->getHostCallRef();
            for (unsigned int i = call.arity; i-- > 0;)
                pending.push_back(call.arguments[i]);
        } else if (bindingOf(*node, binding) && seen.insert(binding).second) {
            bindings.push_back(binding);
        }
    }
    return bindings;
}

}  // namespace exprcurve::variables
