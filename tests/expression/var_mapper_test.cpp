// The mapper base: leaf factories, name splitting, index reading, and how the
// parser consults an installed mapper.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "functionparserbase.h"
#include "parservarmapper.h"
#include "tree_printer.h"

namespace {

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

TEST(VarMapper, FactoriesBindTheAddressWithAnEmptyText)
{
    RecordingMapper tools;
    double d = 1.5;
    float f = 0.1f;
    int i = -7;
    bool b = true;
    const std::unique_ptr<FunctionFloatVariableDouble> dl(tools.createDoubleVar(&d));
    const std::unique_ptr<FunctionFloatVariableFloat> fl(tools.createFloatVar(&f));
    const std::unique_ptr<FunctionFloatVariableInt> il(tools.createIntVar(&i));
    const std::unique_ptr<FunctionFloatVariableBool> bl(tools.createBoolVar(&b));
    EXPECT_TRUE(dl->control == &d && fl->control == &f && il->control == &i && bl->control == &b);
    EXPECT_EQ(dl->text + fl->text + il->text + bl->text, "");
    EXPECT_EQ((*dl)() + (*fl)() + (*il)() + (*bl)(), 1.5 + static_cast<double>(0.1f) - 7.0 + 1.0);
}

TEST(VarMapper, SplitVarNameAndExtractArrayIndex)
{
    const char* splits[][3] = {
        {"pos.x", "pos", "x"}, {"a.b.c", "a", "b.c"}, {"arr[3]", "arr", "arr"}, {"obj[2].m[5]", "obj", "m"},
        {"x", "x", "x"},       {"", "", ""},          {".x", ".x", ".x"},       {"a.", "a", ""},
        {"[1]", "[1]", "[1]"}, {"a[x.y]", "a", "y]"}, {"a.[1]", "a", "[1]"},    {"a[1].b[", "a", "b"},
    };
    RecordingMapper tools;
    for (const auto& [name, base, field] : splits) {
        std::string baseOut = "stale", fieldOut = "stale";
        tools.splitVarName(name, baseOut, fieldOut);
        EXPECT_EQ(baseOut + "|" + fieldOut, std::string(base) + "|" + field) << name;
    }
    std::string name = "obj[2].m[5]", field;  // the name may be its own output
    tools.splitVarName(name, name, field);
    EXPECT_EQ(name + "|" + field, "obj|m");

    const std::pair<const char*, int> indices[] = {
        {"arr[3]", 3}, {"arr[007]", 7}, {"arr[-2]", -2}, {"arr[2.7]", 2}, {"arr[1-2]", 1}, {"[5]", 5},
        {"a[3].b", 3}, {"a[2147483647]", 2147483647}, {"a[-2147483648]", -2147483647 - 1},
        {"arr", -1}, {"arr[3", -1}, {"a]3[", -1}, {"a[3]]", -1}, {"a[1][2]", -1}, {"a[x]", -1},
        {"a[ 3]", -1}, {"a[+3]", -1}, {"a[]", -1}, {"a[-]", -1}, {"a[.5]", -1}, {"a[2147483648]", -1},
    };
    for (const auto& [text, index] : indices)
        EXPECT_EQ(tools.extractArrayIndex(text), index) << text;
}

TEST(VarMapper, ParserAsksTheMapperFirstAboutEveryOperand)
{
    double x = 3.0, keyed = 20.0;
    FunctionParserBase parser;
    parser.insertKey("x", &x);
    parser.insertKey("speed", &keyed);
    RecordingMapper mapper;
    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> root;
    const auto parsed = [&](const std::string& text) {
        root.reset(parser.parseString(text, message));
        return tree_printer::shape(root.get()) + " = " + std::to_string((*root)());
    };
    using KeyList = std::vector<FunctionParserBase::keyStruct*>;

    EXPECT_EQ(parser.getVarMapper(), nullptr);
    EXPECT_EQ(parsed("2*speed+x"), "Add(Mul(2,speed),x) = 43.000000");
    parser.setVarMapper(&mapper);
    // The mapper's leaf has no text and wins over the key of the same name.
    EXPECT_EQ(parsed("2*(Speed)+x"), "Add(Mul(2,<VariableDouble>),x) = 23.000000");
    EXPECT_EQ(mapper.asked, (std::vector<std::string>{"2", "speed", "x"}));
    EXPECT_TRUE(message.errors.empty());
    // Its leaf is listed by address: as no key, then as the key registered on it.
    EXPECT_EQ(parser.getAllVars(root.get()), (KeyList{nullptr, parser.getKey("x")}));
    parser.insertKey("mapped", &mapper.mapped);
    EXPECT_EQ(parser.getAllVars(root.get()), (KeyList{parser.getKey("mapped"), parser.getKey("x")}));

    EXPECT_EQ(parsed("{SPEED}"), "{speed} = 10.000000");  // a root leaf takes the text
    EXPECT_EQ(parsed("foo+speed"), "Add(0,<VariableDouble>) = 10.000000");
    EXPECT_EQ(message.errors, (std::vector<std::pair<int, int>>{{0, 3}}));
    EXPECT_EQ(message.errorCode, PARSE_BAD_OPERAND);
}

}  // namespace
