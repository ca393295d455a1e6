// The builder's quicker searches against the plain ones they stand for: the
// scanned and the tabled enclosure test, and the one-pass operator split
// against asking for each operator in turn.
#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>
#include <string_view>

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

// What asking splitAtOperator for each operator, loosest first, finds.
bool splitInTurn(std::string_view s, std::size_t& rank, std::string_view& left, std::string_view& right)
{
    for (rank = 0; rank < operatorsLoosestFirst.size(); ++rank) {
        if (finders::splitAtOperator(operatorsLoosestFirst[rank], s, left, right))
            return true;
    }
    return false;
}

}  // namespace

TEST(SearchStrategies, ScannedAndTabledEnclosureAgreeOnEveryWindow)
{
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i) {
        const std::string text = randomText(random, "(){}a", 16);
        const brackets::EnclosureIndex scanned(text, text.size());
        const brackets::EnclosureIndex tabled(text, 0);
        const std::string_view view(text);
        for (std::size_t begin = 0; begin <= text.size(); ++begin) {
            for (std::size_t size = 0; begin + size <= text.size(); ++size) {
                const std::string_view window = view.substr(begin, size);
                EXPECT_EQ(scanned.encloses(window), tabled.encloses(window)) << text << " @" << begin << "+" << size;
                EXPECT_EQ(scanned.countEnclosingPairs(window), tabled.countEnclosingPairs(window)) << text;
            }
        }
    }
}

TEST(SearchStrategies, OnePassSplitFindsWhatTheOperatorsInTurnFind)
{
    const finders::OperatorRanks ranks(operatorsLoosestFirst);
    std::mt19937 random(11);
    for (int i = 0; i < 20000; ++i) {
        const std::string text = randomText(random, "|&=><+-*/^(){}ab", 14);
        std::size_t expectedRank = 0;
        std::string_view expectedLeft;
        std::string_view expectedRight;
        const bool expected = splitInTurn(text, expectedRank, expectedLeft, expectedRight);
        std::size_t rank = 0;
        std::string_view left;
        std::string_view right;
        ASSERT_EQ(finders::splitAtLoosestOperator(ranks, text, rank, left, right), expected) << text;
        if (!expected)
            continue;
        EXPECT_EQ(rank, expectedRank) << text;
        EXPECT_EQ(left, expectedLeft) << text;
        EXPECT_EQ(right, expectedRight) << text;
        // The pieces, searched with what the split tells about them, split
        // as they would from scratch.
        const std::string_view pieces[] = {left, right};
        const std::size_t loosestPossible[] = {rank + 1, rank};
        for (int p = 0; p < 2; ++p) {
            std::size_t pieceRank = 0;
            std::string_view pieceLeft;
            std::string_view pieceRight;
            const bool pieceExpected = splitInTurn(pieces[p], pieceRank, pieceLeft, pieceRight);
            std::size_t hintedRank = 0;
            std::string_view hintedLeft;
            std::string_view hintedRight;
            ASSERT_EQ(finders::splitAtLoosestOperator(ranks, pieces[p], hintedRank, hintedLeft, hintedRight,
                                                      loosestPossible[p]),
                      pieceExpected)
                << pieces[p];
            if (pieceExpected) {
                EXPECT_EQ(hintedRank, pieceRank) << pieces[p];
                EXPECT_EQ(hintedLeft, pieceLeft) << pieces[p];
            }
        }
    }
}
