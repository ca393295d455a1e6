// Every corpus text (see parse_corpus.h) gives exactly the account recorded
// with the builder as it stood before host functions and the table of
// built-ins: the same shape, faults, code, position and value bits. Host
// functions whose names the corpus never calls change nothing either.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "parse_corpus.h"

namespace {

double twice(const double* arguments, void*) { return 2 * arguments[0]; }

void expectRecordedAccounts(FunctionParserBase& parser)
{
    std::ifstream recording(EXPRCURVE_TEST_DATA "/parse_corpus.txt");
    ASSERT_TRUE(recording.is_open());
    parse_corpus::TextMaker maker(parse_corpus::seed);
    std::string expected;
    int lines = 0;
    while (std::getline(recording, expected)) {
        ASSERT_EQ(parse_corpus::account(parser, maker.text()), expected) << "line " << lines + 1;
        ++lines;
    }
    EXPECT_EQ(lines, parse_corpus::textCount);
}

TEST(ParseCorpus, EveryTextGivesItsRecordedAccount)
{
    parse_corpus::Host host;
    expectRecordedAccounts(host.parser);
}

TEST(ParseCorpus, FunctionsTheTextsDoNotCallChangeNothing)
{
    parse_corpus::Host host;
    ASSERT_TRUE(host.parser.defineFunction("lerp", 3, twice));
    ASSERT_TRUE(host.parser.defineFunction("f", 1, twice));
    ASSERT_TRUE(host.parser.defineFunction("bar", 0, twice));
    expectRecordedAccounts(host.parser);
}

}  // namespace
