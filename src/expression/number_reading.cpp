// Reading the number at the start of an operand text; see number_reading.h.
#include "number_reading.h"

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <locale>
#include <sstream>
#include <string>

#include "c_locale_conversion.h"

namespace exprcurve::numbers {

namespace {

// The decimal digits are the same ten bytes in every locale.
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The classic table's white space, which the stream skips before reading.
bool isClassicSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// The text that the stream would hand to the conversion: its length from the
// first non-space character, and whether it is a plain decimal (digits and at
// most one ".", no sign, no exponent).
struct ExtractedNumber {
    std::string_view text;
    bool plainDecimal = true;
};

ExtractedNumber extract(std::string_view text)
{
    std::size_t begin = 0;
    while (begin < text.size() && isClassicSpace(text[begin]))
        ++begin;
    const std::string_view rest = text.substr(begin);
    std::size_t end = 0;
    ExtractedNumber number;
    if (end < rest.size() && (rest[end] == '+' || rest[end] == '-')) {
        number.plainDecimal = false;
        ++end;
    }
    bool foundMantissa = false;
    bool foundPoint = false;
    bool foundExponent = false;
    while (end < rest.size()) {
        const char c = rest[end];
        if (isDigit(c)) {
            foundMantissa = true;
        } else if (c == '.' && !foundPoint && !foundExponent) {
            foundPoint = true;
        } else if ((c == 'e' || c == 'E') && !foundExponent && foundMantissa) {
            foundExponent = true;
            number.plainDecimal = false;
            if (end + 1 < rest.size() && (rest[end + 1] == '+' || rest[end + 1] == '-'))
                ++end;
        } else {
            break;
        }
        ++end;
    }
    number.text = rest.substr(0, end);
    return number;
}

// Up to 15 digits make an integer below 2^53, and powers of ten up to 10^22
// are exact, so the one division is the correctly rounded value of the
// decimal, as the conversion gives it. Nothing is answered otherwise.
constexpr std::size_t maxExactDigits = 15;

bool convertPlainDecimal(std::string_view text, double& value)
{
    std::uint64_t digits = 0;
    std::size_t digitCount = 0;
    std::size_t fractionDigits = 0;
    bool afterPoint = false;
    for (const char c : text) {
        if (c == '.') {
            afterPoint = true;
            continue;
        }
        if (++digitCount > maxExactDigits)
            return false;
        digits = digits * 10 + static_cast<std::uint64_t>(c - '0');
        if (afterPoint)
            ++fractionDigits;
    }
    if (digitCount == 0)
        return false;
    static constexpr double powersOfTen[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7,
                                             1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    value = static_cast<double>(digits) / powersOfTen[fractionDigits];
    return true;
}

// The conversion as the stream applies it: the whole text must be used, and
// an overflow to infinity is clamped to the largest finite value.
double convert(std::string_view text)
{
    char small[64];
    std::string large;
    const char* terminated = small;
    if (text.size() < sizeof small) {
        text.copy(small, text.size());
        small[text.size()] = '\0';
    } else {
        large.assign(text);
        terminated = large.c_str();
    }
    char* stop = nullptr;
    const double value = convertInCLocale(terminated, &stop);
    if (stop == terminated || static_cast<std::size_t>(stop - terminated) != text.size())
        return 0.0;
    if (std::isinf(value))
        return value > 0 ? DBL_MAX : -DBL_MAX;
    return value;
}

}  // namespace

bool holdsOnlyNumberCharacters(std::string_view text)
{
    for (const char c : text) {
        if (!isDigit(c) && c != '-' && c != '.')
            return false;
    }
    return true;
}

double readThroughStream(std::string_view text)
{
    std::istringstream in{std::string(text)};
    double value = 0.0;
    in >> value;
    return value;
}

double readClassic(std::string_view text)
{
    const ExtractedNumber number = extract(text);
    double value = 0.0;
    if (number.plainDecimal && convertPlainDecimal(number.text, value))
        return value;
    return convert(number.text);
}

double NumberReader::read(std::string_view text)
{
    if (way == Way::undecided) {
        const bool classic = cLocaleConversionAvailable() && std::locale() == std::locale::classic();
        way = classic ? Way::classic : Way::throughStream;
    }
    return way == Way::classic ? readClassic(text) : readThroughStream(text);
}

}  // namespace exprcurve::numbers
