// Normalisation of expression text and the bracket helpers.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "functionparserbase.h"

namespace {

struct Normalisation {
    std::string input;
    std::string expected;
};

TEST(FirstParse, NormalisesCaseSpacesAndImplicitProducts)
{
    const Normalisation cases[] = {
        {"", ""},
        {"x2y", "x2*y"},
        {"2x3y", "2*x3*y"},
        {"2 (x)", "2*(x)"},
        {"a (x)", "a(x)"},
        {"x 2 (y)", "x*2(y)"},
        {"{a}{b}", "{a}*{b}"},
        {")x", ")*x"},
        {"A\tB", "a*b"},
        {"( a )", "(a)"},
        {"2.5E3", "2.5*e3"},
        {"2x", "2*x"},
        {"2 x", "2*x"},
        {"2(x+1)", "2*(x+1)"},
        {"(a)(b)", "(a)*(b)"},
        {"(a) b", "(a)*b"},
        {"Sin (X)", "sin(x)"},
        {"log10(x)", "log10(x)"},
        {"j0(x)", "j0(x)"},
        {"1e-5", "1*e-5"},
    };
    FunctionParserBase parser;
    for (const Normalisation& c : cases)
        EXPECT_EQ(parser.firstParse(c.input), c.expected) << "input '" << c.input << "'";
}

TEST(FirstParse, FlagCorners)
{
    const Normalisation cases[] = {
        {"2 3", "2*3"},            // space between two alphanumerics
        {"a 1", "a*1"},
        {"2 + x", "2+x"},          // space next to an operator just disappears
        {"(a)2", "(a)*2"},         // closer then alphanumeric
        {") (", ")*("},            // closer then opener, space in between
        {"2{x}", "2*{x}"},         // braces open like round brackets
        {"x2(y)", "x2(y)"},        // a letter since the last operator: a call
        {"12ab", "12*ab"},         // the inserted '*' ends the number
        {"2a3b", "2*a3*b"},
        {"2)(", "2)*("},
        {"2-(x)", "2-(x)"},        // an operator clears the number
        {"ABC", "abc"},
        {"a\n\r\f\vb", "a*b"},
        {"1 .5", "1.5"},           // "." is not alphanumeric: no product
        {"x  y z", "x*y*z"},
    };
    FunctionParserBase parser;
    for (const Normalisation& c : cases)
        EXPECT_EQ(parser.firstParse(c.input), c.expected) << "input '" << c.input << "'";
}

TEST(FirstParse, CopiesOtherBytesUnchanged)
{
    FunctionParserBase parser;
    // Outside ASCII (in the C locale) and NUL are "other" characters: copied,
    // and they end the number and the name before them.
    EXPECT_EQ(parser.firstParse("2\xe9x"), "2\xe9x");
    EXPECT_EQ(parser.firstParse(std::string("a\0(b", 4)), std::string("a\0(b", 4));
    EXPECT_EQ(parser.firstParse(std::string("2\0 3", 4)), std::string("2\0" "3", 3));
    EXPECT_EQ(parser.firstParse("\xff\xfe"), "\xff\xfe");
}

TEST(TextHelpers, StartsWith)
{
    FunctionParserBase parser;
    EXPECT_FALSE(parser.startsWith("ab", "abc"));
    EXPECT_TRUE(parser.startsWith("x", ""));
    EXPECT_TRUE(parser.startsWith("", ""));
    EXPECT_TRUE(parser.startsWith("abc", "ab"));
    EXPECT_FALSE(parser.startsWith("abc", "ax"));
    EXPECT_FALSE(parser.startsWith("", "a"));
}

TEST(TextHelpers, IsAValidNumberChecksCharactersOnly)
{
    FunctionParserBase parser;
    for (const char* valid : {"", "-.", "1.2.3", "12", "--", "007"})
        EXPECT_TRUE(parser.isAValidNumber(valid)) << valid;
    for (const char* invalid : {"+1", "1e5", " 1", "x", "1,2", "(1)"})
        EXPECT_FALSE(parser.isAValidNumber(invalid)) << invalid;
}

TEST(TextHelpers, HasFirstParentesis)
{
    FunctionParserBase parser;
    for (const char* enclosed : {"(a+b)", "((a)+(b))", "(a))", "()", "{a}", "({)})", "{(}", "((a)))"})
        EXPECT_TRUE(parser.hasFirstParentesis(enclosed)) << enclosed;
    for (const char* open : {"(a)+(b)", "{a)", "", "(", ")", "(a}", "a(b)", "(a)b", "{a}{b}"})
        EXPECT_FALSE(parser.hasFirstParentesis(open)) << open;
}

TEST(TextHelpers, RemoveFirstParentesisStripsAndCounts)
{
    const struct {
        const char* input;
        const char* expected;
        int pairs;
    } cases[] = {
        {"((a))", "a", 2},     {"(a)+(b)", "(a)+(b)", 0}, {"{a)", "{a)", 0},
        {"()", "", 1},         {"(((a)))", "a", 3},       {"({a})", "a", 2},
        {"((a)+(b))", "(a)+(b)", 1}, {"(a))", "a)", 1},   {"((a)))", "a)", 2},
        {"(()", "(", 1},     {"", "", 0},               {"{({})}", "", 3},
    };
    FunctionParserBase parser;
    for (const auto& c : cases) {
        ParseMessage message{};
        message.position = 10;
        int count = 5;  // added to, not reset
        EXPECT_EQ(parser.removeFirstParentesis(c.input, message, count), c.expected) << c.input;
        EXPECT_EQ(message.position, 10 + c.pairs) << c.input;
        EXPECT_EQ(count, 5 + c.pairs) << c.input;
    }
}

// The plain definition: test, strip one pair, test again.
std::string stripPairsOneByOne(std::string s, int& count)
{
    FunctionParserBase parser;
    while (parser.hasFirstParentesis(s)) {
        s.erase(s.size() - 1);
        s.erase(0, 1);
        ++count;
    }
    return s;
}

std::string randomBracketText(std::mt19937& random)
{
    static const char alphabet[] = "(){}a";
    std::uniform_int_distribution<int> lengthOf(0, 16);
    std::uniform_int_distribution<int> characterOf(0, 4);
    std::uniform_int_distribution<int> wrapsOf(0, 6);
    std::string core;
    for (int n = lengthOf(random); n > 0; --n)
        core += alphabet[characterOf(random)];
    // Wrap in pairs, sometimes mismatched, so that deep strips really occur.
    for (int n = wrapsOf(random); n > 0; --n) {
        const char opener = characterOf(random) < 3 ? '(' : '{';
        const char closer = characterOf(random) == 0 ? (opener == '(' ? '}' : ')')
                                                     : (opener == '(' ? ')' : '}');
        core = opener + core + closer;
    }
    return core;
}

TEST(TextHelpers, RemoveFirstParentesisMatchesTheRepeatedTest)
{
    std::mt19937 random(20240611);
    FunctionParserBase parser;
    int deepStrips = 0;
    for (int i = 0; i < 50000; ++i) {
        const std::string text = randomBracketText(random);
        int expectedCount = 0;
        const std::string expected = stripPairsOneByOne(text, expectedCount);
        ParseMessage message{};
        int count = 0;
        ASSERT_EQ(parser.removeFirstParentesis(text, message, count), expected) << text;
        ASSERT_EQ(count, expectedCount) << text;
        ASSERT_EQ(message.position, expectedCount) << text;
        deepStrips += expectedCount >= 3 ? 1 : 0;
    }
    EXPECT_GT(deepStrips, 1000);  // the generator does reach deep cases
}

TEST(TextHelpers, RemoveFirstParentesisOnDeepNestingIsLinear)
{
    const int depth = 100000;
    const std::string text = std::string(depth, '(') + "1+x" + std::string(depth, ')');
    // A mismatched innermost pair stops the strip one level early.
    const std::string broken = std::string(depth, '{') + "(1+x}" + std::string(depth, '}');
    FunctionParserBase parser;
    ParseMessage message{};
    int count = 0;
    EXPECT_EQ(parser.removeFirstParentesis(text, message, count), "1+x");
    EXPECT_EQ(count, depth);
    count = 0;
    EXPECT_EQ(parser.removeFirstParentesis(broken, message, count), "(1+x}");
    EXPECT_EQ(count, depth);
}

TEST(TextHelpers, FindFirstElement)
{
    const struct {
        char c;
        const char* text;
        unsigned int start;
        unsigned int expected;
    } cases[] = {
        {',', "f(a,b),c", 0, 6},
        {',', "a,b", 5, 0},      // start past the end
        {',', "a,b", 3, 0},      // start at the end
        {',', "a,b", 0, 1},
        {',', ",a", 0, 0},       // a match at 0 looks like no match
        {',', "a,b,c", 2, 3},
        {',', "f(a,b)", 3, 3},   // the depth starts at 0 at `start`
        {'+', "a)+(b", 0, 0},    // at depth -1
        {'x', "a)(x", 0, 3},     // back at depth 0
        {')', "(a)", 0, 2},      // a closer is tested after it closes
        {'(', "(a)", 0, 0},
        {',', "{a,b},c", 0, 5},
        {',', "(a}", 0, 0},
    };
    FunctionParserBase parser;
    for (const auto& c : cases)
        EXPECT_EQ(parser.findFirstElement(c.c, c.text, c.start), c.expected)
            << c.c << " in '" << c.text << "' from " << c.start;
}

}  // namespace
