// Faults and warnings for the people who type expressions.
//
// The parser reports each fault as a (position, length) pair in the
// normalised text (ParseMessage::errors). describeFaults turns those into
// entries a host can show its users: the range in the text exactly as it was
// typed (before white space was dropped, letters lowered and implicit "*"
// written out) and one English line that says what is wrong. lint looks at a
// text that may well parse without a fault and warns where the language
// reads it differently from most others.
//
//     ParseMessage message{};
//     tree.reset(parser.parseString(typed, message));
//     for (const exprcurve::Diagnostic& d : exprcurve::describeFaults(typed, message))
//         show(d.position, d.length, d.message);   // error
//     for (const exprcurve::Diagnostic& d : exprcurve::lint(typed))
//         show(d.position, d.length, d.message);   // warning
#ifndef EXPRCURVE_DIAGNOSTICS_H
#define EXPRCURVE_DIAGNOSTICS_H

#include <string>
#include <vector>

#include "functionparserbase.h"

namespace exprcurve {

struct Diagnostic {
    int position;         // byte offset in the text as the host passed it to parseString
    int length;           // bytes of that text
    std::string message;  // one English line, e.g. "unknown function 'foo'"
};

// One entry per entry of message.errors, in order. `expression` is the text
// given to parseString for `message`; the ranges always lie within it. The
// faults themselves are the parser's: 'max(a)' is a fault at its stray ')',
// and the message says that max takes two arguments.
std::vector<Diagnostic> describeFaults(const std::string& expression, const ParseMessage& message);

// Warnings, in text order, for what reads differently here than in most
// languages: exponent notation, two-character operators, '-', '/' and '^'
// chains that group to the right, a sign after '*', '/' or '^' (2^-1 is 0),
// a division followed by an implicit product (a/2x is (a/2)*x), and what
// reads as 0 without a fault (a missing operand or argument, empty brackets,
// a number such as 1.2.3 read only in part).
std::vector<Diagnostic> lint(const std::string& expression);

}  // namespace exprcurve

#endif  // EXPRCURVE_DIAGNOSTICS_H
