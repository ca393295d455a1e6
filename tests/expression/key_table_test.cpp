// The key table: case rules, conflicts, renaming, address lookups, the
// built-in constants and the process-wide parser.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "functionparserbase.h"

namespace {

using Names = std::vector<std::string>;
using Key = FunctionParserBase::keyStruct;

Names keyNames(const FunctionParserBase& parser, Names names = {})
{
    parser.getAllKeyNames(names);
    return names;
}

float& builtIn(FunctionParserBase& parser, const char* name)
{
    return *static_cast<float*>(parser.getKey(name)->ptr);
}

TEST(KeyTable, BuiltInFloatConstantsAreSharedByEveryParser)
{
    FunctionParserBase parser;
    EXPECT_EQ(keyNames(parser, {"kept"}), (Names{"kept", "e", "epsilon", "pi"}));
    const std::pair<const char*, double> widenedValues[] = {
        {"pi", 3.1415927410125732}, {"e", 2.7182817459106445}, {"epsilon", 1.1920928955078125e-07}};
    for (const auto& [name, widened] : widenedValues) {
        ASSERT_TRUE(parser.getKey(name) && parser.getKey(name)->type == KEY_FLOAT) << name;
        EXPECT_EQ(static_cast<double>(builtIn(parser, name)), widened);
        EXPECT_EQ(&builtIn(FunctionParserBase::instance(), name), &builtIn(parser, name));
    }
}

TEST(KeyTable, InsertKeepsTheFirstBindingAndLowerCasesOnlyPointerKeys)
{
    FunctionParserBase parser;
    double d = 0, second = 0;
    bool b = false;
    EXPECT_TRUE(parser.insertKey("Speed", &d));
    ASSERT_TRUE(parser.getKey("SPEED") && parser.getKey("SPEED")->name == "speed");
    // The name lookup that reports presence takes the name as given.
    EXPECT_EQ(parser.findIndex(std::string("Speed")), -1);
    EXPECT_EQ(parser.findIndex(std::string("speed")), 0);
    EXPECT_FALSE(parser.insertKey("SPEED", &second));
    EXPECT_FALSE(parser.insertKey(Key{"speed", KEY_BOOL, &b}));
    EXPECT_EQ(parser.getKey("speed")->ptr, &d);
    // A struct insert keeps the name as given, so the lower-casing lookups miss it.
    EXPECT_TRUE(parser.insertKey(Key{"Rate", KEY_DOUBLE, &second}));
    EXPECT_EQ(parser.getKey("Rate"), nullptr);
    EXPECT_EQ(keyNames(parser), (Names{"Rate", "e", "epsilon", "pi", "speed"}));
}

TEST(KeyTable, RenameFilesTheEntryUnderTheNewNameAndRemoveLowerCases)
{
    FunctionParserBase parser;
    double d = 0;
    ASSERT_TRUE(parser.insertKey("speed", &d));
    EXPECT_FALSE(parser.renameKey("pi", "PI"));  // differs only in case
    EXPECT_FALSE(parser.renameKey("speed", "E"));  // taken
    EXPECT_TRUE(parser.renameKey("Speed", "VELOCITY"));
    EXPECT_EQ(parser.getKey("speed"), nullptr);
    const Key* key = parser.getKey("velocity");
    ASSERT_TRUE(key && key->ptr == &d);
    EXPECT_EQ(key->name, "speed");  // the entry keeps its own name
    EXPECT_TRUE(parser.removeKey("PI"));
    EXPECT_EQ(keyNames(parser), (Names{"e", "epsilon", "velocity"}));
    parser.freeKeyMap();  // the built-ins go too
    EXPECT_TRUE(keyNames(parser).empty());
}

TEST(KeyTable, AddressLookupMatchesKindAndAddressFirstNameFirst)
{
    FunctionParserBase parser;
    double shared = 0;
    float f = 0;
    bool flag = false;
    ASSERT_TRUE(parser.insertKey("b", &shared) && parser.insertKey("a", &shared) &&
                parser.insertKey("F", &f) && parser.insertKey("Flag", &flag));
    // The same memory as the doubles, seen as another kind.
    ASSERT_TRUE(parser.insertKey(Key{"0int", KEY_INT, &shared}));
    EXPECT_EQ(parser.findIndex(&shared), parser.getKey("a"));
    EXPECT_EQ(parser.findIndex(&f), parser.getKey("f"));
    EXPECT_EQ(parser.findIndex(&flag), parser.getKey("flag"));
    const void* sharedMemory = &shared;
    EXPECT_EQ(parser.findIndex(static_cast<const int*>(sharedMemory)), parser.getKey("0int"));
    EXPECT_EQ(parser.findIndex(static_cast<const float*>(sharedMemory)), nullptr);
    ASSERT_TRUE(parser.removeKey("a") && parser.renameKey("b", "z"));
    EXPECT_EQ(parser.findIndex(&shared), parser.getKey("z"));
}

}  // namespace
