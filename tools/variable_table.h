// Host variables bound by name, as a host program would bind them.
#ifndef EXPRCURVE_TOOLS_VARIABLE_TABLE_H
#define EXPRCURVE_TOOLS_VARIABLE_TABLE_H

#include <map>
#include <memory>
#include <string>

#include "functionparserbase.h"

namespace tool {

class VariableTable {
public:
    explicit VariableTable(FunctionParserBase& parser) : parser_(parser) {}
    // Binds NAME to a new double holding `value`, or sets it if bound.
    double& bind(const std::string& name, double value);
    // NAME=VALUE
    void bindAssignment(const std::string& assignment);

private:
    FunctionParserBase& parser_;
    std::map<std::string, std::unique_ptr<double>> storage_;
};

}  // namespace tool

#endif  // EXPRCURVE_TOOLS_VARIABLE_TABLE_H
