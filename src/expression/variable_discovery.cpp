// Which registered keys a tree reads, in the order a depth-first,
// left-to-right walk first reaches them.
//
// Each kind of node has a function of its own so that the recursion, which
// goes one level per node, carries only the lists of the node it is in.
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

KeyList varsOfBinary(FunctionParserBase& parser, const FunctionFloatBinary& node)
{
    KeyList keys = parser.getAllVars(node.arg1);
    const KeyList secondKeys = parser.getAllVars(node.arg2);
    appendNew(keys, secondKeys);
    return keys;
}

KeyList varsOfTernary(FunctionParserBase& parser, const FunctionFloatTernary& node)
{
    KeyList keys = parser.getAllVars(node.arg1);
    const KeyList secondKeys = parser.getAllVars(node.arg2);
    const KeyList thirdKeys = parser.getAllVars(node.arg3);
    appendNew(keys, secondKeys);
    appendNew(keys, thirdKeys);
    return keys;
}

// A leaf's entry is the first key of its own kind bound to its address (the
// lookup of findIndex); an unregistered binding is a null entry. Any other
// node reads no key.
KeyList varsOfLeaf(FunctionParserBase& parser, const FunctionFloatBase& node)
{
    if (node.isVariableBool())
        return KeyList(1, parser.findIndex(node.getVariableBoolRef()->control));
    if (node.isVariableInt())
        return KeyList(1, parser.findIndex(node.getVariableIntRef()->control));
    if (node.isVariableFloat())
        return KeyList(1, parser.findIndex(node.getVariableFloatRef()->control));
    if (node.isVariableDouble())
        return KeyList(1, parser.findIndex(node.getVariableDoubleRef()->control));
    return KeyList();
}

}  // namespace

std::vector<FunctionParserBase::keyStruct*> FunctionParserBase::getAllVars(const FunctionFloatBase* node)
{
    if (!node)
        return KeyList();
    if (node->isUnary())
        return getAllVars(node->getUnaryRef()->arg);
    if (node->isBinary())
        return varsOfBinary(*this, *node->getBinaryRef());
    if (node->isTernary())
        return varsOfTernary(*this, *node->getTernaryRef());
    return varsOfLeaf(*this, *node);
}
