// The base of the host's variable mapper: leaf factories and the helpers that
// take apart names of the shape base.field[index].
#include <sstream>
#include <string>
#include <utility>

#include "parservarmapper.h"

namespace {

// Cuts at the first "[" unless the text begins with it.
void cutAtIndex(std::string& part)
{
    const std::size_t open = part.find('[');
    if (open != std::string::npos && open != 0)
        part.erase(open);
}

bool isIndexCharacter(char c) { return (c >= '0' && c <= '9') || c == '-' || c == '.'; }

bool holdsOnlyIndexCharacters(const std::string& text, std::size_t begin, std::size_t end)
{
    for (std::size_t i = begin; i < end; ++i) {
        if (!isIndexCharacter(text[i]))
            return false;
    }
    return true;
}

bool holdsNoBracket(const std::string& text, std::size_t begin)
{
    return text.find_first_of("[]", begin) == std::string::npos;
}

}  // namespace

ParserVarMapper::~ParserVarMapper() = default;

FunctionFloatVariableDouble* ParserVarMapper::createDoubleVar(const double* address) const
{
    return new FunctionFloatVariableDouble(address);
}

FunctionFloatVariableFloat* ParserVarMapper::createFloatVar(const float* address) const
{
    return new FunctionFloatVariableFloat(address);
}

FunctionFloatVariableInt* ParserVarMapper::createIntVar(const int* address) const
{
    return new FunctionFloatVariableInt(address);
}

FunctionFloatVariableBool* ParserVarMapper::createBoolVar(const bool* address) const
{
    return new FunctionFloatVariableBool(address);
}

void ParserVarMapper::splitVarName(const std::string& name, std::string& baseName,
                                   std::string& fieldName) const
{
    // Built apart from the outputs: the caller may pass `name` as one of them.
    std::string base = name;
    std::string field = name;
    const std::size_t dot = name.find('.');
    if (dot != std::string::npos && dot != 0) {
        base = name.substr(0, dot);
        field = name.substr(dot + 1);
    }
    cutAtIndex(base);
    cutAtIndex(field);
    baseName = std::move(base);
    fieldName = std::move(field);
}

int ParserVarMapper::extractArrayIndex(const std::string& name) const
{
    const std::size_t open = name.find('[');
    const std::size_t close = name.find(']');
    if (open == std::string::npos || close == std::string::npos || close < open)
        return -1;
    if (!holdsOnlyIndexCharacters(name, open + 1, close) || !holdsNoBracket(name, close + 1))
        return -1;
    std::istringstream digits(name.substr(open + 1, close - open - 1));
    int index = 0;
    if (!(digits >> index))
        return -1;  // nothing readable ('[]', '[-]', '[.5]') or outside the int range
    return index;
}
