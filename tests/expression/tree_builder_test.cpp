// Tree construction: shapes, grouping, call forms, fault lists with their
// exact positions, the running position and the root text; the mapper's
// name helpers, how the parser consults it, and which keys a tree reads.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "functionparserbase.h"
#include "parservarmapper.h"
#include "tree_printer.h"

namespace {

using Faults = std::vector<std::pair<int, int>>;
using KeyList = std::vector<FunctionParserBase::keyStruct*>;

struct TreeBuilder : ::testing::Test {
    TreeBuilder()
    {
        const char* names[] = {"x", "y", "a", "b", "c"};
        for (int k = 0; k < 5; ++k)
            parser.insertKey(names[k], &values[k]);
        parser.insertKey({"weird", 7, &values[5]});  // a key of no kind
        parser.insertKey({"Upper", KEY_DOUBLE, &values[5]});  // stored as given, operands are lower-cased
    }

    std::string shapeOf(const std::string& text)
    {
        root.reset(parser.parseString(text, message));
        return tree_printer::shape(root.get());
    }

    double values[6] = {2, 3, 5, 7, 11, 13};
    FunctionParserBase parser;
    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> root;
};

// One message serves every row, so a clean row also proves the reset.
TEST_F(TreeBuilder, ShapesFaultsAndFinalPosition)
{
    const int operand = PARSE_BAD_OPERAND, bracket = PARSE_BAD_BRACKET;
    const struct {
        const char* text;
        const char* shape;
        Faults faults{};
        int errorCode = PARSE_OK;
    } cases[] = {
        {"a|b&c", "Or(a,And(b,c))"},
        {"a=b&c", "And(Eql(a,b),c)"},
        {"a>b=c", "Eql(Grt(a,b),c)"},
        {"a<b>c", "Grt(Lss(a,b),c)"},
        {"a+b<c", "Lss(Add(a,b),c)"},
        {"a-b+c", "Add(Sub(a,b),c)"},
        {"a*b-c", "Sub(Mul(a,b),c)"},
        {"a/b*c", "Mul(Div(a,b),c)"},
        {"a^b/c", "Div(Pow(a,b),c)"},
        {"a-b-c", "Sub(a,Sub(b,c))"},
        {"a^b^c", "Pow(a,Pow(b,c))"},
        {"((x))*2", "Mul(x,2)"},
        {"", "0"},
        // Signs are binary operators with an empty, zero operand.
        {"-x^2", "Sub(0,Pow(x,2))"},
        {"x--y", "Sub(x,Sub(0,y))"},
        {"2*-3", "Sub(Mul(2,0),3)"},
        {"2^-1", "Sub(Pow(2,0),1)"},
        {"a>-1", "Grt(a,Sub(0,1))"},
        {"a>=b", "Eql(Grt(a,0),b)"},
        {"1e-5", "Sub(Mul(1,e),5)"},
        {"2pi", "Mul(2,pi)"},
        {"1.2.3", "1.2"},
        {"0.1", "0.10000000000000001"},
        {"sin(x)^2", "Pow(Sin(x),2)"},
        {"if(x>1,a,b)", "If(Grt(x,1),a,b)"},
        {"log10(x)-log(x)", "Sub(L10(x),Log(x))"},
        {"max{a,b}+min(a,)", "Add(Max(a,b),Min(a,0))"},
        {"not(-2)", "Neg(Sub(0,2))"},
        {"if(a,,c)", "If(a,0,c)"},
        // Faults: (position, length) in the normalised text; the code is the last fault's.
        {"exp", "0", {{0, 3}}, operand},
        {"foo+bar", "Add(0,0)", {{0, 3}, {4, 3}}, operand},
        {")", "0", {{0, 1}}, bracket},
        {"sin(x))", "Sin(0)", {{5, 1}}, bracket},
        {"a,b", "0", {{0, 3}}, operand},
        {"2*(3", "Mul(2,0)", {{2, 1}}, bracket},
        {"foo(x)", "0", {{5, 1}}, bracket},
        {"sin{x}", "0", {{5, 1}}, bracket},
        {"max(a,b,c)", "Max(a,0)", {{6, 3}}, operand},
        {"max(f(a,b),c)", "Max(0,c)", {{9, 1}}, bracket},
        {"if(a,b,c,d)", "If(a,b,0)", {{7, 3}}, operand},
        {"weird+5", "Add(0,5)", {{0, 5}}, operand},
        {"foo+sin(x))", "Add(0,Sin(0))", {{0, 3}, {9, 1}}, bracket},
        {"Upper", "0", {{0, 5}}, operand},
        {"{x)+foo", "Add(0,0)", {{0, 1}, {4, 3}}, operand},
        {"2,b", "2", {{0, 3}}, operand},    // "2" read
        {"((x+1)", "0", {{1, 1}}, bracket},  // one pair stripped first
        {"x)+foo", "0", {{0, 6}}, operand},  // operators at depth -1 are unseen
    };
    for (const auto& t : cases) {
        EXPECT_EQ(shapeOf(t.text), t.shape);
        EXPECT_EQ(std::tie(message.errors, message.errorCode, message.position),
                  std::make_tuple(t.faults, t.errorCode, static_cast<int>(message.text.size()))) << t.text;
    }
}

// The random node reads an implicit "t", which counts in the position. Only
// parseString sets the root's text; parse goes on from the message's position.
TEST_F(TreeBuilder, RandomNodeRootTextAndRunningPosition)
{
    EXPECT_EQ(shapeOf("rnd(x)"), "Rnd(x,0)");
    EXPECT_EQ(std::tie(message.errors, message.position), std::make_tuple(Faults{{6, 1}}, 7));
    parser.insertKey("t", &values[5]);
    EXPECT_EQ(shapeOf("rnd(x)"), "Rnd(x,t)");
    EXPECT_EQ(shapeOf("{X}"), "{x}");  // a leaf root: its key name is overwritten
    shapeOf("Sin(X) + 2 Y");
    EXPECT_EQ(root->getString() + "|" + root->getBinaryRef()->arg1->getString(), "sin(x)+2*y|");
    message.position = 10;
    root.reset(parser.parse("x+foo", message));
    EXPECT_EQ(tree_printer::shape(root.get()) + root->getString(), "Add(x,0)");
    EXPECT_EQ(std::tie(message.errors, message.position), std::make_tuple(Faults{{12, 3}}, 15));
}

// Past the bound each "rnd" call is one fault over the call and builds no
// node; the count starts afresh with every parse. Each random node built reads
// the implicit "t", which moves the later positions on by one.
TEST_F(TreeBuilder, RandomNodesPastTheBoundAreFaults)
{
    parser.insertKey("t", &values[5]);
    EXPECT_EQ(parser.maxRandomNodes, SIZE_MAX);
    const struct {
        std::size_t bound;
        const char* text;
        const char* shape;
        Faults faults;
    } cases[] = {
        {SIZE_MAX, "rnd(x)+rnd(x)*rnd(x)", "Add(Rnd(x,t),Mul(Rnd(x,t),Rnd(x,t)))", {}},
        {2, "rnd(x)+rnd(x)*rnd(x)", "Add(Rnd(x,t),Mul(Rnd(x,t),0))", {{16, 6}}},
        {2, "rnd(x)+rnd(x)*rnd(x)", "Add(Rnd(x,t),Mul(Rnd(x,t),0))", {{16, 6}}},
        {1, "rnd(rnd(x))", "Rnd(0,t)", {{4, 6}}},
        {0, "rnd(rnd(x))+x", "Add(0,x)", {{0, 11}}},
        {0, "sin(x)", "Sin(x)", {}},
    };
    for (const auto& c : cases) {
        parser.maxRandomNodes = c.bound;
        EXPECT_EQ(shapeOf(c.text), c.shape) << c.bound << " " << c.text;
        EXPECT_EQ(message.errors, c.faults) << c.bound << " " << c.text;
        EXPECT_EQ(message.errorCode, c.faults.empty() ? PARSE_OK : PARSE_BAD_OPERAND);
    }
}

// Maps "speed" to a double of its own and records every name it is asked.
struct RecordingMapper : ParserVarMapper {
    FunctionFloatBase* mapVariable(const std::string& name) override
    {
        asked.push_back(name);
        return name == "speed" ? createDoubleVar(&mapped) : nullptr;
    }
    double mapped = 10.0;
    std::vector<std::string> asked;
};

TEST(VarMapper, SplitVarNameAndExtractArrayIndex)
{
    const char* splits[][3] = {{"a.b.c", "a", "b.c"}, {"arr[3]", "arr", "arr"}, {"obj[2].m[5]", "obj", "m"},
                               {"x", "x", "x"},       {".x", ".x", ".x"},       {"a.", "a", ""},
                               {"[1]", "[1]", "[1]"}, {"a[x.y]", "a", "y]"},    {"a[1].b[", "a", "b"}};
    RecordingMapper tools;
    for (const auto& [name, base, field] : splits) {
        std::string baseOut = "stale", fieldOut = "stale";
        tools.splitVarName(name, baseOut, fieldOut);
        EXPECT_EQ(baseOut + "|" + fieldOut, std::string(base) + "|" + field) << name;
    }
    const std::pair<const char*, int> indices[] = {
        {"arr[007]", 7}, {"arr[-2]", -2}, {"arr[2.7]", 2}, {"arr[1-2]", 1}, {"a[3].b", 3},
        {"a[-2147483648]", -2147483647 - 1}, {"arr", -1}, {"arr[3", -1}, {"a]3[", -1}, {"a[1][2]", -1},
        {"a[x]", -1}, {"a[ 3]", -1}, {"a[+3]", -1}, {"a[]", -1}, {"a[-]", -1}, {"a[2147483648]", -1}};
    for (const auto& [text, index] : indices)
        EXPECT_EQ(tools.extractArrayIndex(text), index) << text;
}

// The mapper's leaves have no text, win over the key of the same name and
// are listed by address: one null entry, or the key registered on it.
TEST_F(TreeBuilder, ParserAsksTheMapperFirstAboutEveryOperand)
{
    double keyed = 20.0;
    parser.insertKey("speed", &keyed);
    RecordingMapper mapper;
    parser.setVarMapper(&mapper);
    EXPECT_EQ(shapeOf("2*(Speed)+x+speed"), "Add(Mul(2,<VariableDouble>),Add(x,<VariableDouble>))");
    EXPECT_EQ((*root)(), 32.0);
    EXPECT_EQ(mapper.asked, (std::vector<std::string>{"2", "speed", "x", "speed"}));
    EXPECT_EQ(parser.getAllVars(root.get()), (KeyList{nullptr, parser.getKey("x")}));
    parser.insertKey("mapped", &mapper.mapped);
    EXPECT_EQ(parser.getAllVars(root.get()), (KeyList{parser.getKey("mapped"), parser.getKey("x")}));
}

// Each key once, in first-appearance order; a shared address lists the first
// name of the leaf's kind.
TEST_F(TreeBuilder, GetAllVarsListsKeysInFirstAppearanceOrder)
{
    double shared = 0;
    for (const FunctionParserBase::keyStruct& key : {FunctionParserBase::keyStruct{"zz", KEY_DOUBLE, &shared},
                                                     {"mm", KEY_DOUBLE, &shared}, {"aa", KEY_FLOAT, &shared}})
        parser.insertKey(key);
    const auto varsOf = [&](const std::string& text) {
        shapeOf(text);
        std::string names;
        for (FunctionParserBase::keyStruct* key : parser.getAllVars(root.get()))
            names += key->name + " ";
        return names;
    };
    EXPECT_EQ(varsOf("1+sin(3)-max(3,4)") + varsOf("b+a*b") + varsOf("if(c,a,c+b)") + varsOf("2pi+zz+mm"),
              "b a c a b pi mm ");
}

}  // namespace
