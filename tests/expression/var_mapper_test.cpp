// The mapper base: leaf factories, name splitting, index reading, and how the
// parser consults an installed mapper.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "functionparserbase.h"
#include "parservarmapper.h"
#include "tree_printer.h"

namespace {

// Maps one name to a double of its own and records every name it is asked.
class RecordingMapper : public ParserVarMapper {
public:
    RecordingMapper(std::string known, const double* address) : known(std::move(known)), address(address) {}

    FunctionFloatBase* mapVariable(const std::string& name) override
    {
        asked.push_back(name);
        return name == known ? createDoubleVar(address) : nullptr;
    }

    std::string known;
    const double* address;
    std::vector<std::string> asked;
};

// Only the index helpers are used here.
class NameTools : public ParserVarMapper {
public:
    FunctionFloatBase* mapVariable(const std::string&) override { return nullptr; }
};

TEST(VarMapper, FactoriesBindTheAddressWithAnEmptyText)
{
    NameTools tools;
    double d = 1.5;
    float f = 0.1f;
    int i = -7;
    bool b = true;
    std::unique_ptr<FunctionFloatVariableDouble> dl(tools.createDoubleVar(&d));
    std::unique_ptr<FunctionFloatVariableFloat> fl(tools.createFloatVar(&f));
    std::unique_ptr<FunctionFloatVariableInt> il(tools.createIntVar(&i));
    std::unique_ptr<FunctionFloatVariableBool> bl(tools.createBoolVar(&b));
    EXPECT_EQ(dl->control, &d);
    EXPECT_EQ(fl->control, &f);
    EXPECT_EQ(il->control, &i);
    EXPECT_EQ(bl->control, &b);
    for (const FunctionFloatBase* leaf : {static_cast<const FunctionFloatBase*>(dl.get()),
                                          static_cast<const FunctionFloatBase*>(fl.get()),
                                          static_cast<const FunctionFloatBase*>(il.get()),
                                          static_cast<const FunctionFloatBase*>(bl.get())})
        EXPECT_TRUE(leaf->text.empty());
    EXPECT_EQ((*dl)(), 1.5);
    EXPECT_EQ((*fl)(), static_cast<double>(0.1f));
    EXPECT_EQ((*il)(), -7.0);
    EXPECT_EQ((*bl)(), 1.0);
}

TEST(VarMapper, SplitVarName)
{
    const struct {
        const char* name;
        const char* base;
        const char* field;
    } cases[] = {
        {"pos.x", "pos", "x"},       {"a.b.c", "a", "b.c"},
        {"arr[3]", "arr", "arr"},    {"obj[2].m[5]", "obj", "m"},
        {"x", "x", "x"},             {"", "", ""},
        {".x", ".x", ".x"},          {"a.", "a", ""},
        {"[1]", "[1]", "[1]"},       {"a[x.y]", "a", "y]"},
        {"a.[1]", "a", "[1]"},       {"a[1].b[", "a", "b"},
    };
    NameTools tools;
    for (const auto& c : cases) {
        std::string base = "stale";
        std::string field = "stale";
        tools.splitVarName(c.name, base, field);
        EXPECT_EQ(base, c.base) << c.name;
        EXPECT_EQ(field, c.field) << c.name;
    }
}

TEST(VarMapper, SplitVarNameIntoItsOwnArgument)
{
    NameTools tools;
    std::string name = "obj[2].m[5]";
    std::string field;
    tools.splitVarName(name, name, field);
    EXPECT_EQ(name, "obj");
    EXPECT_EQ(field, "m");
}

TEST(VarMapper, ExtractArrayIndex)
{
    const struct {
        const char* name;
        int index;
    } cases[] = {
        {"arr[3]", 3},   {"arr[007]", 7},  {"arr[-2]", -2}, {"arr[2.7]", 2},
        {"arr[1-2]", 1}, {"[5]", 5},       {"a[3].b", 3},   {"a[2147483647]", 2147483647},
        {"a[-2147483648]", -2147483647 - 1},
        // Rejected shapes.
        {"arr", -1},     {"arr[3", -1},    {"a]3[", -1},    {"a[3]]", -1},
        {"a[1][2]", -1}, {"a[x]", -1},     {"a[ 3]", -1},   {"a[+3]", -1},
        {"a]", -1},
        // Nothing readable between the brackets, or out of int range.
        {"a[]", -1},     {"a[-]", -1},     {"a[.5]", -1},   {"a[--1]", -1},
        {"a[2147483648]", -1}, {"a[-2147483649]", -1}, {"a[99999999999999999999]", -1},
    };
    NameTools tools;
    for (const auto& c : cases)
        EXPECT_EQ(tools.extractArrayIndex(c.name), c.index) << c.name;
}

class MapperInParser : public ::testing::Test {
protected:
    MapperInParser() : mapper("speed", &mapped)
    {
        parser.insertKey("x", &x);
        parser.insertKey("speed", &keyed);
    }

    std::string parsedShape(const std::string& text)
    {
        std::unique_ptr<FunctionFloatBase> root(parser.parseString(text, message));
        value = (*root)();
        return tree_printer::shape(root.get());
    }

    double mapped = 10.0;
    double keyed = 20.0;
    double x = 3.0;
    RecordingMapper mapper;
    FunctionParserBase parser;
    ParseMessage message{};
    double value = 0.0;
};

TEST_F(MapperInParser, WithoutMapperOnlyKeysAreFound)
{
    EXPECT_EQ(parser.getVarMapper(), nullptr);
    EXPECT_EQ(parsedShape("2*speed+x"), "Add(Mul(2,speed),x)");
    EXPECT_EQ(value, 43.0);
    EXPECT_TRUE(mapper.asked.empty());
}

TEST_F(MapperInParser, MapperIsAskedAboutEveryOperandAndWinsOverKeys)
{
    parser.setVarMapper(&mapper);
    // The mapper's leaf has no text; the key's leaf carries the key name.
    EXPECT_EQ(parsedShape("2*(Speed)+x"), "Add(Mul(2,<double>),x)");
    EXPECT_EQ(value, 23.0);
    EXPECT_EQ(mapper.asked, (std::vector<std::string>{"2", "speed", "x"}));
    EXPECT_TRUE(message.errors.empty());
    EXPECT_EQ(message.position, 11);
}

TEST_F(MapperInParser, MapperLeafAsRootTakesTheText)
{
    parser.setVarMapper(&mapper);
    std::unique_ptr<FunctionFloatBase> root(parser.parseString("{SPEED}", message));
    ASSERT_TRUE(root->isVariableDouble());
    EXPECT_EQ(root->getVariableDoubleRef()->control, &mapped);
    EXPECT_EQ(root->getString(), "{speed}");
    EXPECT_EQ(message.position, 7);
}

TEST_F(MapperInParser, UnknownNamesStillFault)
{
    parser.setVarMapper(&mapper);
    EXPECT_EQ(parsedShape("foo+speed"), "Add(0,<double>)");
    EXPECT_EQ(message.errors, (std::vector<std::pair<int, int>>{{0, 3}}));
    EXPECT_EQ(message.errorCode, PARSE_BAD_OPERAND);
    EXPECT_EQ(mapper.asked, (std::vector<std::string>{"foo", "speed"}));
}

}  // namespace
