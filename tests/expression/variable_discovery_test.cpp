// Which keys a tree reads: first-appearance order, de-duplication by entry
// address, and the single null entry for unregistered leaves.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "functionparserbase.h"
#include "parservarmapper.h"

namespace {

using KeyList = std::vector<FunctionParserBase::keyStruct*>;

// A node that answers false to every classification query.
class OpaqueNode : public FunctionFloatBase {
public:
    double operator()() const override { return 0.0; }
};

class VariableDiscovery : public ::testing::Test {
protected:
    VariableDiscovery()
    {
        parser.insertKey("a", &a);
        parser.insertKey("b", &b);
        parser.insertKey("c", &c);
        parser.insertKey("n", &n);
        parser.insertKey("flag", &flag);
    }

    KeyList varsOf(const std::string& text)
    {
        ParseMessage message{};
        std::unique_ptr<FunctionFloatBase> root(parser.parseString(text, message));
        EXPECT_TRUE(message.errors.empty()) << text;
        return parser.getAllVars(root.get());
    }

    FunctionParserBase::keyStruct* key(const std::string& name) { return parser.getKey(name); }

    double a = 1, b = 2, c = 3;
    int n = 4;
    bool flag = true;
    FunctionParserBase parser;
};

TEST_F(VariableDiscovery, TreesWithoutVariablesGiveNothing)
{
    EXPECT_TRUE(parser.getAllVars(nullptr).empty());
    EXPECT_TRUE(varsOf("1").empty());
    EXPECT_TRUE(varsOf("1+2*sin(3)-if(1,2,max(3,4))").empty());
    OpaqueNode opaque;
    EXPECT_TRUE(parser.getAllVars(&opaque).empty());
}

TEST_F(VariableDiscovery, EachKeyOnceInFirstAppearanceOrder)
{
    EXPECT_EQ(varsOf("a"), (KeyList{key("a")}));
    EXPECT_EQ(varsOf("a*a"), (KeyList{key("a")}));
    EXPECT_EQ(varsOf("b+a*b"), (KeyList{key("b"), key("a")}));
    EXPECT_EQ(varsOf("if(c,a,c+b)"), (KeyList{key("c"), key("a"), key("b")}));
    EXPECT_EQ(varsOf("sin(cos(b))+a"), (KeyList{key("b"), key("a")}));
    EXPECT_EQ(varsOf("if(a,sin(b),max(a,c))"), (KeyList{key("a"), key("b"), key("c")}));
    EXPECT_EQ(varsOf("flag*n+2pi"), (KeyList{key("flag"), key("n"), key("pi")}));
    EXPECT_EQ(parser.getKey("pi")->type, KEY_FLOAT);
}

TEST_F(VariableDiscovery, UnregisteredLeavesShareOneNullEntry)
{
    // Float leaves over the address of a double key: not registered as floats.
    const float* misread = reinterpret_cast<const float*>(&b);
    auto* tree = new FunctionFloatAdd;
    tree->arg1 = new FunctionFloatVariableDouble(&a);
    auto* rest = new FunctionFloatAdd;
    rest->arg1 = new FunctionFloatVariableFloat(misread);
    auto* tail = new FunctionFloatMul;
    tail->arg1 = new FunctionFloatVariableDouble(&c);
    tail->arg2 = new FunctionFloatVariableFloat(misread);
    rest->arg2 = tail;
    tree->arg2 = rest;
    std::unique_ptr<FunctionFloatBase> root(tree);
    EXPECT_EQ(parser.getAllVars(root.get()), (KeyList{key("a"), nullptr, key("c")}));
}

TEST_F(VariableDiscovery, SharedAddressReportsTheFirstNameOfTheLeafKind)
{
    double shared = 0;
    parser.insertKey("zz", &shared);
    parser.insertKey("mm", &shared);
    parser.insertKey("aa", reinterpret_cast<float*>(&shared));  // another kind: never matched
    EXPECT_EQ(varsOf("zz+mm"), (KeyList{key("mm")}));
}

TEST_F(VariableDiscovery, MapperLeavesAreFoundByAddress)
{
    class Mapper : public ParserVarMapper {
    public:
        Mapper(const double* known, const double* unknown) : known(known), unknown(unknown) {}
        FunctionFloatBase* mapVariable(const std::string& name) override
        {
            if (name == "known")
                return createDoubleVar(known);
            return name == "unknown" ? createDoubleVar(unknown) : nullptr;
        }
        const double* known;
        const double* unknown;
    };
    double stray = 0;
    Mapper mapper(&c, &stray);
    parser.setVarMapper(&mapper);
    EXPECT_EQ(varsOf("unknown+known*a+unknown"), (KeyList{nullptr, key("c"), key("a")}));
}

TEST_F(VariableDiscovery, LeavesTheTableAsItWas)
{
    std::vector<std::string> before;
    parser.getAllKeyNames(before);
    varsOf("a+b");
    std::vector<std::string> after;
    parser.getAllKeyNames(after);
    EXPECT_EQ(before, after);
}

}  // namespace
