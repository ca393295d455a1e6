// Where each character of a normalised text comes from (internal): the
// diagnostics report positions in the text as it was typed, while the parser
// reports them in the normalised text.
#ifndef EXPRCURVE_SRC_EXPRESSION_NORMALISATION_H
#define EXPRCURVE_SRC_EXPRESSION_NORMALISATION_H

#include <string>
#include <string_view>
#include <vector>

namespace exprcurve::normalisation {

struct Origins {
    std::string text;  // what firstParse makes of the typed text
    // Per character of `text`: the offset of the typed byte it was copied
    // from or, for an inserted "*", of the typed byte it stands before.
    std::vector<int> source;
    std::vector<bool> inserted;  // per character: an implicit "*"
};

Origins normaliseWithOrigins(std::string_view typed);

}  // namespace exprcurve::normalisation

#endif  // EXPRCURVE_SRC_EXPRESSION_NORMALISATION_H
