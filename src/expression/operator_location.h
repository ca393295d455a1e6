// The operator and call-form finders on views of the text (internal, not
// installed). The tree builder works on views of one normalised text so that
// no level copies its substrings; the public finders of FunctionParserBase
// wrap these and copy the pieces out.
//
// Every finder returns false when the text is not of its form and then leaves
// its outputs untouched; on success the outputs are views into `s`. The call
// forms test enclosure through an index of a text that holds `s`.
#ifndef EXPRCURVE_EXPRESSION_OPERATOR_LOCATION_H
#define EXPRCURVE_EXPRESSION_OPERATOR_LOCATION_H

#include <array>
#include <cstddef>
#include <string_view>

#include "brackets.h"

namespace exprcurve::finders {

// `op` at its leftmost place outside brackets; either side may be empty.
bool splitAtOperator(char op, std::string_view s, std::string_view& left, std::string_view& right);

// Operator characters ranked by their place in a list, loosest first.
class OperatorRanks {
public:
    static constexpr std::size_t unranked = 255;

    // At most `unranked` characters, none of them a bracket.
    explicit OperatorRanks(std::string_view loosestFirst);

    std::size_t rankOf(char c) const { return ranks[static_cast<unsigned char>(c)]; }

private:
    std::array<unsigned char, 256> ranks;
};

// The operator characters of the table of built-ins, loosest first.
const OperatorRanks& builtinOperatorRanks();

// The operator that splitAtOperator, asked for each ranked character from the
// loosest on, would find first, found in one pass: the loosest one that
// occurs outside brackets, at its leftmost place. `rank` gets its rank.
//
// A caller that knows that no operator looser than `loosestPossible` stands
// outside brackets in `s` says so, and the pass ends at the first operator of
// that rank. The pieces of a split are such texts: neither holds an operator
// looser than the one split at outside brackets, and the left one not even
// that one.
bool splitAtLoosestOperator(const OperatorRanks& ranks, std::string_view s, std::size_t& rank,
                            std::string_view& left, std::string_view& right,
                            std::size_t loosestPossible = 0);

// name(first,second): `second` runs to the closing bracket and may itself
// hold commas.
bool splitTwoArgumentCall(const brackets::EnclosureIndex& enclosure, std::string_view name,
                          std::string_view s, std::string_view& first, std::string_view& second);

// name(first,second,third): `third` runs to the closing bracket and may
// itself hold commas.
bool splitThreeArgumentCall(const brackets::EnclosureIndex& enclosure, std::string_view name,
                            std::string_view s, std::string_view& first, std::string_view& second,
                            std::string_view& third);

// name(a,b,...) with the arguments split at every comma outside brackets;
// `name()` has none. `count` gets their number, while `pieces` gets at most
// `capacity` of them. The rest after the name must be wholly enclosed, and
// its inner text may itself be (f((a,b)) has the one argument (a,b)).
bool splitCallArguments(const brackets::EnclosureIndex& enclosure, std::string_view name,
                        std::string_view s, std::string_view* pieces, std::size_t capacity,
                        std::size_t& count);

// name( ... : `argument` is everything after the name, still beginning with
// "("; nothing checks what follows.
bool splitOneArgumentCall(std::string_view name, std::string_view s, std::string_view& argument);

}  // namespace exprcurve::finders

#endif  // EXPRCURVE_EXPRESSION_OPERATOR_LOCATION_H
