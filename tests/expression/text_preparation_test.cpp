// Normalisation of expression text, the bracket helpers and the finders:
// leftmost match outside brackets, one depth shared by both bracket kinds.
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
        {"x2y", "x2*y"}, {"2x3y", "2*x3*y"}, {"2 (x)", "2*(x)"}, {"a (x)", "a(x)"}, {"x 2 (y)", "x*2(y)"},
        {"{a}{b}", "{a}*{b}"}, {")x", ")*x"}, {"A\tB", "a*b"}, {"( a )", "(a)"}, {"2.5E3", "2.5*e3"},
        {"(a)2", "(a)*2"}, {"Sin (X)", "sin(x)"}, {"1e-5", "1*e-5"}, {"2 3", "2*3"}, {"a\n\r\f\vb", "a*b"},
        // Bytes outside ASCII (C locale) and NUL are copied and end a number or name.
        {"2\xe9x", "2\xe9x"}, {std::string("a\0(b", 4), std::string("a\0(b", 4)},
        {std::string("2\0 3", 4), std::string("2\0" "3", 3)},
    };
    FunctionParserBase parser;
    for (const auto& [input, expected] : cases)
        EXPECT_EQ(parser.firstParse(input), expected) << "input '" << input << "'";
}

// Against the plain definition: test, strip one pair, test again. Random
// bracket texts are wrapped in pairs, sometimes mismatched, so that deep
// strips really occur.
TEST(TextHelpers, RemoveFirstParentesisMatchesTheRepeatedTest)
{
    FunctionParserBase parser;
    std::mt19937 random(20240611);
    for (int i = 0; i < 1000; ++i) {
        std::string text;
        for (int n = random() % 17; n > 0; --n)
            text += "(){}a"[random() % 5];
        for (int n = random() % 7; n > 0; --n) {
            const bool round = random() % 5 < 3, mismatched = random() % 5 == 0;
            text = (round ? "(" : "{") + text + (round != mismatched ? ")" : "}");
        }
        std::string expected = text;
        int pairs = 0;
        for (; parser.hasFirstParentesis(expected); ++pairs)
            expected = expected.substr(1, expected.size() - 2);
        ParseMessage message{};
        message.position = 10;
        int count = 5;  // both are added to, not reset
        ASSERT_EQ(parser.removeFirstParentesis(text, message, count), expected) << text;
        ASSERT_EQ(std::make_pair(count - 5, message.position - 10), std::make_pair(pairs, pairs)) << text;
    }
}

// The pieces, each ended by '|', or "-" for a miss that left the outputs alone.
std::string joined(bool hit, const std::vector<std::string>& pieces)
{
    std::string out = hit ? "" : "-";
    for (const std::string& piece : pieces)
        out += hit ? piece + "|" : piece == "?" ? "" : "touched";
    return out;
}

TEST(FindFirstElement, DepthCountsFromTheStart)
{
    FunctionParserBase parser;
    const char* texts[] = {"f(a,b),c", "a,b", "{a,b},c", ",a", "f(a,b)", "a)+(b", "a)(x", "(a)"};
    const char elements[] = {',', ',', ',', ',', ',', '+', 'x', ')'};
    const unsigned starts[] = {0, 5, 0, 0, 3, 0, 0, 0};
    const unsigned expected[] = {6, 0, 5, 0, 3, 0, 3, 2};  // 0 also for a miss
    for (int k = 0; k < 8; ++k)
        EXPECT_EQ(parser.findFirstElement(elements[k], texts[k], starts[k]), expected[k]) << texts[k];
}

TEST(FindBinaryOperation, SplitsAtTheLeftmostOperatorOutsideBrackets)
{
    const std::pair<functionType, const char*> cases[] = {
        {FT_ADD, "(a+b)"}, {FT_ADD, "(a)+(b)"}, {FT_MUL, "a*b*c"}, {FT_SUB, "-x"}, {FT_SUB, "x-"},
        {FT_ADD, "a)+(b"}, {FT_ADD, "a)(+b"}, {FT_ADD, "{a)+(b}"}, {FT_POW, "a^b"}};
    std::string results;
    FunctionParserBase parser;
    for (const auto& [type, text] : cases) {
        std::vector<std::string> p(2, "?");
        results += joined(parser.findBinaryOperation(type, text, p[0], p[1]), p) + " ";
    }
    EXPECT_EQ(results, "- (a)|(b)| a|b*c| |x| x|| - a)(|b| {a)|(b}| a|b| ");
}

// The name is "sin", "max" or "if" by the number of arguments.
TEST(FindCallForms, NameThenOneEnclosedArgumentList)
{
    const std::pair<const char*, const char*> cases[] = {
        {"sinh(x)", "-"}, {"sin{x}", "-"}, {"sin(x)+1", "(x)+1|"}, {"max{a,b}", "a|b|"}, {"max(,b)", "-"},
        {"max(f(a,b),c)", "f(a,b)|c|"}, {"max(a,)", "a||"}, {"max(a,b,c)", "a|b,c|"}, {"max((a,b))", "-"},
        {"max(a,b)+1", "-"}, {"max(a,b}", "-"}, {"if(a,b)", "-"}, {"if(,b,c)", "-"}, {"if(a,,c)", "a||c|"},
        {"if(a,b,c,d)", "a|b|c,d|"}, {"if{a,b,c}", "a|b|c|"}, {"if(a,(b,c))", "-"}};
    FunctionParserBase parser;
    for (const auto& [text, expected] : cases) {
        const std::size_t arguments = text[0] == 's' ? 1 : text[0] == 'm' ? 2 : 3;
        std::vector<std::string> p(arguments, "?");
        const bool hit = arguments == 1   ? parser.findUnaryOperation("sin", text, p[0])
                         : arguments == 2 ? parser.findBinaryOperation("max", text, p[0], p[1])
                                          : parser.findTernaryOperation("if", text, p[0], p[1], p[2]);
        EXPECT_EQ(joined(hit, p), expected) << text;
    }
}

// Hosts may reuse the searched string as an output: every piece is taken
// before any output is written.
TEST(FindCallForms, AnOutputMayBeTheSearchedTextItself)
{
    FunctionParserBase parser;
    std::string sum = "x+y", right;
    ASSERT_TRUE(parser.findBinaryOperation(FT_ADD, sum, sum, right));
    EXPECT_EQ(sum + "|" + right, "x|y");
    std::string left, call = "max(a,b)";
    ASSERT_TRUE(parser.findBinaryOperation("max", call, left, call));
    EXPECT_EQ(left + "|" + call, "a|b");
    std::string first, second, choice = "if(c,d,e)";
    ASSERT_TRUE(parser.findTernaryOperation("if", choice, first, choice, second));
    EXPECT_EQ(first + "|" + choice + "|" + second, "c|d|e");
    std::string argument = "sin(z)";
    ASSERT_TRUE(parser.findUnaryOperation("sin", argument, argument));
    EXPECT_EQ(argument, "(z)");  // the one argument keeps its brackets
}

}  // namespace
