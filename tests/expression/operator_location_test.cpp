// The operator and call-form finders: leftmost split outside brackets, the
// shared depth of both bracket kinds, and the call-form shapes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "functionparserbase.h"

namespace {

using Pieces = std::vector<std::string>;
const Pieces noMatch{"<no match>"};

// The outputs start as a marker, which a miss must leave untouched.
Pieces checkedMiss(const Pieces& outputs)
{
    EXPECT_EQ(outputs, Pieces(outputs.size(), "untouched"));
    return noMatch;
}

Pieces operatorSplit(functionType type, const std::string& text)
{
    FunctionParserBase parser;
    Pieces p(2, "untouched");
    return parser.findBinaryOperation(type, text, p[0], p[1]) ? p : checkedMiss(p);
}

Pieces callForm(std::size_t arguments, const std::string& name, const std::string& text)
{
    FunctionParserBase parser;
    Pieces p(arguments, "untouched");
    const bool found = arguments == 1   ? parser.findUnaryOperation(name, text, p[0])
                       : arguments == 2 ? parser.findBinaryOperation(name, text, p[0], p[1])
                                        : parser.findTernaryOperation(name, text, p[0], p[1], p[2]);
    return found ? p : checkedMiss(p);
}

TEST(FindBinaryOperation, SplitsAtTheLeftmostOperatorOutsideBrackets)
{
    const struct {
        functionType type;
        const char* text;
        Pieces expected;
    } cases[] = {
        {FT_ADD, "(a+b)", noMatch}, {FT_ADD, "(a)+(b)", {"(a)", "(b)"}}, {FT_MUL, "a*b*c", {"a", "b*c"}},
        {FT_SUB, "-x", {"", "x"}}, {FT_SUB, "x-", {"x", ""}}, {FT_ADD, "", noMatch},
        {FT_ADD, "a)+(b", noMatch},       // depth -1
        {FT_ADD, "a)(+b", {"a)(", "b"}},  // back at depth 0
        {FT_ADD, "{a+b}+c", {"{a+b}", "c"}}, {FT_ADD, "{a)+(b}", {"{a)", "(b}"}},  // one shared depth
        {FT_POW, "a^b", {"a", "b"}}, {FT_OR, "a|b", {"a", "b"}}, {FT_AND, "a&b", {"a", "b"}},
        {FT_EQL, "a=b", {"a", "b"}}, {FT_GRT, "a>b", {"a", "b"}}, {FT_LSS, "a<b", {"a", "b"}},
        {FT_DIV, "8/4/2", {"8", "4/2"}}, {FT_MUL, "a+b", noMatch},
    };
    for (const auto& c : cases)
        EXPECT_EQ(operatorSplit(c.type, c.text), c.expected) << tableInfo[c.type].opChar << " in " << c.text;

    FunctionParserBase parser;
    std::string text = "ab+cd";  // the output may be the searched text itself
    std::string right;
    ASSERT_TRUE(parser.findBinaryOperation(FT_ADD, text, text, right));
    EXPECT_EQ(text + "|" + right, "ab|cd");
}

TEST(FindCallForms, NameThenOneEnclosedArgumentList)
{
    const struct {
        std::size_t arguments;
        const char* name;
        const char* text;
        Pieces expected;
    } cases[] = {
        {1, "sin", "sin(x)", {"(x)"}}, {1, "sin", "sinh(x)", noMatch}, {1, "sin", "sin{x}", noMatch},
        {1, "sin", "sin(x)+1", {"(x)+1"}},  // nothing checks the rest
        {1, "sin", "sin", noMatch}, {1, "log", "log10(x)", noMatch}, {1, "", "(x)", {"(x)"}},
        {2, "max", "max(a,b)", {"a", "b"}}, {2, "max", "max{a,b}", {"a", "b"}},
        {2, "max", "max(a)", noMatch}, {2, "max", "max(,b)", noMatch}, {2, "max", "max()", noMatch},
        {2, "max", "max(f(a,b),c)", {"f(a,b)", "c"}}, {2, "max", "max(a,)", {"a", ""}},
        {2, "max", "max(a,b,c)", {"a", "b,c"}}, {2, "max", "max((a,b))", noMatch},
        {2, "max", "max(a,b)+1", noMatch}, {2, "max", "maximum(a,b)", noMatch},
        {2, "max", "max(a,b}", noMatch}, {2, "min", "min(a)(b,c)", noMatch}, {2, "", "(a,b)", {"a", "b"}},
        {3, "if", "if(a,b,c)", {"a", "b", "c"}}, {3, "if", "if(a,b)", noMatch}, {3, "if", "if(a,)", noMatch},
        {3, "if", "if(,b,c)", noMatch}, {3, "if", "if(a,,c)", {"a", "", "c"}},
        {3, "if", "if(a,b,)", {"a", "b", ""}}, {3, "if", "if(a,b,c,d)", {"a", "b", "c,d"}},
        {3, "if", "if(f(a,b),g(c,d),e)", {"f(a,b)", "g(c,d)", "e"}}, {3, "if", "if{a,b,c}", {"a", "b", "c"}},
        {3, "if", "if((a,b,c))", noMatch}, {3, "if", "if(a,(b,c))", noMatch},
    };
    for (const auto& c : cases)
        EXPECT_EQ(callForm(c.arguments, c.name, c.text), c.expected) << c.text;
}

}  // namespace
