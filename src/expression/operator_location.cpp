// The finders that cut a text into an operator's operands or a call's
// arguments. They never tokenise: each looks at the text as a whole.
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "brackets.h"
#include "builtinoperations.h"
#include "functionparserbase.h"
#include "operator_location.h"

namespace brackets = exprcurve::brackets;
using exprcurve::BuiltinOperation;
using exprcurve::builtinOperations;
namespace finders = exprcurve::finders;

namespace {

constexpr std::size_t none = std::string_view::npos;

bool startsWithName(std::string_view s, std::string_view name)
{
    return s.substr(0, name.size()) == name;
}

// The text between the brackets of name(...), when `s` is exactly such a
// call with something other than one more bracket pair inside.
bool findCallArguments(const brackets::EnclosureIndex& enclosure, std::string_view name,
                       std::string_view s, std::string_view& inner)
{
    if (!startsWithName(s, name))
        return false;
    const std::string_view rest = s.substr(name.size());
    if (!enclosure.encloses(rest))
        return false;
    const std::string_view candidate = rest.substr(1, rest.size() - 2);
    if (candidate.empty() || enclosure.encloses(candidate))
        return false;
    inner = candidate;
    return true;
}

}  // namespace

namespace exprcurve::finders {

bool splitAtOperator(char op, std::string_view s, std::string_view& left, std::string_view& right)
{
    const std::size_t at = brackets::findOutsideBrackets(s, op);
    if (at == none)
        return false;
    left = s.substr(0, at);
    right = s.substr(at + 1);
    return true;
}

OperatorRanks::OperatorRanks(std::string_view loosestFirst)
{
    ranks.fill(static_cast<unsigned char>(unranked));
    for (std::size_t rank = loosestFirst.size(); rank-- > 0;)
        ranks[static_cast<unsigned char>(loosestFirst[rank])] = static_cast<unsigned char>(rank);
}

const OperatorRanks& builtinOperatorRanks()
{
    static const OperatorRanks ranks = [] {
        std::string characters;
        for (const BuiltinOperation& row : builtinOperations) {
            if (row.isOperator)
                characters += row.name;
        }
        return OperatorRanks(characters);
    }();
    return ranks;
}

bool splitAtLoosestOperator(const OperatorRanks& ranks, std::string_view s, std::size_t& rank,
                            std::string_view& left, std::string_view& right,
                            std::size_t loosestPossible)
{
    std::size_t loosest = OperatorRanks::unranked;
    std::size_t at = none;
    // An operator is kept only when it is looser than every one met before,
    // so each rank is kept at its leftmost place; the loosest possible one
    // ends the pass.
    brackets::scanOutsideBrackets(s, [&](std::size_t position) {
        const std::size_t found = ranks.rankOf(s[position]);
        if (found < loosest) {
            loosest = found;
            at = position;
        }
        return loosest <= loosestPossible;
    });
    if (at == none)
        return false;
    rank = loosest;
    left = s.substr(0, at);
    right = s.substr(at + 1);
    return true;
}

bool splitTwoArgumentCall(const brackets::EnclosureIndex& enclosure, std::string_view name,
                          std::string_view s, std::string_view& first, std::string_view& second)
{
    std::string_view inner;
    if (!findCallArguments(enclosure, name, s, inner))
        return false;
    const std::size_t comma = brackets::findOutsideBrackets(inner, ',');
    if (comma == none || comma == 0)
        return false;
    first = inner.substr(0, comma);
    second = inner.substr(comma + 1);
    return true;
}

bool splitThreeArgumentCall(const brackets::EnclosureIndex& enclosure, std::string_view name,
                            std::string_view s, std::string_view& first, std::string_view& second,
                            std::string_view& third)
{
    std::string_view inner;
    if (!findCallArguments(enclosure, name, s, inner))
        return false;
    const std::size_t firstComma = brackets::findOutsideBrackets(inner, ',');
    if (firstComma == none || firstComma == 0 || firstComma == inner.size() - 1)
        return false;
    const std::string_view afterFirst = inner.substr(firstComma + 1);
    const std::size_t secondComma = brackets::findOutsideBrackets(afterFirst, ',');
    if (secondComma == none)
        return false;
    first = inner.substr(0, firstComma);
    second = afterFirst.substr(0, secondComma);
    third = afterFirst.substr(secondComma + 1);
    return true;
}

bool splitCallArguments(const brackets::EnclosureIndex& enclosure, std::string_view name,
                        std::string_view s, std::string_view* pieces, std::size_t capacity,
                        std::size_t& count)
{
    if (!startsWithName(s, name))
        return false;
    const std::string_view rest = s.substr(name.size());
    if (!enclosure.encloses(rest))
        return false;
    const std::string_view inner = rest.substr(1, rest.size() - 2);
    count = 0;
    if (inner.empty())
        return true;
    std::size_t start = 0;
    const auto take = [&](std::size_t end) {
        if (count < capacity)
            pieces[count] = inner.substr(start, end - start);
        ++count;
        start = end + 1;
    };
    brackets::scanOutsideBrackets(inner, [&](std::size_t position) {
        if (inner[position] == ',')
            take(position);
        return false;
    });
    take(inner.size());
    return true;
}

bool splitOneArgumentCall(std::string_view name, std::string_view s, std::string_view& argument)
{
    if (s.size() <= name.size() || !startsWithName(s, name) || s[name.size()] != '(')
        return false;
    argument = s.substr(name.size());
    return true;
}

}  // namespace exprcurve::finders

// The public finders copy the pieces out only after the whole search, so an
// output string may even be the searched text itself.

namespace {

// Every piece is copied before any output is assigned, for the same reason:
// an output may be the string the pieces view.
template <std::size_t Count>
void copyOut(const std::array<std::string_view, Count>& pieces,
             const std::array<std::string*, Count>& outputs)
{
    std::array<std::string, Count> copies;
    for (std::size_t i = 0; i < Count; ++i)
        copies[i].assign(pieces[i]);
    for (std::size_t i = 0; i < Count; ++i)
        *outputs[i] = std::move(copies[i]);
}

}  // namespace

bool FunctionParserBase::findBinaryOperation(functionType type, const std::string& s,
                                             std::string& left, std::string& right)
{
    if (s.empty())
        return false;
    std::array<std::string_view, 2> pieces;
    if (!finders::splitAtOperator(tableInfo[type].opChar, s, pieces[0], pieces[1]))
        return false;
    copyOut(pieces, {&left, &right});
    return true;
}

bool FunctionParserBase::findBinaryOperation(const std::string& name, const std::string& s,
                                             std::string& first, std::string& second)
{
    std::array<std::string_view, 2> pieces;
    if (!finders::splitTwoArgumentCall(brackets::EnclosureIndex(s), name, s, pieces[0], pieces[1]))
        return false;
    copyOut(pieces, {&first, &second});
    return true;
}

bool FunctionParserBase::findTernaryOperation(const std::string& name, const std::string& s,
                                              std::string& first, std::string& second,
                                              std::string& third)
{
    std::array<std::string_view, 3> pieces;
    if (!finders::splitThreeArgumentCall(brackets::EnclosureIndex(s), name, s, pieces[0], pieces[1],
                                          pieces[2]))
        return false;
    copyOut(pieces, {&first, &second, &third});
    return true;
}

bool FunctionParserBase::findUnaryOperation(const std::string& name, const std::string& s,
                                            std::string& argument)
{
    std::array<std::string_view, 1> pieces;
    if (!finders::splitOneArgumentCall(name, s, pieces[0]))
        return false;
    copyOut(pieces, {&argument});
    return true;
}
