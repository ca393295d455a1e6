#include "variable_table.h"

#include "tool_support.h"

namespace tool {

double& VariableTable::bind(const std::string& name, double value)
{
    const std::string key = parser_.toLowerString(name);
    auto found = storage_.find(key);
    if (found == storage_.end()) {
        if (parser_.getKey(key) != nullptr)
            throw Failure(exitUsage, "'" + name + "' is already a key of the parser" +
                                         (key == "pi" || key == "e" || key == "epsilon" ? " (a built-in constant)" : ""));
        found = storage_.emplace(key, std::make_unique<double>(value)).first;
        parser_.insertKey(key, found->second.get());
    }
    *found->second = value;
    return *found->second;
}

void VariableTable::bindAssignment(const std::string& assignment)
{
    const std::size_t equals = assignment.find('=');
    if (equals == std::string::npos || equals == 0)
        throw Failure(exitUsage, "--set wants NAME=VALUE, not '" + assignment + "'");
    const std::string name = assignment.substr(0, equals);
    bind(name, parseNumber(assignment.substr(equals + 1), "--set " + name));
}

}  // namespace tool
