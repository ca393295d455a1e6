// The expression subcommands: eval, tree and vars.
#ifndef EXPRCURVE_TOOLS_EXPRESSION_COMMANDS_H
#define EXPRCURVE_TOOLS_EXPRESSION_COMMANDS_H

#include <string>
#include <vector>

namespace tool {

struct EvalOptions {
    std::string expression;
    std::vector<std::string> assignments;  // NAME=VALUE
    std::string timeRange;                 // FROM:TO:STEP, or empty
    int precision = 0;                     // significant digits; 0: shortest exact
    bool warnings = true;                  // print what lint finds
};

int runEval(const EvalOptions& options);
int runTree(const std::string& expression, bool warnings = true);
int runVars(const std::string& expression, bool warnings = true);

}  // namespace tool

#endif  // EXPRCURVE_TOOLS_EXPRESSION_COMMANDS_H
