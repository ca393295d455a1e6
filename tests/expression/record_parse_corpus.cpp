// Writes the account of every corpus text (see parse_corpus.h) to standard
// output, one line each. Run with the build whose behaviour is to be pinned:
//   record_parse_corpus > tests/expression/data/parse_corpus.txt
#include <iostream>

#include "parse_corpus.h"

int main()
{
    parse_corpus::Host host;
    parse_corpus::TextMaker maker(parse_corpus::seed);
    for (int i = 0; i < parse_corpus::textCount; ++i)
        std::cout << parse_corpus::account(host.parser, maker.text()) << '\n';
    return 0;
}
