// Tree construction: shapes, grouping, call forms, fault lists with their
// exact positions, the running position and the root text.
#include <gtest/gtest.h>

#include <cmath>
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
        for (auto& [name, variable] : {std::pair<const char*, double*>{"x", &x}, {"y", &y}, {"a", &a},
                                       {"b", &b}, {"c", &c}})
            parser.insertKey(name, variable);
    }

    // Parses through the host entry point and keeps the tree for inspection.
    std::string shapeOf(const std::string& text)
    {
        root.reset(parser.parseString(text, message));
        return tree_printer::shape(root.get());
    }

    double valueOf(const std::string& text)
    {
        root.reset(parser.parseString(text, message));
        EXPECT_TRUE(message.errors.empty()) << text;
        return (*root)();
    }

    double x = 2, y = 3, a = 5, b = 7, c = 11;
    FunctionParserBase parser;
    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> root;
};

struct ShapeCase {
    const char* text;
    const char* shape;
};

TEST_F(TreeBuilder, EveryOperatorGroupsToTheRight)
{
    const ShapeCase cases[] = {
        {"a|b|c", "Or(a,Or(b,c))"},   {"a&b&c", "And(a,And(b,c))"}, {"a=b=c", "Eql(a,Eql(b,c))"},
        {"a>b>c", "Grt(a,Grt(b,c))"}, {"a<b<c", "Lss(a,Lss(b,c))"}, {"a+b+c", "Add(a,Add(b,c))"},
        {"a-b-c", "Sub(a,Sub(b,c))"}, {"a*b*c", "Mul(a,Mul(b,c))"}, {"a/b/c", "Div(a,Div(b,c))"},
        {"a^b^c", "Pow(a,Pow(b,c))"},
    };
    for (const ShapeCase& s : cases) {
        EXPECT_EQ(shapeOf(s.text), s.shape) << s.text;
        EXPECT_TRUE(message.errors.empty()) << s.text;
    }
}

TEST_F(TreeBuilder, LoosestOperatorSplitsFirst)
{
    const ShapeCase cases[] = {
        {"a|b&c", "Or(a,And(b,c))"},  {"a&b|c", "Or(And(a,b),c)"},  {"a&b=c", "And(a,Eql(b,c))"},
        {"a=b&c", "And(Eql(a,b),c)"}, {"a=b>c", "Eql(a,Grt(b,c))"}, {"a>b=c", "Eql(Grt(a,b),c)"},
        {"a>b<c", "Grt(a,Lss(b,c))"}, {"a<b>c", "Grt(Lss(a,b),c)"}, {"a<b+c", "Lss(a,Add(b,c))"},
        {"a+b<c", "Lss(Add(a,b),c)"}, {"a-b+c", "Add(Sub(a,b),c)"}, {"a+b-c", "Add(a,Sub(b,c))"},
        {"a-b*c", "Sub(a,Mul(b,c))"}, {"a*b-c", "Sub(Mul(a,b),c)"}, {"a/b*c", "Mul(Div(a,b),c)"},
        {"a*b/c", "Mul(a,Div(b,c))"}, {"a/b^c", "Div(a,Pow(b,c))"}, {"a^b/c", "Div(Pow(a,b),c)"},
        {"(a+b)*c", "Mul(Add(a,b),c)"},
    };
    for (const ShapeCase& s : cases)
        EXPECT_EQ(shapeOf(s.text), s.shape) << s.text;
}

TEST_F(TreeBuilder, SignsAndImplicitProducts)
{
    const ShapeCase cases[] = {
        {"-x", "Sub(0,x)"},
        {"+x", "Add(0,x)"},
        {"--x", "Sub(0,Sub(0,x))"},
        {"-x^2", "Sub(0,Pow(x,2))"},
        {"x--y", "Sub(x,Sub(0,y))"},
        {"2*-3", "Sub(Mul(2,0),3)"},
        {"2^-1", "Sub(Pow(2,0),1)"},
        {"a>-1", "Grt(a,Sub(0,1))"},
        {"a>=b", "Eql(Grt(a,0),b)"},
        {"1e-5", "Sub(Mul(1,e),5)"},
        {"2pi", "Mul(2,pi)"},
        {"2x", "Mul(2,x)"},
        {"(a)(b)", "Mul(a,b)"},
        {"2*", "Mul(2,0)"},
        {"1.2.3", "1.2"},
        {"1.5.2*x", "Mul(1.5,x)"},
        {".", "0"},
        {"-", "Sub(0,0)"},
        {"0.1", "0.10000000000000001"},
        {"007", "7"},
    };
    for (const ShapeCase& s : cases) {
        EXPECT_EQ(shapeOf(s.text), s.shape) << s.text;
        EXPECT_TRUE(message.errors.empty()) << s.text;
    }
}

TEST_F(TreeBuilder, CallForms)
{
    const ShapeCase cases[] = {
        {"sin(x)^2", "Pow(Sin(x),2)"},
        {"if(x>1,a,b)", "If(Grt(x,1),a,b)"},
        {"max(1,2)+min(3,4)", "Add(Max(1,2),Min(3,4))"},
        {"not(x)", "Neg(x)"},
        {"abs(-2)", "Abs(Sub(0,2))"},
        {"sin((x))", "Sin(x)"},
        {"max{a,b}", "Max(a,b)"},
        {"min(a,)", "Min(a,0)"},
        {"if(a,,c)", "If(a,0,c)"},
        {"if(a,b,)", "If(a,b,0)"},
        {"if(max(a,b),min(a,b),c)", "If(Max(a,b),Min(a,b),c)"},
        {"exp(x)", "Exp(x)"},     {"log10(x)", "L10(x)"},   {"log(x)", "Log(x)"},
        {"abs(x)", "Abs(x)"},     {"sqrt(x)", "Sqrt(x)"},   {"acos(x)", "ACos(x)"},
        {"asin(x)", "ASin(x)"},   {"atan(x)", "ATan(x)"},   {"cosh(x)", "CosH(x)"},
        {"sinh(x)", "SinH(x)"},   {"tanh(x)", "TanH(x)"},   {"cos(x)", "Cos(x)"},
        {"sin(x)", "Sin(x)"},     {"tan(x)", "Tan(x)"},     {"ceil(x)", "Ceil(x)"},
        {"floor(x)", "Floor(x)"}, {"j0(x)", "J0(x)"},       {"j1(x)", "J1(x)"},
        {"Sin (X)", "Sin(x)"},
    };
    for (const ShapeCase& s : cases) {
        EXPECT_EQ(shapeOf(s.text), s.shape) << s.text;
        EXPECT_TRUE(message.errors.empty()) << s.text;
        EXPECT_EQ(message.position, static_cast<int>(message.text.size())) << s.text;
    }
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

struct FaultCase {
    const char* text;
    const char* shape;
    Faults faults;
    int errorCode;
};

TEST_F(TreeBuilder, FaultsAreListedWithPositionAndLength)
{
    const FaultCase cases[] = {
        {"exp", "0", {{0, 3}}, PARSE_BAD_OPERAND},
        {"foo+bar", "Add(0,0)", {{0, 3}, {4, 3}}, PARSE_BAD_OPERAND},
        {"x+foo", "Add(x,0)", {{2, 3}}, PARSE_BAD_OPERAND},
        {"sin(x))", "Sin(0)", {{5, 1}}, PARSE_BAD_BRACKET},
        {"2*(3", "Mul(2,0)", {{2, 1}}, PARSE_BAD_BRACKET},
        {")", "0", {{0, 1}}, PARSE_BAD_BRACKET},
        {"(a", "0", {{0, 1}}, PARSE_BAD_BRACKET},
        {"a,b", "0", {{0, 3}}, PARSE_BAD_OPERAND},
        {"foo(x)", "0", {{5, 1}}, PARSE_BAD_BRACKET},
        {"sin{x}", "0", {{5, 1}}, PARSE_BAD_BRACKET},
        {"if((a,b,c))", "0", {{10, 1}}, PARSE_BAD_BRACKET},
        {"max(a,b,c)", "Max(a,0)", {{6, 3}}, PARSE_BAD_OPERAND},
        {"if(a,b,c,d)", "If(a,b,0)", {{7, 3}}, PARSE_BAD_OPERAND},
        {"max(f(a,b),c)", "Max(0,c)", {{9, 1}}, PARSE_BAD_BRACKET},
        // The code is the last fault's.
        {"{x)+foo", "Add(0,0)", {{0, 1}, {4, 3}}, PARSE_BAD_OPERAND},
        {"foo+sin(x))", "Add(0,Sin(0))", {{0, 3}, {9, 1}}, PARSE_BAD_BRACKET},
        // A faulty operand keeps whatever number its beginning reads.
        {"2,b", "2", {{0, 3}}, PARSE_BAD_OPERAND},
        // One pair is stripped before the stray bracket is met.
        {"((x+1)", "0", {{1, 1}}, PARSE_BAD_BRACKET},
        // Operators at negative depth are not seen.
        {"x)+foo", "0", {{0, 6}}, PARSE_BAD_OPERAND},
        {"foo+x)", "Add(0,0)", {{0, 3}, {5, 1}}, PARSE_BAD_BRACKET},
    };
    for (const FaultCase& f : cases) {
        EXPECT_EQ(shapeOf(f.text), f.shape) << f.text;
        EXPECT_EQ(message.errors, f.faults) << f.text;
        EXPECT_EQ(message.errorCode, f.errorCode) << f.text;
        EXPECT_EQ(message.position, static_cast<int>(message.text.size())) << f.text;
    }
}

TEST_F(TreeBuilder, PositionCountsEveryCharacter)
{
    const struct {
        const char* text;
        int position;
    } cases[] = {
        {"((x))*2", 7}, {"(a+b)", 5}, {"", 0},         {"max(1,2)", 8}, {"if(1,2,3)", 9},
        {"log10(x)", 8}, {"j0(x)", 5}, {"{x}", 3},     {"()", 2},       {"-x", 2},
    };
    for (const auto& p : cases) {
        shapeOf(p.text);
        EXPECT_EQ(message.position, p.position) << p.text;
        EXPECT_FALSE(message.atStart) << p.text;
    }
}

TEST_F(TreeBuilder, EmptyTextIsAConstantZero)
{
    EXPECT_EQ(shapeOf(""), "0");
    EXPECT_TRUE(root->isConstant());
    EXPECT_TRUE(message.errors.empty());
    EXPECT_EQ(message.errorCode, PARSE_OK);
    EXPECT_FALSE(message.atStart);
}

TEST_F(TreeBuilder, RootCarriesTheNormalisedTextAndInnerNodesNone)
{
    EXPECT_EQ(shapeOf("{X}"), "{x}");  // a leaf root: its key name is overwritten
    EXPECT_EQ(root->getVariableDoubleRef()->control, &x);
    EXPECT_EQ(root->getString(), "{x}");

    shapeOf("Sin(X) + 2 Y");
    EXPECT_EQ(root->getString(), "sin(x)+2*y");
    EXPECT_EQ(message.text, "sin(x)+2*y");
    const FunctionFloatBinary* sum = root->getBinaryRef();
    EXPECT_EQ(sum->arg1->getString(), "");
    EXPECT_EQ(sum->arg1->getUnaryRef()->arg->getString(), "x");
    EXPECT_EQ(sum->arg2->getString(), "");
    EXPECT_EQ(sum->arg2->getBinaryRef()->arg2->getString(), "y");
}

TEST_F(TreeBuilder, ParseStringResetsTheMessage)
{
    message.atStart = false;
    message.errorCode = 42;
    message.position = 99;
    message.text = "old";
    message.errors = {{1, 1}, {2, 2}};
    shapeOf("x+1");
    EXPECT_FALSE(message.atStart);
    EXPECT_EQ(message.errorCode, PARSE_OK);
    EXPECT_EQ(message.position, 3);
    EXPECT_EQ(message.text, "x+1");
    EXPECT_TRUE(message.errors.empty());
}

TEST_F(TreeBuilder, ParseContinuesFromTheMessagePosition)
{
    message.position = 10;
    message.atStart = true;
    std::unique_ptr<FunctionFloatBase> tree(parser.parse("x+foo", message));
    EXPECT_EQ(tree_printer::shape(tree.get()), "Add(x,0)");
    EXPECT_EQ(tree->getString(), "");  // only parseString sets the root text
    EXPECT_EQ(message.errors, (Faults{{12, 3}}));
    EXPECT_EQ(message.position, 15);
    EXPECT_FALSE(message.atStart);
}

TEST_F(TreeBuilder, KeysOfEveryKindMakeTheirLeaf)
{
    float f = 0.1f;
    int i = -4;
    bool flag = true;
    parser.insertKey("f", &f);
    parser.insertKey("i", &i);
    parser.insertKey("flag", &flag);
    shapeOf("f+i*flag");
    const FunctionFloatBinary* sum = root->getBinaryRef();
    const FunctionFloatBinary* product = sum->arg2->getBinaryRef();
    EXPECT_EQ(sum->arg1->getVariableFloatRef()->control, &f);
    EXPECT_EQ(product->arg1->getVariableIntRef()->control, &i);
    EXPECT_EQ(product->arg2->getVariableBoolRef()->control, &flag);
    EXPECT_EQ(product->arg2->getString(), "flag");
    EXPECT_EQ((*root)(), static_cast<double>(0.1f) - 4.0);
}

TEST_F(TreeBuilder, RenamedKeyLeafKeepsTheOldName)
{
    ASSERT_TRUE(parser.renameKey("a", "alpha"));
    EXPECT_EQ(shapeOf("alpha+1"), "Add(a,1)");
    EXPECT_EQ(root->getBinaryRef()->arg1->getVariableDoubleRef()->control, &a);
    EXPECT_TRUE(message.errors.empty());
}

TEST_F(TreeBuilder, KeyOfUnknownKindIsNotAKey)
{
    parser.insertKey(FunctionParserBase::keyStruct{"weird", 7, &x});
    parser.insertKey(FunctionParserBase::keyStruct{"5", -1, &x});
    EXPECT_EQ(shapeOf("weird+5"), "Add(0,5)");
    EXPECT_EQ(message.errors, (Faults{{0, 5}}));
    EXPECT_EQ(message.errorCode, PARSE_BAD_OPERAND);
}

TEST_F(TreeBuilder, KeysAreLookedUpByExactName)
{
    // Stored as given, so the lower-case operand text never finds it.
    parser.insertKey(FunctionParserBase::keyStruct{"Upper", KEY_DOUBLE, &x});
    EXPECT_EQ(shapeOf("Upper"), "0");
    EXPECT_EQ(message.errors, (Faults{{0, 5}}));
    std::unique_ptr<FunctionFloatBase> direct(parser.parse("Upper", message));
    EXPECT_TRUE(direct->isVariableDouble());
}

TEST_F(TreeBuilder, EvaluatedValues)
{
    EXPECT_EQ(valueOf("8/4/2"), 4.0);
    EXPECT_EQ(valueOf("2^3^2"), 512.0);
    EXPECT_EQ(valueOf("2*-3"), -3.0);
    EXPECT_EQ(valueOf("2^-1"), 0.0);
    EXPECT_EQ(valueOf("a-b-c"), 5.0 - (7.0 - 11.0));
    EXPECT_EQ(valueOf("if(x>1,a,b)"), 5.0);
    EXPECT_EQ(valueOf("if(x<1,a,b)"), 7.0);
    EXPECT_EQ(valueOf("max(1,2)+min(3,4)"), 5.0);
    EXPECT_EQ(valueOf("not(x)"), 0.0);
    EXPECT_EQ(valueOf("not(0)"), 1.0);
    EXPECT_EQ(valueOf("a>=b"), 0.0);  // (5>0)=7
    EXPECT_EQ(valueOf("2pi"), 2.0 * static_cast<double>(3.14159265358979323846f));
    EXPECT_EQ(valueOf("0.1+0.2"), 0.1 + 0.2);
    x = 0.5;
    EXPECT_EQ(valueOf("sin(x)^2"), std::pow(std::sin(0.5), 2.0));
}

}  // namespace
