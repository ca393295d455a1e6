// The enclosure test over a tabled text; see brackets.h.
#include "brackets.h"

#include <functional>

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

bool EnclosureIndex::contains(std::string_view window) const
{
    const std::less_equal<const char*> notAfter;
    return notAfter(text.data(), window.data())
           && notAfter(window.data() + window.size(), text.data() + text.size());
}

bool EnclosureIndex::encloses(std::string_view window) const
{
    if (window.empty())
        return false;
    const std::size_t begin = offsetOf(window);
    return enclosesRange(begin, begin + window.size() - 1);
}

std::size_t EnclosureIndex::countEnclosingPairs(std::string_view window) const
{
    if (window.empty())
        return 0;
    std::size_t begin = offsetOf(window);
    std::size_t last = begin + window.size() - 1;
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
    if (nextOpenerAtSameBalance.empty())
        nextOpenerAtSameBalance = tableNextOpeners(text);
    const std::size_t next = nextOpenerAtSameBalance[begin];
    return next == none || next > last;
}

std::size_t EnclosureIndex::offsetOf(std::string_view window) const
{
    return static_cast<std::size_t>(window.data() - text.data());
}

}  // namespace exprcurve::brackets
