// Which keys a tree reads: first-appearance order, de-duplication by entry
// address, and the single null entry for unregistered leaves.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "functionfloatbase.h"
#include "functionparserbase.h"

namespace {

// A node that answers false to every classification query.
struct OpaqueNode : FunctionFloatBase {
    double operator()() const override { return 0.0; }
};

TEST(VariableDiscovery, EachKeyOnceInFirstAppearanceOrder)
{
    double a = 1, b = 2, c = 3, shared = 0;
    int n = 4;
    bool flag = true;
    FunctionParserBase parser;
    for (const FunctionParserBase::keyStruct& key :
         {FunctionParserBase::keyStruct{"a", KEY_DOUBLE, &a}, {"b", KEY_DOUBLE, &b}, {"c", KEY_DOUBLE, &c},
          {"zz", KEY_DOUBLE, &shared}, {"mm", KEY_DOUBLE, &shared}, {"aa", KEY_FLOAT, &shared},
          {"n", KEY_INT, &n}, {"flag", KEY_BOOL, &flag}})
        parser.insertKey(key);
    // Each listed key is printed by name, an unregistered leaf as "-"; a
    // listed key must be the table's own entry.
    const auto varsOf = [&](const FunctionFloatBase* root) {
        std::string names;
        for (FunctionParserBase::keyStruct* key : parser.getAllVars(root)) {
            EXPECT_TRUE(key == nullptr || parser.getKey(key->name) == key);
            names += (key ? key->name : "-") + " ";
        }
        return names;
    };
    const auto varsOfText = [&](const std::string& text) {
        ParseMessage message{};
        const std::unique_ptr<FunctionFloatBase> root(parser.parseString(text, message));
        EXPECT_TRUE(message.errors.empty()) << text;
        return varsOf(root.get());
    };
    OpaqueNode opaque;
    EXPECT_EQ(varsOf(nullptr) + varsOf(&opaque) + varsOfText("1+2*sin(3)-if(1,2,max(3,4))"), "");
    EXPECT_EQ(varsOfText("a*a"), "a ");
    EXPECT_EQ(varsOfText("b+a*b"), "b a ");
    EXPECT_EQ(varsOfText("if(c,a,c+b)"), "c a b ");
    EXPECT_EQ(varsOfText("flag*n+2pi"), "flag n pi ");
    EXPECT_EQ(varsOfText("zz+mm"), "mm ");  // a shared address: the first name of the leaf's kind

    // Float leaves over the address of a double key are unregistered; they
    // share one null entry, at the place of the first.
    const float* misread = reinterpret_cast<const float*>(&b);
    auto* tree = new FunctionFloatAdd;
    auto* rest = new FunctionFloatAdd;
    auto* tail = new FunctionFloatMul;
    const std::unique_ptr<FunctionFloatBase> root(tree);
    tree->arg1 = new FunctionFloatVariableDouble(&a);
    tree->arg2 = rest;
    rest->arg1 = new FunctionFloatVariableFloat(misread);
    rest->arg2 = tail;
    tail->arg1 = new FunctionFloatVariableDouble(&c);
    tail->arg2 = new FunctionFloatVariableFloat(misread);
    EXPECT_EQ(varsOf(root.get()), "a - c ");

    std::vector<std::string> names;  // the table is left as it was
    parser.getAllKeyNames(names);
    EXPECT_EQ(names, (std::vector<std::string>{"a", "aa", "b", "c", "e", "epsilon", "flag", "mm", "n", "pi",
                                               "zz"}));
}

}  // namespace
