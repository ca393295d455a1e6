// Normalisation of expression text and the small text helpers.
#include <cctype>
#include <string>
#include <string_view>

#include "brackets.h"
#include "functionparserbase.h"
#include "normalisation.h"
#include "number_reading.h"

namespace brackets = exprcurve::brackets;

namespace {

// The decimal digits are the same ten bytes in every locale, and the letters
// and digits (isalnum) are exactly isalpha plus isdigit, so each byte needs at
// most one call into the locale-dependent classification.
bool isDigitByte(char c) { return c >= '0' && c <= '9'; }
bool isAlphaByte(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }
bool isSpaceByte(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
char lowerByte(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

// What firstParse remembers about the characters copied so far; it decides
// where an implicit multiplication is written out.
struct NormaliserState {
    bool prevAlnum = false;     // a letter or digit since the last other character
    bool hasAlpha = false;      // a letter since the last other character
    bool inNumber = false;      // a digit since the last other character or inserted "*"
    bool afterClose = false;    // the last other character was a closer
    bool pendingSpace = false;  // white space skipped since the last copied character
};

// The appenders write through `out`, which has room for two characters per
// input character: each one yields at most itself and one "*". `track` learns
// where each written character comes from (see normalisation.h); firstParse
// passes one that forgets it.
template <class Track>
struct Writer {
    char* out;
    Track& track;
    std::size_t source = 0;  // the input character being worked on

    void copy(char c)
    {
        *out++ = c;
        track.written(source, false);
    }
    void insertStar()
    {
        *out++ = '*';
        track.written(source, true);
    }
};

// `isLetter`: c is a letter rather than a digit.
template <class Track>
void appendAlnum(char c, bool isLetter, NormaliserState& state, Writer<Track>& writer)
{
    if (state.pendingSpace && state.prevAlnum) {
        writer.insertStar();
        state.inNumber = false;
    } else if (state.inNumber && isLetter) {
        writer.insertStar();
        state.inNumber = false;
    } else if (state.afterClose) {
        writer.insertStar();
    }
    writer.copy(isLetter ? lowerByte(c) : c);  // case mapping leaves digits alone
    state.prevAlnum = true;
    if (isLetter)
        state.hasAlpha = true;
    else
        state.inNumber = true;
    state.pendingSpace = false;
    state.afterClose = false;
}

template <class Track>
void appendOther(char c, NormaliserState& state, Writer<Track>& writer)
{
    writer.copy(c);
    state.afterClose = brackets::isCloser(c);
    state.prevAlnum = false;
    state.hasAlpha = false;
    state.inNumber = false;
    state.pendingSpace = false;
}

template <class Track>
std::string normalise(std::string_view expression, Track& track)
{
    std::string normalised(2 * expression.size(), '\0');
    Writer<Track> writer{normalised.data(), track};
    NormaliserState state;
    for (; writer.source < expression.size(); ++writer.source) {
        const char c = expression[writer.source];
        if (brackets::isOpener(c) && ((state.inNumber && !state.hasAlpha) || state.afterClose))
            writer.insertStar();
        const bool isDigit = isDigitByte(c);
        const bool isLetter = !isDigit && isAlphaByte(c);
        if (isDigit || isLetter)
            appendAlnum(c, isLetter, state, writer);
        else if (isSpaceByte(c))
            state.pendingSpace = true;
        else
            appendOther(c, state, writer);
    }
    normalised.resize(static_cast<std::size_t>(writer.out - normalised.data()));
    return normalised;
}

struct ForgetOrigins {
    void written(std::size_t, bool) {}
};

struct RecordOrigins {
    exprcurve::normalisation::Origins& origins;
    void written(std::size_t source, bool inserted)
    {
        origins.source.push_back(static_cast<int>(source));
        origins.inserted.push_back(inserted);
    }
};

}  // namespace

std::string FunctionParserBase::firstParse(const std::string& expression)
{
    ForgetOrigins forget;
    return normalise(expression, forget);
}

exprcurve::normalisation::Origins exprcurve::normalisation::normaliseWithOrigins(std::string_view typed)
{
    Origins origins;
    RecordOrigins record{origins};
    origins.text = normalise(typed, record);
    return origins;
}

bool FunctionParserBase::startsWith(const std::string& s, const std::string& prefix)
{
    return s.size() >= prefix.size() && s.compare(0, prefix.size(), prefix) == 0;
}

bool FunctionParserBase::isAValidNumber(const std::string& s)
{
    return exprcurve::numbers::holdsOnlyNumberCharacters(s);
}

bool FunctionParserBase::hasFirstParentesis(const std::string& s)
{
    return brackets::isWhollyEnclosed(s);
}

std::string FunctionParserBase::removeFirstParentesis(const std::string& s, ParseMessage& message,
                                                      int& count)
{
    const std::size_t pairs = brackets::countEnclosingPairs(s);
    message.position += static_cast<int>(pairs);
    count += static_cast<int>(pairs);
    return s.substr(pairs, s.size() - 2 * pairs);
}

unsigned int FunctionParserBase::findFirstElement(char c, const std::string& s, unsigned int start)
{
    if (start >= s.size())
        return 0;
    const std::size_t found = brackets::findOutsideBrackets(std::string_view(s).substr(start), c);
    return found == std::string_view::npos ? 0 : static_cast<unsigned int>(start + found);
}
