// The builder's quicker searches against the plain ones they stand for: the
// scanned and the tabled enclosure test, and the one-pass operator split
// against asking for each operator in turn.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <tuple>

#include "brackets.h"
#include "operator_location.h"

namespace brackets = exprcurve::brackets;
namespace finders = exprcurve::finders;

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
    for (std::size_t rank = 0; rank < operatorsLoosestFirst.size(); ++rank) {
        if (finders::splitAtOperator(operatorsLoosestFirst[rank], s, std::get<2>(split), std::get<3>(split)))
            return {true, rank, std::get<2>(split), std::get<3>(split)};
    }
    return split;
}

Split splitInOnePass(std::string_view s, std::size_t loosestPossible)
{
    static const finders::OperatorRanks ranks(operatorsLoosestFirst);
    Split split{};
    std::get<0>(split) = finders::splitAtLoosestOperator(ranks, s, std::get<1>(split), std::get<2>(split),
                                                         std::get<3>(split), loosestPossible);
    return split;
}

}  // namespace

TEST(SearchStrategies, ScannedAndTabledEnclosureAgreeOnEveryWindow)
{
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i) {
        const std::string text = randomText(random, "(){}a", 16);
        const brackets::EnclosureIndex scanned(text, text.size());
        const brackets::EnclosureIndex tabled(text, 0);
        for (std::size_t begin = 0; begin <= text.size(); ++begin) {
            for (std::size_t size = 0; begin + size <= text.size(); ++size) {
                const std::string_view window = std::string_view(text).substr(begin, size);
                EXPECT_EQ(scanned.encloses(window), tabled.encloses(window)) << text << " @" << begin << "+" << size;
                EXPECT_EQ(scanned.countEnclosingPairs(window), tabled.countEnclosingPairs(window)) << text;
            }
        }
    }
}

// The pieces of a split are searched again with what the split tells about
// them, and must split as they would from scratch.
TEST(SearchStrategies, OnePassSplitFindsWhatTheOperatorsInTurnFind)
{
    std::mt19937 random(11);
    for (int i = 0; i < 20000; ++i) {
        const std::string text = randomText(random, "|&=><+-*/^(){}ab", 14);
        const Split split = splitInTurn(text);
        ASSERT_EQ(splitInOnePass(text, 0), split) << text;
        const auto [found, rank, left, right] = split;
        if (found) {
            EXPECT_EQ(splitInOnePass(left, rank + 1), splitInTurn(left)) << text;
            EXPECT_EQ(splitInOnePass(right, rank), splitInTurn(right)) << text;
        }
    }
}
