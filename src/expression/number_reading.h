// Reading the number at the start of an operand text (internal, not
// installed).
//
// The value of a constant is what formatted stream input of a `double` reads
// from the text. A string stream per operand is slow, so under the classic
// locale the reader repeats the standard library's extraction by hand: it
// takes the longest prefix of the form [sign] digits-and-one-"." [e|E [sign]
// digits] (white space skipped first, the exponent only after a digit) and
// converts it in the "C" locale. The value is 0 unless the conversion uses up
// that whole prefix ("-", ".", "1e", "1e+" read 0); an overflow reads as
// +/-DBL_MAX. Under any other global locale the stream itself is used.
#ifndef EXPRCURVE_EXPRESSION_NUMBER_READING_H
#define EXPRCURVE_EXPRESSION_NUMBER_READING_H

#include <string_view>

namespace exprcurve::numbers {

// True when every character is a decimal digit, "-" or "." (the empty text
// too): the operand texts that count as numbers.
bool holdsOnlyNumberCharacters(std::string_view text);

// What `std::istringstream(text) >> value` leaves in a `double` that starts at
// 0, read through a string stream.
double readThroughStream(std::string_view text);

// The same value computed directly; exact only while the global C++ locale is
// the classic one.
double readClassic(std::string_view text);

// Chooses between the two on its first read: make one per parse, so that a
// locale installed between parses is honoured.
class NumberReader {
public:
    double read(std::string_view text);

private:
    enum class Way { undecided, classic, throughStream };
    Way way = Way::undecided;
};

}  // namespace exprcurve::numbers

#endif  // EXPRCURVE_EXPRESSION_NUMBER_READING_H
