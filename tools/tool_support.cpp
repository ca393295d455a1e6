#include "tool_support.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>

#include "diagnostics.h"

namespace tool {

std::string formatNumber(double value, int precision)
{
    if (std::isnan(value))
        return "nan";
    char buffer[64];
    if (precision > 0) {
        std::snprintf(buffer, sizeof buffer, "%.*g", precision, value);
        return buffer;
    }
    const std::to_chars_result written = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, written.ptr);
}

void checkPrecision(int precision)
{
    if (precision < 0 || precision > 17)
        throw Failure(exitUsage, "--precision must be 0 (the shortest exact form) or lie between 1 and 17");
}

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

std::string trimmed(const std::string& text)
{
    std::size_t first = 0, last = text.size();
    while (first < last && isBlank(text[first]))
        ++first;
    while (last > first && isBlank(text[last - 1]))
        --last;
    return text.substr(first, last - first);
}

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::string part;
    std::istringstream stream(text);
    while (std::getline(stream, part, separator))
        parts.push_back(part);
    if (!text.empty() && text.back() == separator)
        parts.emplace_back();
    return parts;
}

}  // namespace

double parseNumber(const std::string& text, const std::string& what)
{
    const std::string number = trimmed(text);
    const char* begin = number.c_str();
    char* end = nullptr;
    const double value = std::strtod(begin, &end);
    if (number.empty() || end != begin + number.size())
        throw Failure(exitUsage, what + ": '" + text + "' is not a number");
    return value;
}

std::vector<double> timesBetween(double from, double to, double step)
{
    if (!std::isfinite(from) || !std::isfinite(to))
        throw Failure(exitUsage, "the range must have finite ends, not " + formatNumber(from) + " and " +
                                     formatNumber(to));
    if (!(step > 0.0) || !std::isfinite(step))
        throw Failure(exitUsage, "the step must be a positive finite number, not " + formatNumber(step));
    if (!(to >= from))
        throw Failure(exitUsage, "the range ends before it starts");
    // Times are computed from the start, not accumulated, so they do not
    // drift; the small slack keeps TO itself when the step divides the range.
    // The span may overflow to infinity, which the limit catches.
    const double count = std::floor((to - from) / step * (1.0 + 1e-12)) + 1.0;
    if (!(count <= 1e7))
        throw Failure(exitUsage, "the range holds more than 10 million times");
    std::vector<double> times;
    for (long i = 0; i < static_cast<long>(count); ++i)
        times.push_back(from + static_cast<double>(i) * step);
    return times;
}

std::vector<double> parseTimeRange(const std::string& range)
{
    const std::vector<std::string> parts = split(range, ':');
    if (parts.size() != 3)
        throw Failure(exitUsage, "--time wants FROM:TO:STEP, not '" + range + "'");
    return timesBetween(parseNumber(parts[0], "--time FROM"), parseNumber(parts[1], "--time TO"),
                        parseNumber(parts[2], "--time STEP"));
}

std::vector<double> parseTimeList(const std::string& list)
{
    std::vector<double> times;
    for (const std::string& item : split(list, ','))
        times.push_back(parseNumber(item, "--times"));
    if (times.empty())
        throw Failure(exitUsage, "--times is empty");
    return times;
}

namespace {

// The constants' keys as every parser starts with them.
const FunctionParserBase& freshParser()
{
    static const FunctionParserBase parser;
    return parser;
}

}  // namespace

bool isBuiltInConstantAddress(const void* address)
{
    for (const auto& entry : freshParser().keyMap) {
        if (entry.second.ptr == address)
            return true;
    }
    return false;
}

bool isBuiltInConstant(const FunctionParserBase::keyStruct& key)
{
    const auto found = freshParser().keyMap.find(key.name);
    return found != freshParser().keyMap.end() && found->second.ptr == key.ptr && found->second.type == key.type;
}

namespace {

// The typed text on one line, with carets under the entry's bytes. Tabs and
// line breaks print as spaces so that the carets stay under their bytes.
void printWithCarets(const std::string& expression, const exprcurve::Diagnostic& entry)
{
    std::string line = expression;
    std::replace_if(line.begin(), line.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    const std::size_t position = std::min(static_cast<std::size_t>(std::max(entry.position, 0)), line.size());
    std::cerr << errorPrefix << "  " << line << '\n'
              << errorPrefix << "  " << std::string(position, ' ') << '^'
              << std::string(static_cast<std::size_t>(std::max(entry.length - 1, 0)), '~') << '\n';
}

// `total`: how many there are in all, of which `entries` are the first.
void printEntries(const std::string& expression, const std::vector<exprcurve::Diagnostic>& entries,
                  std::size_t total, const char* kind, const char* plural)
{
    for (std::size_t i = 0; i < entries.size() && i < maxReportedFaults; ++i) {
        const exprcurve::Diagnostic& entry = entries[i];
        std::cerr << errorPrefix << kind << ": column " << entry.position + 1 << ": " << entry.message << '\n';
        printWithCarets(expression, entry);
    }
    if (total > maxReportedFaults)
        std::cerr << errorPrefix << "... and " << total - maxReportedFaults << " more " << plural << '\n';
}

}  // namespace

void reportFaults(const std::string& expression, const ParseMessage& message)
{
    // Each fault is described from the ones before it alone, so describing
    // only those shown gives the same lines at a cost bounded by what is shown.
    ParseMessage shown = message;
    if (shown.errors.size() > maxReportedFaults)
        shown.errors.resize(maxReportedFaults);
    printEntries(expression, exprcurve::describeFaults(expression, shown), message.errors.size(), "error", "faults");
}

void reportWarnings(const std::string& expression)
{
    const std::vector<exprcurve::Diagnostic> warnings = exprcurve::lint(expression);
    printEntries(expression, warnings, warnings.size(), "warning", "warnings");
}

}  // namespace tool
