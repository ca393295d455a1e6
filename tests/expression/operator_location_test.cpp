// The operator and call-form finders: leftmost split outside brackets, the
// shared depth of both bracket kinds, and the call-form shapes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "functionparserbase.h"

namespace {

using Pieces = std::vector<std::string>;
const Pieces noMatch{"<no match>"};

Pieces splitAt(functionType type, const std::string& s)
{
    FunctionParserBase parser;
    std::string left = "untouched";
    std::string right = "untouched";
    if (!parser.findBinaryOperation(type, s, left, right)) {
        EXPECT_EQ(left, "untouched");
        EXPECT_EQ(right, "untouched");
        return noMatch;
    }
    return {left, right};
}

Pieces twoArguments(const std::string& name, const std::string& s)
{
    FunctionParserBase parser;
    std::string first = "untouched";
    std::string second = "untouched";
    if (!parser.findBinaryOperation(name, s, first, second)) {
        EXPECT_EQ(first + second, "untoucheduntouched");
        return noMatch;
    }
    return {first, second};
}

Pieces threeArguments(const std::string& name, const std::string& s)
{
    FunctionParserBase parser;
    std::string first = "untouched";
    std::string second = "untouched";
    std::string third = "untouched";
    if (!parser.findTernaryOperation(name, s, first, second, third)) {
        EXPECT_EQ(first + second + third, "untoucheduntoucheduntouched");
        return noMatch;
    }
    return {first, second, third};
}

Pieces oneArgument(const std::string& name, const std::string& s)
{
    FunctionParserBase parser;
    std::string argument = "untouched";
    if (!parser.findUnaryOperation(name, s, argument)) {
        EXPECT_EQ(argument, "untouched");
        return noMatch;
    }
    return {argument};
}

TEST(OperatorTable, GivesEachKindItsCharacter)
{
    const char expected[13] = {' ', '+', '-', '*', '/', '^', '=', '&', '|', '>', '<', ' ', ' '};
    for (int kind = 0; kind < 13; ++kind) {
        EXPECT_EQ(tableInfo[kind].kind, kind);
        EXPECT_EQ(tableInfo[kind].opChar, expected[kind]) << kind;
    }
}

TEST(FindBinaryOperation, SplitsAtTheLeftmostOperatorOutsideBrackets)
{
    const struct {
        functionType type;
        const char* text;
        Pieces expected;
    } cases[] = {
        {FT_ADD, "(a+b)", noMatch},
        {FT_ADD, "(a)+(b)", {"(a)", "(b)"}},
        {FT_MUL, "a*b*c", {"a", "b*c"}},
        {FT_SUB, "-x", {"", "x"}},
        {FT_SUB, "x-", {"x", ""}},
        {FT_SUB, "-", {"", ""}},
        {FT_ADD, "", noMatch},
        {FT_ADD, "a)+(b", noMatch},          // depth -1
        {FT_ADD, "a)(+b", {"a)(", "b"}},     // back at depth 0
        {FT_ADD, "{a+b}+c", {"{a+b}", "c"}},
        {FT_ADD, "(a}+b", {"(a}", "b"}},     // "}" closes "(" for the depth
        {FT_ADD, "{a)+(b}", {"{a)", "(b}"}},  // one depth for both kinds
        {FT_POW, "a^b", {"a", "b"}},
        {FT_OR, "a|b", {"a", "b"}},
        {FT_AND, "a&b", {"a", "b"}},
        {FT_EQL, "a=b", {"a", "b"}},
        {FT_GRT, "a>b", {"a", "b"}},
        {FT_LSS, "a<b", {"a", "b"}},
        {FT_DIV, "8/4/2", {"8", "4/2"}},
        {FT_MUL, "a+b", noMatch},
    };
    for (const auto& c : cases)
        EXPECT_EQ(splitAt(c.type, c.text), c.expected) << tableInfo[c.type].opChar << " in '" << c.text << "'";
}

TEST(FindBinaryOperation, OutputMayBeTheSearchedText)
{
    FunctionParserBase parser;
    std::string text = "ab+cd";
    std::string right;
    ASSERT_TRUE(parser.findBinaryOperation(FT_ADD, text, text, right));
    EXPECT_EQ(text, "ab");
    EXPECT_EQ(right, "cd");
}

TEST(FindBinaryOperation, TwoArgumentCallForms)
{
    const struct {
        const char* name;
        const char* text;
        Pieces expected;
    } cases[] = {
        {"max", "max(a,b)", {"a", "b"}},
        {"max", "max{a,b}", {"a", "b"}},
        {"max", "max(a)", noMatch},
        {"max", "max(,b)", noMatch},
        {"max", "max()", noMatch},
        {"max", "max(f(a,b),c)", {"f(a,b)", "c"}},
        {"max", "max(a,)", {"a", ""}},
        {"max", "max(a,b,c)", {"a", "b,c"}},
        {"max", "max((a,b))", noMatch},      // the inner text is enclosed itself
        {"max", "max(a,b)+1", noMatch},
        {"max", "maximum(a,b)", noMatch},
        {"max", "ma", noMatch},
        {"max", "max(a,b}", noMatch},
        {"max", "max({a,b},c)", {"{a,b}", "c"}},
        {"min", "min(a)(b,c)", noMatch},
        {"", "(a,b)", {"a", "b"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(twoArguments(c.name, c.text), c.expected) << c.name << " in '" << c.text << "'";
}

TEST(FindTernaryOperation, ThreeArgumentCallForms)
{
    const struct {
        const char* text;
        Pieces expected;
    } cases[] = {
        {"if(a,b,c)", {"a", "b", "c"}},
        {"if(a,b)", noMatch},
        {"if(a,)", noMatch},                 // the first comma is the last character
        {"if(,b,c)", noMatch},
        {"if(a,,c)", {"a", "", "c"}},
        {"if(a,b,)", {"a", "b", ""}},
        {"if(a,b,c,d)", {"a", "b", "c,d"}},
        {"if(f(a,b),g(c,d),e)", {"f(a,b)", "g(c,d)", "e"}},
        {"if{a,b,c}", {"a", "b", "c"}},
        {"if((a,b,c))", noMatch},
        {"if(a,b,c)*2", noMatch},
        {"if(a,(b,c))", noMatch},            // the second comma is inside brackets
    };
    for (const auto& c : cases)
        EXPECT_EQ(threeArguments("if", c.text), c.expected) << c.text;
}

TEST(FindUnaryOperation, NameAndRoundBracketOnly)
{
    const struct {
        const char* name;
        const char* text;
        Pieces expected;
    } cases[] = {
        {"sin", "sin(x)", {"(x)"}},
        {"sin", "sinh(x)", noMatch},
        {"sin", "sin{x}", noMatch},
        {"sin", "sin(x)+1", {"(x)+1"}},     // nothing checks the rest
        {"sin", "sin(", {"("}},
        {"sin", "sin", noMatch},
        {"sin", "si", noMatch},
        {"log", "log10(x)", noMatch},
        {"log10", "log10(x)", {"(x)"}},
        {"", "(x)", {"(x)"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(oneArgument(c.name, c.text), c.expected) << c.name << " in '" << c.text << "'";
}

}  // namespace
