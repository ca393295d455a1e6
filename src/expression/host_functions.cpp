// The functions a host defines for the language.
#include <cctype>
#include <string>

#include "builtinoperations.h"
#include "functionparserbase.h"

namespace {

// A letter, then letters, digits or '_', classified as normalisation
// classifies the text's bytes.
bool isFunctionName(const std::string& name)
{
    if (name.empty() || !std::isalpha(static_cast<unsigned char>(name.front())))
        return false;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (!std::isalnum(byte) && c != '_')
            return false;
    }
    return true;
}

}  // namespace

bool FunctionParserBase::defineFunction(const std::string& name, unsigned int arity,
                                        HostFunction function, void* context)
{
    const std::string lowered = toLowerString(name);
    if (!isFunctionName(lowered) || exprcurve::findBuiltinFunction(lowered) != nullptr)
        return false;
    if (arity > FunctionFloatHostCall::maxArguments || function == nullptr)
        return false;
    // A digit inside a name starts a number, so 'v3len(' reads as 'v3*len('
    // and 'f_2(' as 'f_2*(': such a name could be defined but never called.
    const std::string call = lowered + "(";
    if (firstParse(call) != call)
        return false;
    functionMap[lowered] = HostFunctionEntry{arity, function, context};
    return true;
}

bool FunctionParserBase::removeFunction(const std::string& name)
{
    return functionMap.erase(toLowerString(name)) != 0;
}

const FunctionParserBase::HostFunctionEntry* FunctionParserBase::findFunction(std::string_view name) const
{
    if (functionMap.empty())
        return nullptr;
    const auto found = functionMap.find(name);
    return found == functionMap.end() ? nullptr : &found->second;
}
