// Shared pieces of the command-line tool: exit codes, failures, number
// parsing, curve files and a small key table for host variables.
#ifndef EXPRCURVE_TOOLS_TOOL_SUPPORT_H
#define EXPRCURVE_TOOLS_TOOL_SUPPORT_H

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "functionparserbase.h"
#include "splinebase.h"

namespace tool {

enum ExitStatus { exitOk = 0, exitInputFaults = 1, exitUsage = 2 };

// Thrown by a command; main() prints "exprcurve: <message>" and exits with
// `status`.
struct Failure : std::runtime_error {
    Failure(ExitStatus failureStatus, const std::string& message)
        : std::runtime_error(message), status(failureStatus)
    {
    }
    ExitStatus status;
};

// A double with all 17 significant digits, so that it reads back exactly.
std::string formatNumber(double value);

// A whole-string decimal number (strtod syntax); `what` names it in errors.
double parseNumber(const std::string& text, const std::string& what);

// FROM:TO:STEP into the list of times FROM, FROM+STEP, ... up to TO.
std::vector<double> parseTimeRange(const std::string& range);
// FROM, TO and STEP into a list of times; STEP must be positive.
std::vector<double> timesBetween(double from, double to, double step);
// T1,T2,... into a list of times.
std::vector<double> parseTimeList(const std::string& list);

// ---- curve files
enum class CurveFormat { text, binary };
constexpr unsigned int newestBinaryVersion = 3027;

// "text"/"binary", or empty to decide by the file's extension: .curve and
// .txt are text, .kvb and .bin are binary. Anything else is a usage error.
CurveFormat curveFormatFor(const std::string& path, const std::string& option);

std::unique_ptr<SplineBase> loadCurve(const std::string& path, CurveFormat format,
                                      unsigned int version);
void saveCurve(SplineBase& curve, const std::string& path, CurveFormat format, int precision);

const char* extrapolationName(int mode);

// ---- host variables bound by name, as a host program would bind them
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

// Print to stderr, for each fault (each lint warning), a line that says what
// is wrong and the expression as typed with carets under the place; at most
// 20 of them, then a count of the rest.
void reportFaults(const std::string& expression, const ParseMessage& message);
void reportWarnings(const std::string& expression);

}  // namespace tool

#endif  // EXPRCURVE_TOOLS_TOOL_SUPPORT_H
