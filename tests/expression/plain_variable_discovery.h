// Test helper: the keys a tree reads, found the plain way, as the library's
// variable discovery is defined: each node (a host's call node too, over its
// arguments) merges its children's lists,
// appending the entries not yet held, and each leaf scans the key table for
// the first key of its own kind at its address. The library walks and indexes
// instead; its answers must be these, element for element.
#ifndef EXPRCURVE_TESTS_PLAIN_VARIABLE_DISCOVERY_H
#define EXPRCURVE_TESTS_PLAIN_VARIABLE_DISCOVERY_H

#include <algorithm>
#include <vector>

#include "functionfloatbase.h"
#include "functionparserbase.h"

namespace plain_variable_discovery {

using KeyList = std::vector<FunctionParserBase::keyStruct*>;

inline void appendNew(KeyList& list, const KeyList& more)
{
    for (FunctionParserBase::keyStruct* key : more) {
        if (std::find(list.begin(), list.end(), key) == list.end())
            list.push_back(key);
    }
}

inline KeyList allVars(FunctionParserBase& parser, const FunctionFloatBase* node)
{
    if (!node)
        return {};
    if (node->isUnary())
        return allVars(parser, node->getUnaryRef()->arg);
    if (const FunctionFloatBinary* binary = node->isBinary() ? node->getBinaryRef() : nullptr) {
        KeyList keys = allVars(parser, binary->arg1);
        appendNew(keys, allVars(parser, binary->arg2));
        return keys;
    }
    if (const FunctionFloatTernary* ternary = node->isTernary() ? node->getTernaryRef() : nullptr) {
        KeyList keys = allVars(parser, ternary->arg1);
        const KeyList second = allVars(parser, ternary->arg2);
        const KeyList third = allVars(parser, ternary->arg3);
        appendNew(keys, second);
        appendNew(keys, third);
        return keys;
    }
    if (const FunctionFloatHostCall* call = node->isHostCall() ? node->getHostCallRef() : nullptr) {
        KeyList keys;
        for (unsigned int i = 0; i < call->arity; ++i)
            appendNew(keys, allVars(parser, call->arguments[i]));
        return keys;
    }
    if (node->isVariableBool())
        return {parser.findIndex(node->getVariableBoolRef()->control)};
    if (node->isVariableInt())
        return {parser.findIndex(node->getVariableIntRef()->control)};
    if (node->isVariableFloat())
        return {parser.findIndex(node->getVariableFloatRef()->control)};
    if (node->isVariableDouble())
        return {parser.findIndex(node->getVariableDoubleRef()->control)};
    return {};
}

}  // namespace plain_variable_discovery

#endif  // EXPRCURVE_TESTS_PLAIN_VARIABLE_DISCOVERY_H
