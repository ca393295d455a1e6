// Tree construction: shapes, grouping, call forms, fault lists with their
// exact positions, the running position and the root text.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "functionparserbase.h"
#include "tree_printer.h"

namespace {

using Faults = std::vector<std::pair<int, int>>;

class TreeBuilder : public ::testing::Test {
protected:
    TreeBuilder()
    {
        // "weird" has no kind; "Upper" is stored as given but operands are lower-cased.
        for (const FunctionParserBase::keyStruct& key :
             {FunctionParserBase::keyStruct{"x", KEY_DOUBLE, &x}, {"y", KEY_DOUBLE, &y},
              {"a", KEY_DOUBLE, &a}, {"b", KEY_DOUBLE, &b}, {"c", KEY_DOUBLE, &c}, {"f", KEY_FLOAT, &f},
              {"i", KEY_INT, &i}, {"flag", KEY_BOOL, &flag}, {"weird", 7, &x}, {"Upper", KEY_DOUBLE, &x}})
            parser.insertKey(key);
    }

    std::string shapeOf(const std::string& text)
    {
        message.atStart = true;
        root.reset(parser.parseString(text, message));
        EXPECT_FALSE(message.atStart);
        return tree_printer::shape(root.get());
    }

    double x = 2, y = 3, a = 5, b = 7, c = 11;
    float f = 0.1f;
    int i = -4;
    bool flag = true;
    FunctionParserBase parser;
    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> root;
};

struct TreeCase {
    const char* text;
    const char* shape;
    Faults faults{};
    int errorCode = PARSE_OK;
};

// One message serves every row, so a clean row also proves the reset.
TEST_F(TreeBuilder, ShapesFaultsAndFinalPosition)
{
    const TreeCase cases[] = {
        {"a|b|c", "Or(a,Or(b,c))"}, {"a&b&c", "And(a,And(b,c))"}, {"a=b=c", "Eql(a,Eql(b,c))"},
        {"a>b>c", "Grt(a,Grt(b,c))"}, {"a<b<c", "Lss(a,Lss(b,c))"}, {"a-b-c", "Sub(a,Sub(b,c))"},
        {"a/b/c", "Div(a,Div(b,c))"}, {"a^b^c", "Pow(a,Pow(b,c))"}, {"a|b&c", "Or(a,And(b,c))"},
        {"a&b|c", "Or(And(a,b),c)"}, {"a=b&c", "And(Eql(a,b),c)"}, {"a>b=c", "Eql(Grt(a,b),c)"},
        {"a<b>c", "Grt(Lss(a,b),c)"}, {"a+b<c", "Lss(Add(a,b),c)"}, {"a-b+c", "Add(Sub(a,b),c)"},
        {"a*b-c", "Sub(Mul(a,b),c)"}, {"a/b*c", "Mul(Div(a,b),c)"}, {"a^b/c", "Div(Pow(a,b),c)"},
        {"(a+b)*c", "Mul(Add(a,b),c)"}, {"((x))*2", "Mul(x,2)"}, {"", "0"},
        // Signs are binary operators with an empty, zero operand.
        {"-x", "Sub(0,x)"}, {"+x", "Add(0,x)"}, {"--x", "Sub(0,Sub(0,x))"}, {"-x^2", "Sub(0,Pow(x,2))"},
        {"x--y", "Sub(x,Sub(0,y))"}, {"2*-3", "Sub(Mul(2,0),3)"}, {"2^-1", "Sub(Pow(2,0),1)"},
        {"a>-1", "Grt(a,Sub(0,1))"}, {"a>=b", "Eql(Grt(a,0),b)"}, {"1e-5", "Sub(Mul(1,e),5)"},
        {"2pi", "Mul(2,pi)"}, {"2x", "Mul(2,x)"}, {"(a)(b)", "Mul(a,b)"}, {"2*", "Mul(2,0)"},
        {"1.2.3", "1.2"}, {".", "0"}, {"0.1", "0.10000000000000001"}, {"007", "7"},
        // Call forms.
        {"sin(x)^2", "Pow(Sin(x),2)"}, {"if(x>1,a,b)", "If(Grt(x,1),a,b)"}, {"not(x)", "Neg(x)"},
        {"max(1,2)+min(3,4)", "Add(Max(1,2),Min(3,4))"}, {"abs(-2)", "Abs(Sub(0,2))"},
        {"sin((x))", "Sin(x)"}, {"max{a,b}", "Max(a,b)"}, {"min(a,)", "Min(a,0)"},
        {"if(a,,c)", "If(a,0,c)"}, {"Sin (X)", "Sin(x)"}, {"exp(x)", "Exp(x)"}, {"log10(x)", "L10(x)"},
        {"log(x)", "Log(x)"}, {"sqrt(x)", "Sqrt(x)"}, {"acos(x)", "ACos(x)"}, {"asin(x)", "ASin(x)"},
        {"atan(x)", "ATan(x)"}, {"cosh(x)", "CosH(x)"}, {"sinh(x)", "SinH(x)"}, {"tanh(x)", "TanH(x)"},
        {"cos(x)", "Cos(x)"}, {"tan(x)", "Tan(x)"}, {"ceil(x)", "Ceil(x)"}, {"floor(x)", "Floor(x)"},
        {"j0(x)", "J0(x)"}, {"j1(x)", "J1(x)"},
        // Faults: (position, length) in the normalised text; the code is the last fault's.
        {"exp", "0", {{0, 3}}, PARSE_BAD_OPERAND}, {"x+foo", "Add(x,0)", {{2, 3}}, PARSE_BAD_OPERAND},
        {"foo+bar", "Add(0,0)", {{0, 3}, {4, 3}}, PARSE_BAD_OPERAND}, {")", "0", {{0, 1}}, PARSE_BAD_BRACKET},
        {"sin(x))", "Sin(0)", {{5, 1}}, PARSE_BAD_BRACKET}, {"2*(3", "Mul(2,0)", {{2, 1}}, PARSE_BAD_BRACKET},
        {"a,b", "0", {{0, 3}}, PARSE_BAD_OPERAND}, {"foo(x)", "0", {{5, 1}}, PARSE_BAD_BRACKET},
        {"2,b", "2", {{0, 3}}, PARSE_BAD_OPERAND},  // keeps the number its beginning reads
        {"sin{x}", "0", {{5, 1}}, PARSE_BAD_BRACKET}, {"if((a,b,c))", "0", {{10, 1}}, PARSE_BAD_BRACKET},
        {"max(a,b,c)", "Max(a,0)", {{6, 3}}, PARSE_BAD_OPERAND},
        {"max(f(a,b),c)", "Max(0,c)", {{9, 1}}, PARSE_BAD_BRACKET},
        {"if(a,b,c,d)", "If(a,b,0)", {{7, 3}}, PARSE_BAD_OPERAND},
        {"foo+sin(x))", "Add(0,Sin(0))", {{0, 3}, {9, 1}}, PARSE_BAD_BRACKET},
        {"{x)+foo", "Add(0,0)", {{0, 1}, {4, 3}}, PARSE_BAD_OPERAND},
        {"((x+1)", "0", {{1, 1}}, PARSE_BAD_BRACKET},  // one pair stripped first
        {"x)+foo", "0", {{0, 6}}, PARSE_BAD_OPERAND},  // operators at depth -1 are unseen
        {"weird+5", "Add(0,5)", {{0, 5}}, PARSE_BAD_OPERAND},
        {"Upper", "0", {{0, 5}}, PARSE_BAD_OPERAND},
    };
    for (const TreeCase& t : cases) {
        SCOPED_TRACE(t.text);
        EXPECT_EQ(shapeOf(t.text), t.shape);
        EXPECT_EQ(message.errors, t.faults);
        EXPECT_EQ(message.errorCode, t.errorCode);
        EXPECT_EQ(message.position, static_cast<int>(message.text.size()));
    }
}

TEST_F(TreeBuilder, LeavesReadTheirKeysKind)
{
    EXPECT_EQ(shapeOf("f+i*flag"), "Add(f,Mul(i,flag))");
    EXPECT_EQ((*root)(), static_cast<double>(0.1f) - 4.0);
}

TEST_F(TreeBuilder, RandomNodeReadsTheTimeKey)
{
    double t = 0.25;
    EXPECT_EQ(shapeOf("rnd(x)"), "Rnd(x,0)");
    EXPECT_EQ(message.errors, (Faults{{6, 1}}));
    EXPECT_EQ(message.errorCode, PARSE_BAD_OPERAND);
    EXPECT_EQ(message.position, 7);  // the implicit "t" counts as well

    parser.insertKey("t", &t);
    EXPECT_EQ(shapeOf("rnd(x)"), "Rnd(x,t)");
    EXPECT_TRUE(message.errors.empty());
    EXPECT_EQ(message.position, 7);
    EXPECT_EQ(root->getBinaryRef()->arg2->getVariableDoubleRef()->control, &t);
}

TEST_F(TreeBuilder, RootCarriesTheNormalisedTextAndInnerNodesNone)
{
    EXPECT_EQ(shapeOf("{X}"), "{x}");  // a leaf root: its key name is overwritten
    EXPECT_EQ(root->getVariableDoubleRef()->control, &x);

    shapeOf("Sin(X) + 2 Y");
    EXPECT_EQ(root->getString(), "sin(x)+2*y");
    const FunctionFloatBinary* sum = root->getBinaryRef();
    EXPECT_EQ(sum->arg1->getString(), "");
    EXPECT_EQ(sum->arg2->getBinaryRef()->arg2->getString(), "y");
}

TEST_F(TreeBuilder, ParseContinuesFromTheMessagePosition)
{
    message.position = 10;
    message.atStart = true;
    root.reset(parser.parse("x+foo", message));
    EXPECT_EQ(tree_printer::shape(root.get()), "Add(x,0)");
    EXPECT_EQ(root->getString(), "");  // only parseString sets the root text
    EXPECT_EQ(message.errors, (Faults{{12, 3}}));
    EXPECT_EQ(message.position, 15);
    EXPECT_FALSE(message.atStart);
}

}  // namespace
