// Which registered keys a tree reads, in the order a depth-first,
// left-to-right walk first reaches them.
#include <algorithm>
#include <vector>

#include "functionfloatbase.h"
#include "functionparserbase.h"

namespace {

using KeyList = std::vector<FunctionParserBase::keyStruct*>;

// Appends the entries of `more` that `list` does not hold yet; the lists are
// short, so a linear search of what has been gathered is enough.
void appendNew(KeyList& list, const KeyList& more)
{
    for (FunctionParserBase::keyStruct* key : more) {
        if (std::find(list.begin(), list.end(), key) == list.end())
            list.push_back(key);
    }
}

}  // namespace

std::vector<FunctionParserBase::keyStruct*> FunctionParserBase::getAllVars(const FunctionFloatBase* node)
{
    if (!node)
        return {};
    if (node->isUnary())
        return getAllVars(node->getUnaryRef()->arg);
    if (node->isBinary()) {
        const FunctionFloatBinary* binary = node->getBinaryRef();
        KeyList keys = getAllVars(binary->arg1);
        const KeyList secondKeys = getAllVars(binary->arg2);
        appendNew(keys, secondKeys);
        return keys;
    }
    if (node->isTernary()) {
        const FunctionFloatTernary* ternary = node->getTernaryRef();
        KeyList keys = getAllVars(ternary->arg1);
        const KeyList secondKeys = getAllVars(ternary->arg2);
        const KeyList thirdKeys = getAllVars(ternary->arg3);
        appendNew(keys, secondKeys);
        appendNew(keys, thirdKeys);
        return keys;
    }
    // A leaf's entry is the first key of its own kind bound to its address,
    // the lookup of findIndex; an unregistered binding is a null entry.
    if (node->isVariableBool())
        return {findIndex(node->getVariableBoolRef()->control)};
    if (node->isVariableInt())
        return {findIndex(node->getVariableIntRef()->control)};
    if (node->isVariableFloat())
        return {findIndex(node->getVariableFloatRef()->control)};
    if (node->isVariableDouble())
        return {findIndex(node->getVariableDoubleRef()->control)};
    return {};
}
