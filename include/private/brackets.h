// Bracket handling shared by the text helpers, the operator finders and the
// tree builder (internal, not installed).
//
// Two bracket kinds exist, "(" ")" and "{" "}". The depth scan counts both
// kinds in one depth, so "(" may be closed by "}" as far as depth goes; only
// the enclosure test tells the kinds apart.
#ifndef EXPRCURVE_PRIVATE_BRACKETS_H
#define EXPRCURVE_PRIVATE_BRACKETS_H

#include <cstddef>
#include <string_view>

namespace exprcurve::brackets {

inline bool isOpener(char c) { return c == '(' || c == '{'; }
inline bool isCloser(char c) { return c == ')' || c == '}'; }
inline bool isBracket(char c) { return isOpener(c) || isCloser(c); }
inline char closerOf(char opener) { return opener == '(' ? ')' : '}'; }

// The position of the first `c` that stands at depth exactly 0, or npos. The
// depth is updated by a character before that character is tested, so a
// closing bracket can itself be found at depth 0; at negative depth nothing
// matches until the depth comes back to 0.
inline std::size_t findOutsideBrackets(std::string_view s, char c)
{
    // Most texts do not hold the character at all; memchr answers that far
    // faster than the depth walk.
    if (s.find(c) == std::string_view::npos)
        return std::string_view::npos;
    std::ptrdiff_t depth = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        const char ch = s[i];
        if (isOpener(ch))
            ++depth;
        else if (isCloser(ch))
            --depth;
        if (ch == c && depth == 0)
            return i;
    }
    return std::string_view::npos;
}

// True when `s` is one bracket pair around the rest: it starts with an
// opener, ends with that opener's closer, and no opener of the same kind
// appears (after the first character) where only the first pair is open.
// Only the opener's own kind counts, and a depth that drops below zero does
// not fail the test: '(a))' is enclosed.
inline bool isWhollyEnclosed(std::string_view s)
{
    if (s.empty() || !isOpener(s.front()))
        return false;
    const char opener = s.front();
    const char closer = closerOf(opener);
    if (s.back() != closer)
        return false;
    std::ptrdiff_t depth = 1;
    for (std::size_t i = 1; i < s.size(); ++i) {
        if (s[i] == opener) {
            if (depth == 0)
                return false;
            ++depth;
        } else if (s[i] == closer) {
            --depth;
        }
    }
    return true;
}

// How many times the enclosure test passes when the outer pair is stripped
// after each pass: the answer of the repeated test, found in linear time so
// that deeply nested texts cost O(n) rather than O(n^2).
std::size_t countEnclosingPairs(std::string_view s);

}  // namespace exprcurve::brackets

#endif  // EXPRCURVE_PRIVATE_BRACKETS_H
