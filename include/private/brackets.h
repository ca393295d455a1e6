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
#include <vector>

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
    // Plain pointer walk: the builder runs this once per level over long
    // texts, and it must stay quick in unoptimised builds too.
    const char* const begin = s.data();
    const char* const end = begin + s.size();
    std::ptrdiff_t depth = 0;
    for (const char* p = begin; p != end; ++p) {
        switch (*p) {
        case '(':
        case '{':
            ++depth;
            break;
        case ')':
        case '}':
            --depth;
            break;
        default:
            break;
        }
        if (*p == c && depth == 0)
            return static_cast<std::size_t>(p - begin);
    }
    return std::string_view::npos;
}

// The enclosure test, for any window of one text.
//
// A window is wholly enclosed when it starts with an opener, ends with that
// opener's closer, and, scanning from its second character with a depth of 1
// in which only the opener's own kind counts, no opener is met at depth 0 (a
// depth below zero does not fail it: '(a))' is enclosed).
//
// The depth before position p is the difference of the kind's prefix balance
// (openers minus closers before p) at p and at the window's start, so the
// test fails exactly when the next opener of that kind with the same prefix
// balance lies inside the window. That position is tabled once per text, so
// each test costs O(1) after O(n) set-up and stripping nested pairs off a
// deep text stays linear. The table is built on the first test that gets past
// the first and last characters.
class EnclosureIndex {
public:
    explicit EnclosureIndex(std::string_view text) : text(text) {}

    bool contains(std::string_view window) const;

    // `window` must lie within the indexed text.
    bool encloses(std::string_view window) const;

    // How many times the test passes on `window` when its outer pair is
    // stripped after each pass.
    std::size_t countEnclosingPairs(std::string_view window) const;

private:
    bool enclosesRange(std::size_t begin, std::size_t last) const;
    std::size_t offsetOf(std::string_view window) const;

    std::string_view text;
    mutable std::vector<std::size_t> nextOpenerAtSameBalance;
};

inline bool isWhollyEnclosed(std::string_view s) { return EnclosureIndex(s).encloses(s); }

inline std::size_t countEnclosingPairs(std::string_view s) { return EnclosureIndex(s).countEnclosingPairs(s); }

}  // namespace exprcurve::brackets

#endif  // EXPRCURVE_PRIVATE_BRACKETS_H
