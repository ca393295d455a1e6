// Shared pieces of the command-line tool: exit codes, failures, numbers and
// time lists.
#ifndef EXPRCURVE_TOOLS_TOOL_SUPPORT_H
#define EXPRCURVE_TOOLS_TOOL_SUPPORT_H

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "functionparserbase.h"

namespace tool {

enum ExitStatus { exitOk = 0, exitInputFaults = 1, exitUsage = 2 };

// Every line the tool writes to stderr starts with this.
constexpr const char* errorPrefix = "exprcurve: ";

// Thrown by a command; main() prints "exprcurve: <message>" and exits with
// `status`.
struct Failure : std::runtime_error {
    Failure(ExitStatus failureStatus, const std::string& message)
        : std::runtime_error(message), status(failureStatus)
    {
    }
    ExitStatus status;
};

// The tool binds no more random nodes than this in one expression: each
// costs 80 KB and its construction time, and the tool reads text from anyone.
constexpr std::size_t maxRandomNodes = 1000;

// A fault report shows this many faults, then only their count.
constexpr std::size_t maxReportedFaults = 20;

// `precision` 0: the shortest text that reads back to the same double
// ("0.3"); otherwise that many significant digits. NaN is "nan" whatever
// its sign, the infinities "inf" and "-inf".
std::string formatNumber(double value, int precision = 0);
// The --precision option's value: 0 (shortest) or 1 to 17.
void checkPrecision(int precision);

// A whole-string decimal number (strtod syntax, surrounding blanks allowed);
// `what` names it in errors.
double parseNumber(const std::string& text, const std::string& what);

// FROM:TO:STEP into the list of times FROM, FROM+STEP, ... up to TO.
std::vector<double> parseTimeRange(const std::string& range);
// FROM, TO and STEP into a list of times: finite bounds, a positive finite
// step, at most 10 million times.
std::vector<double> timesBetween(double from, double to, double step);
// T1,T2,... (blanks after the commas allowed) into a list of times.
std::vector<double> parseTimeList(const std::string& list);

// "pi", "e" and "epsilon": the keys every parser starts with, bound to the
// library's own constants rather than to a host's variables.
bool isBuiltInConstant(const FunctionParserBase::keyStruct& key);
bool isBuiltInConstantAddress(const void* address);

// Print to stderr, for each fault (each lint warning), a line that says what
// is wrong and the expression as typed with carets under the place; at most
// maxReportedFaults of them, then a count of the rest.
void reportFaults(const std::string& expression, const ParseMessage& message);
void reportWarnings(const std::string& expression);

}  // namespace tool

#endif  // EXPRCURVE_TOOLS_TOOL_SUPPORT_H
