// The quicker paths against the plain ones they stand for: the scanned and
// the tabled enclosure test, the one-pass operator split against asking for
// each operator in turn, and the number reader against stream input.
#include <gtest/gtest.h>

#include <cstring>
#include <locale>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "brackets.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "number_reading.h"
#include "operator_location.h"

using namespace exprcurve;

namespace {

std::string randomText(std::mt19937& random, std::string_view alphabet, std::size_t maxLength)
{
    std::string text;
    for (std::size_t length = random() % (maxLength + 1); length > 0; --length)
        text += alphabet[random() % alphabet.size()];
    return text;
}

constexpr std::string_view operatorsLoosestFirst = "|&=><+-*/^";

// Found or not, rank, left, right.
using Split = std::tuple<bool, std::size_t, std::string_view, std::string_view>;

Split splitInTurn(std::string_view s)
{
    Split split{};
    for (std::size_t rank = 0; rank < operatorsLoosestFirst.size(); ++rank)
        if (finders::splitAtOperator(operatorsLoosestFirst[rank], s, std::get<2>(split), std::get<3>(split)))
            return {true, rank, std::get<2>(split), std::get<3>(split)};
    return split;
}

Split splitInOnePass(std::string_view s, std::size_t loosestPossible)
{
    static const finders::OperatorRanks ranks(operatorsLoosestFirst);
    Split split{};
    auto& [found, rank, left, right] = split;
    found = finders::splitAtLoosestOperator(ranks, s, rank, left, right, loosestPossible);
    return split;
}

}  // namespace

// The enclosure index is asked about every window; the pieces of a split are
// searched again with what the split tells about them, and must split as
// they would from scratch.
TEST(SearchStrategies, QuickerSearchesAgreeWithThePlainOnes)
{
    std::mt19937 random(11);
    for (int i = 0; i < 1000; ++i) {
        const std::string text = randomText(random, "|&=><+-*/^(){}ab", 14);
        const brackets::EnclosureIndex scanned(text, text.size()), tabled(text, 0);
        for (std::size_t begin = 0; begin <= text.size(); ++begin) {
            for (std::size_t size = 0; begin + size <= text.size(); ++size) {
                const std::string_view window = std::string_view(text).substr(begin, size);
                ASSERT_EQ(scanned.encloses(window), tabled.encloses(window))
                    << text << " @" << begin << "+" << size;
                ASSERT_EQ(scanned.countEnclosingPairs(window), tabled.countEnclosingPairs(window)) << text;
            }
        }
        const Split split = splitInTurn(text);
        ASSERT_EQ(splitInOnePass(text, 0), split) << text;
        const auto [found, rank, left, right] = split;
        ASSERT_TRUE(!found || (splitInOnePass(left, rank + 1) == splitInTurn(left) &&
                               splitInOnePass(right, rank) == splitInTurn(right))) << text;
    }
}

TEST(NumberReading, ReadsAsTheStreamBitForBit)
{
    std::vector<std::string> texts = {
        "-.", "+.5", "-0", "0x1p3", " 7", "-1e400", "1e-400", "2.4703282292062328e-324",
        "1.7976931348623159e308", "9007199254740993", std::string(400, '9'),
        "0." + std::string(400, '0') + "1"};
    std::mt19937 random(20240517);
    for (int i = 0; i < 2000; ++i) {
        texts.push_back(randomText(random, "0123456789.-+eE x(", 24));
        // Long mantissas with exponents past both ends of the range.
        std::string text = randomText(random, "0123456789", 40) + "7";
        text.insert(random() % text.size(), random() % 2 ? "." : "");
        texts.push_back(text + (random() % 3 ? "e" + std::to_string(int(random() % 800) - 400) : ""));
    }
    for (const std::string& text : texts) {
        double expected = 0.0;
        std::istringstream(text) >> expected;
        const double value = numbers::readClassic(text);
        ASSERT_EQ(std::memcmp(&value, &expected, sizeof value), 0) << '"' << text << "\": " << value;
    }
}

namespace {

// A host that changed the global locale gets what stream input gives there.
struct CommaDecimal : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

TEST(NumberReader, FollowsStreamInputUnderAnotherGlobalLocale)
{
    const std::locale previous = std::locale::global(std::locale(std::locale::classic(), new CommaDecimal));
    FunctionParserBase parser;
    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> tree(parser.parseString("1.5", message));
    std::locale::global(previous);
    EXPECT_EQ((*tree)(), 1.0);  // ',' is the decimal point there: "1.5" reads 1
}

}  // namespace
