// Normalisation of expression text and the bracket helpers.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "functionparserbase.h"

namespace {

TEST(FirstParse, NormalisesCaseSpacesAndImplicitProducts)
{
    const std::pair<std::string, std::string> cases[] = {
        {"", ""}, {"x2y", "x2*y"}, {"2x3y", "2*x3*y"}, {"2 (x)", "2*(x)"}, {"a (x)", "a(x)"},
        {"x 2 (y)", "x*2(y)"}, {"{a}{b}", "{a}*{b}"}, {")x", ")*x"}, {"A\tB", "a*b"}, {"( a )", "(a)"},
        {"2.5E3", "2.5*e3"}, {"2(x+1)", "2*(x+1)"}, {"(a) b", "(a)*b"}, {"Sin (X)", "sin(x)"},
        {"log10(x)", "log10(x)"}, {"1e-5", "1*e-5"}, {"2 3", "2*3"}, {"2 + x", "2+x"}, {"(a)2", "(a)*2"},
        {") (", ")*("}, {"2{x}", "2*{x}"}, {"x2(y)", "x2(y)"}, {"12ab", "12*ab"}, {"2-(x)", "2-(x)"},
        {"a\n\r\f\vb", "a*b"}, {"1 .5", "1.5"}, {"x  y z", "x*y*z"},
        // Bytes outside ASCII (C locale) and NUL are copied and end a number or name.
        {"2\xe9x", "2\xe9x"}, {std::string("a\0(b", 4), std::string("a\0(b", 4)},
        {std::string("2\0 3", 4), std::string("2\0" "3", 3)},
    };
    FunctionParserBase parser;
    for (const auto& [input, expected] : cases)
        EXPECT_EQ(parser.firstParse(input), expected) << "input '" << input << "'";
}

TEST(TextHelpers, PrefixNumberAndEnclosureTests)
{
    FunctionParserBase parser;
    EXPECT_FALSE(parser.startsWith("ab", "abc"));
    EXPECT_TRUE(parser.startsWith("x", ""));
    EXPECT_FALSE(parser.startsWith("abc", "ax"));
    for (const char* valid : {"", "-.", "1.2.3", "--", "007"})
        EXPECT_TRUE(parser.isAValidNumber(valid)) << valid;
    for (const char* invalid : {"+1", "1e5", " 1", "x", "(1)"})
        EXPECT_FALSE(parser.isAValidNumber(invalid)) << invalid;
    for (const char* enclosed : {"(a+b)", "((a)+(b))", "(a))", "()", "{a}", "({)})", "{(}"})
        EXPECT_TRUE(parser.hasFirstParentesis(enclosed)) << enclosed;
    for (const char* open : {"(a)+(b)", "{a)", "", "(", "(a}", "a(b)", "(a)b", "{a}{b}"})
        EXPECT_FALSE(parser.hasFirstParentesis(open)) << open;
}

// The plain definition: test, strip one pair, test again.
std::string stripPairsOneByOne(std::string s, int& count)
{
    FunctionParserBase parser;
    for (; parser.hasFirstParentesis(s); ++count)
        s = s.substr(1, s.size() - 2);
    return s;
}

// Bracket text wrapped in pairs, sometimes mismatched, so that deep strips
// really occur.
std::string randomBracketText(std::mt19937& random)
{
    std::uniform_int_distribution<int> lengthOf(0, 16), characterOf(0, 4), wrapsOf(0, 6);
    std::string core;
    for (int n = lengthOf(random); n > 0; --n)
        core += "(){}a"[characterOf(random)];
    for (int n = wrapsOf(random); n > 0; --n) {
        const bool round = characterOf(random) < 3;
        const bool mismatched = characterOf(random) == 0;
        core = (round ? "(" : "{") + core + (round != mismatched ? ")" : "}");
    }
    return core;
}

TEST(TextHelpers, RemoveFirstParentesisMatchesTheRepeatedTest)
{
    std::vector<std::string> texts = {"((a))", "(a)+(b)", "{a)", "()", "({a})", "((a)))", "(()", "{({})}"};
    std::mt19937 random(20240611);
    for (int i = 0; i < 50000; ++i)
        texts.push_back(randomBracketText(random));
    FunctionParserBase parser;
    int deepStrips = 0;
    for (const std::string& text : texts) {
        int pairs = 0;
        const std::string expected = stripPairsOneByOne(text, pairs);
        ParseMessage message{};
        message.position = 10;
        int count = 5;  // both are added to, not reset
        ASSERT_EQ(parser.removeFirstParentesis(text, message, count), expected) << text;
        ASSERT_EQ(count, 5 + pairs) << text;
        ASSERT_EQ(message.position, 10 + pairs) << text;
        deepStrips += pairs >= 3 ? 1 : 0;
    }
    EXPECT_GT(deepStrips, 1000);  // the generator does reach deep cases
    int count = 0;
    EXPECT_EQ(stripPairsOneByOne("((a))", count) + stripPairsOneByOne("(a)+(b)", count), "a(a)+(b)");
    EXPECT_EQ(count, 2);
}

TEST(TextHelpers, FindFirstElement)
{
    const struct {
        char c;
        const char* text;
        unsigned int start, expected;
    } cases[] = {
        {',', "f(a,b),c", 0, 6}, {',', "a,b", 5, 0}, {',', "a,b", 0, 1}, {',', "{a,b},c", 0, 5},
        {',', ",a", 0, 0},      // a match at 0 looks like no match
        {',', "f(a,b)", 3, 3},  // the depth starts at 0 at `start`
        {'+', "a)+(b", 0, 0},   // at depth -1
        {'x', "a)(x", 0, 3},    // back at depth 0
        {')', "(a)", 0, 2},     // a closer is tested after it closes
    };
    FunctionParserBase parser;
    for (const auto& c : cases)
        EXPECT_EQ(parser.findFirstElement(c.c, c.text, c.start), c.expected) << c.c << " in " << c.text;
}

}  // namespace
