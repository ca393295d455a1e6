#include "tool_support.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

#include "diagnostics.h"

namespace tool {

std::string formatNumber(double value)
{
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.17g", value);
    return buffer;
}

double parseNumber(const std::string& text, const std::string& what)
{
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    const double value = std::strtod(begin, &end);
    if (text.empty() || end != begin + text.size() || std::isspace(static_cast<unsigned char>(text[0])))
        throw Failure(exitUsage, what + ": '" + text + "' is not a number");
    return value;
}

std::vector<double> timesBetween(double from, double to, double step)
{
    if (!(step > 0.0))
        throw Failure(exitUsage, "the step must be a positive number");
    if (!(to >= from))
        throw Failure(exitUsage, "the range ends before it starts");
    // Times are computed from the start, not accumulated, so they do not
    // drift; the small slack keeps TO itself when the step divides the range.
    const double count = std::floor((to - from) / step * (1.0 + 1e-12)) + 1.0;
    if (count > 1e7)
        throw Failure(exitUsage, "the range holds more than 10 million times");
    std::vector<double> times;
    for (long i = 0; i < static_cast<long>(count); ++i)
        times.push_back(from + static_cast<double>(i) * step);
    return times;
}

namespace {

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

bool endsWith(const std::string& s, const std::string& suffix)
{
    return s.size() >= suffix.size() && s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

}  // namespace

CurveFormat curveFormatFor(const std::string& path, const std::string& option)
{
    if (option == "text")
        return CurveFormat::text;
    if (option == "binary")
        return CurveFormat::binary;
    if (!option.empty())
        throw Failure(exitUsage, "unknown format '" + option + "' (use text or binary)");
    if (endsWith(path, ".curve") || endsWith(path, ".txt"))
        return CurveFormat::text;
    if (endsWith(path, ".kvb") || endsWith(path, ".bin"))
        return CurveFormat::binary;
    throw Failure(exitUsage, path + ": cannot tell the format from the name; name it .curve/.txt "
                             "(text) or .kvb/.bin (binary), or give the format option");
}

std::unique_ptr<SplineBase> loadCurve(const std::string& path, CurveFormat format,
                                      unsigned int version)
{
    if (format == CurveFormat::text) {
        std::ifstream in(path);
        if (!in)
            throw Failure(exitUsage, path + ": cannot open for reading");
        std::unique_ptr<SplineBase> curve(SplineBase::load(in));
        if (in.fail())
            throw Failure(exitInputFaults, path + ": not a complete curve text file (read " +
                                               std::to_string(curve->controlPoints.size()) +
                                               " points before the data ended or went wrong)");
        return curve;
    }
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        throw Failure(exitUsage, path + ": cannot open for reading");
    auto curve = std::make_unique<SplineBase>();
    curve->load(file, version);
    const bool failed = std::ferror(file) != 0 || std::feof(file) != 0;
    std::fclose(file);
    if (failed)
        throw Failure(exitInputFaults,
                      path + ": not a complete binary curve file of version " +
                          std::to_string(version) + " (read " +
                          std::to_string(curve->controlPoints.size()) + " points)");
    return curve;
}

void saveCurve(SplineBase& curve, const std::string& path, CurveFormat format, int precision)
{
    if (format == CurveFormat::text) {
        std::ofstream out(path);
        if (!out)
            throw Failure(exitUsage, path + ": cannot open for writing");
        out.precision(precision);
        SplineBase::save(curve, out);
        if (!out)
            throw Failure(exitUsage, path + ": write failed");
        return;
    }
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        throw Failure(exitUsage, path + ": cannot open for writing");
    curve.save(file);
    const bool failed = std::ferror(file) != 0;
    if (std::fclose(file) != 0 || failed)
        throw Failure(exitUsage, path + ": write failed");
}

const char* extrapolationName(int mode)
{
    switch (mode) {
    case kv_spline::EXTRAPOLATE_ZERO: return "zero";
    case kv_spline::EXTRAPOLATE_CONSTANT: return "constant";
    case kv_spline::EXTRAPOLATE_CYCLE: return "cycle";
    case kv_spline::EXTRAPOLATE_CYCLE_OFFSET: return "cycle with offset";
    case kv_spline::EXTRAPOLATE_LINEAR: return "linear";
    default: return "unknown code";
    }
}

double& VariableTable::bind(const std::string& name, double value)
{
    const std::string key = parser_.toLowerString(name);
    auto found = storage_.find(key);
    if (found == storage_.end()) {
        found = storage_.emplace(key, std::make_unique<double>(value)).first;
        if (!parser_.insertKey(key, found->second.get()))
            throw Failure(exitUsage, "'" + name + "' is already a key of the parser");
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

namespace {

// At most this many entries are shown, then a count of the rest.
constexpr std::size_t mostShown = 20;

// The typed text on one line, with carets under the entry's bytes. Tabs and
// line breaks print as spaces so that the carets stay under their bytes.
void printWithCarets(const std::string& expression, const exprcurve::Diagnostic& entry)
{
    std::string line = expression;
    std::replace_if(line.begin(), line.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    const std::size_t position = std::min(static_cast<std::size_t>(std::max(entry.position, 0)), line.size());
    std::cerr << "  " << line << '\n'
              << "  " << std::string(position, ' ') << '^'
              << std::string(static_cast<std::size_t>(std::max(entry.length - 1, 0)), '~') << '\n';
}

void printEntries(const std::string& expression, const std::vector<exprcurve::Diagnostic>& entries,
                  const char* kind, const char* plural)
{
    for (std::size_t i = 0; i < entries.size() && i < mostShown; ++i) {
        const exprcurve::Diagnostic& entry = entries[i];
        std::cerr << kind << ": column " << entry.position + 1 << ": " << entry.message << '\n';
        printWithCarets(expression, entry);
    }
    if (entries.size() > mostShown)
        std::cerr << "... and " << entries.size() - mostShown << " more " << plural << '\n';
}

}  // namespace

void reportFaults(const std::string& expression, const ParseMessage& message)
{
    printEntries(expression, exprcurve::describeFaults(expression, message), "error", "faults");
}

void reportWarnings(const std::string& expression)
{
    printEntries(expression, exprcurve::lint(expression), "warning", "warnings");
}

}  // namespace tool
