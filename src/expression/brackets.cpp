// The enclosure test, scanned or tabled; see brackets.h.
#include "brackets.h"

namespace exprcurve::brackets {

namespace {

constexpr std::size_t none = std::string_view::npos;

int kindOf(char bracket) { return bracket == '(' || bracket == ')' ? 0 : 1; }

// For every opener, the position of the next opener of its kind that has the
// same prefix balance of that kind; npos when there is none.
std::vector<std::size_t> tableNextOpeners(std::string_view text)
{
    const std::size_t n = text.size();
    std::ptrdiff_t balance[2] = {0, 0};
    for (const char c : text) {
        if (isOpener(c))
            ++balance[kindOf(c)];
        else if (isCloser(c))
            --balance[kindOf(c)];
    }
    // Walking back from the end, balance[] is the prefix balance before the
    // current position; it lies in [-n, n], hence the offset of n.
    const auto slot = [n](std::ptrdiff_t b) { return static_cast<std::size_t>(b + static_cast<std::ptrdiff_t>(n)); };
    std::vector<std::size_t> nearestAtBalance[2] = {std::vector<std::size_t>(2 * n + 1, none),
                                                    std::vector<std::size_t>(2 * n + 1, none)};
    std::vector<std::size_t> next(n, none);
    for (std::size_t p = n; p-- > 0;) {
        const char c = text[p];
        if (isOpener(c)) {
            const int kind = kindOf(c);
            --balance[kind];
            std::size_t& nearest = nearestAtBalance[kind][slot(balance[kind])];
            next[p] = nearest;
            nearest = p;
        } else if (isCloser(c)) {
            ++balance[kindOf(c)];
        }
    }
    return next;
}

}  // namespace

bool EnclosureIndex::encloses(std::string_view window) const
{
    if (window.empty())
        return false;
    const std::size_t begin = offsetOf(window);
    return enclosesRange(begin, begin + window.size() - 1);
}

std::size_t EnclosureIndex::countPairsFrom(std::size_t begin, std::size_t size) const
{
    std::size_t last = begin + size - 1;
    std::size_t pairs = 0;
    while (begin < last && enclosesRange(begin, last)) {
        ++begin;
        --last;
        ++pairs;
    }
    return pairs;
}

bool EnclosureIndex::enclosesRange(std::size_t begin, std::size_t last) const
{
    if (begin >= last)
        return false;
    const char opener = text[begin];
    if (!isOpener(opener) || text[last] != closerOf(opener))
        return false;
    return noOpenerAtDepthZero(begin, last);
}

// The scan from the character after the opener to the last one, with the
// depth starting at 1 and only the opener's kind counted, or its tabled
// answer.
bool EnclosureIndex::noOpenerAtDepthZero(std::size_t begin, std::size_t last) const
{
    if (!scansText) {
        if (nextOpenerAtSameBalance.empty())
            nextOpenerAtSameBalance = tableNextOpeners(text);
        const std::size_t next = nextOpenerAtSameBalance[begin];
        return next == none || next > last;
    }
    const char opener = text[begin];
    const char closer = closerOf(opener);
    std::ptrdiff_t depth = 1;
    for (std::size_t p = begin + 1; p <= last; ++p) {
        if (text[p] == opener) {
            if (depth == 0)
                return false;
            ++depth;
        } else if (text[p] == closer) {
            --depth;
        }
    }
    return true;
}

}  // namespace exprcurve::brackets
