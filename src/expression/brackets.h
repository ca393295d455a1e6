// Bracket handling shared by the text helpers, the operator finders and the
// tree builder (internal, not installed).
//
// Two bracket kinds exist, "(" ")" and "{" "}". The depth scan counts both
// kinds in one depth, so "(" may be closed by "}" as far as depth goes; only
// the enclosure test tells the kinds apart.
#ifndef EXPRCURVE_EXPRESSION_BRACKETS_H
#define EXPRCURVE_EXPRESSION_BRACKETS_H

#include <array>
#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

namespace exprcurve::brackets {

inline bool isOpener(char c) { return c == '(' || c == '{'; }
inline bool isCloser(char c) { return c == ')' || c == '}'; }
inline bool isBracket(char c) { return isOpener(c) || isCloser(c); }
inline char closerOf(char opener) { return opener == '(' ? ')' : '}'; }

// How each byte changes the depth: +1 for an opener, -1 for a closer.
inline constexpr std::array<signed char, 256> depthChanges = [] {
    std::array<signed char, 256> changes{};
    changes[static_cast<unsigned char>('(')] = 1;
    changes[static_cast<unsigned char>('{')] = 1;
    changes[static_cast<unsigned char>(')')] = -1;
    changes[static_cast<unsigned char>('}')] = -1;
    return changes;
}();

// The depth scan. Walks `s` with a depth that counts both bracket kinds, each
// character updating the depth before it is looked at, and calls
// visit(position) for every character that then stands at depth exactly 0 (a
// closing bracket can itself be one; at negative depth nothing is visited
// until the depth comes back to 0). Stops at the first position for which
// `visit` answers true and returns it; npos when there is none.
template <class Visit>
std::size_t scanOutsideBrackets(std::string_view s, Visit visit)
{
    // Plain pointer walk over a table: the builder runs this once per level,
    // and it must stay quick in unoptimised builds too.
    const char* const begin = s.data();
    const char* const end = begin + s.size();
    std::ptrdiff_t depth = 0;
    for (const char* p = begin; p != end; ++p) {
        depth += depthChanges[static_cast<unsigned char>(*p)];
        if (depth == 0 && visit(static_cast<std::size_t>(p - begin)))
            return static_cast<std::size_t>(p - begin);
    }
    return std::string_view::npos;
}

// The position of the first `c` outside brackets, or npos.
inline std::size_t findOutsideBrackets(std::string_view s, char c)
{
    // Most texts do not hold the character at all; memchr answers that far
    // faster than the depth walk.
    if (s.find(c) == std::string_view::npos)
        return std::string_view::npos;
    return scanOutsideBrackets(s, [s, c](std::size_t position) { return s[position] == c; });
}

// The enclosure test, for any window of one text.
//
// A window is wholly enclosed when it starts with an opener, ends with that
// opener's closer, and, scanning from its second character with a depth of 1
// in which only the opener's own kind counts, no opener is met at depth 0 (a
// depth below zero does not fail it: '(a))' is enclosed).
//
// A short text is simply scanned. For a longer one the scan is replaced by a
// table, so that stripping nested pairs off a deep text stays linear: the
// depth before position p is the difference of the kind's prefix balance
// (openers minus closers before p) at p and at the window's start, so the
// test fails exactly when the next opener of that kind with the same prefix
// balance lies inside the window. That position is tabled once per text, so
// each test costs O(1) after O(n) set-up. The table is built on the first test
// that gets past the first and last characters.
class EnclosureIndex {
public:
    // Texts up to this length are scanned: a few passes over a short text
    // cost less than the table's allocations.
    static constexpr std::size_t defaultScanLimit = 128;

    explicit EnclosureIndex(std::string_view text, std::size_t scanLimit = defaultScanLimit)
        : text(text), scansText(text.size() <= scanLimit)
    {
    }

    bool contains(std::string_view window) const
    {
        const std::less_equal<const char*> notAfter;
        return notAfter(text.data(), window.data())
               && notAfter(window.data() + window.size(), text.data() + text.size());
    }

    // `window` must lie within the indexed text.
    bool encloses(std::string_view window) const;

    // How many times the test passes on `window` when its outer pair is
    // stripped after each pass.
    std::size_t countEnclosingPairs(std::string_view window) const
    {
        // Most windows do not even begin with a bracket.
        return window.empty() || !isOpener(window.front()) ? 0 : countPairsFrom(offsetOf(window), window.size());
    }

private:
    bool enclosesRange(std::size_t begin, std::size_t last) const;
    bool noOpenerAtDepthZero(std::size_t begin, std::size_t last) const;
    std::size_t countPairsFrom(std::size_t begin, std::size_t size) const;
    std::size_t offsetOf(std::string_view window) const { return static_cast<std::size_t>(window.data() - text.data()); }

    std::string_view text;
    bool scansText;
    mutable std::vector<std::size_t> nextOpenerAtSameBalance;
};

inline bool isWhollyEnclosed(std::string_view s) { return EnclosureIndex(s).encloses(s); }

inline std::size_t countEnclosingPairs(std::string_view s) { return EnclosureIndex(s).countEnclosingPairs(s); }

}  // namespace exprcurve::brackets

#endif  // EXPRCURVE_EXPRESSION_BRACKETS_H
