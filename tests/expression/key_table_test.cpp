// The key table: case rules, conflicts, renaming, address lookups, the
// built-in constants and the process-wide parser.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "functionparserbase.h"

namespace {

using Names = std::vector<std::string>;
using Key = FunctionParserBase::keyStruct;

Names keyNames(const FunctionParserBase& parser)
{
    Names names;
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
    Names names{"kept"};
    parser.getAllKeyNames(names);
    parser.getAllKeyNames(names);
    EXPECT_EQ(names, (Names{"kept", "e", "epsilon", "pi", "e", "epsilon", "pi"}));
    EXPECT_EQ(parser.getVarMapper(), nullptr);
    const std::pair<const char*, double> widenedValues[] = {
        {"pi", 3.1415927410125732}, {"e", 2.7182817459106445}, {"epsilon", 1.1920928955078125e-07}};
    for (const auto& [name, widened] : widenedValues) {
        SCOPED_TRACE(name);
        ASSERT_NE(parser.getKey(name), nullptr);
        EXPECT_EQ(parser.getKey(name)->name, name);
        EXPECT_EQ(parser.getKey(name)->type, KEY_FLOAT);
        EXPECT_EQ(static_cast<double>(builtIn(parser, name)), widened);
        EXPECT_EQ(&builtIn(FunctionParserBase::instance(), name), &builtIn(parser, name));
    }
    const float saved = builtIn(parser, "pi");
    builtIn(parser, "pi") = 3.0f;
    FunctionParserBase later;
    const float seenByLaterParser = builtIn(later, "pi");
    builtIn(parser, "pi") = saved;
    EXPECT_EQ(seenByLaterParser, 3.0f);
    EXPECT_EQ(&FunctionParserBase::instance(), &FunctionParserBase::instance());
}

TEST(KeyTable, InsertKeepsTheFirstBindingAndLowerCasesOnlyPointerKeys)
{
    FunctionParserBase parser;
    double d = 0;
    double second = 0;
    float f = 0;
    bool b = false;
    EXPECT_TRUE(parser.insertKey("Speed", &d));
    EXPECT_EQ(parser.getKey("SPEED"), parser.getKey("speed"));
    ASSERT_NE(parser.getKey("speed"), nullptr);
    EXPECT_EQ(parser.getKey("speed")->name, "speed");
    // The name lookup that reports presence takes the name as given.
    EXPECT_EQ(parser.findIndex(std::string("Speed")), -1);
    EXPECT_EQ(parser.findIndex(std::string("speed")), 0);
    EXPECT_EQ(parser.findIndex(std::string("pi")), 0);

    EXPECT_FALSE(parser.insertKey("SPEED", &second));
    EXPECT_FALSE(parser.insertKey("speed", &f));
    EXPECT_FALSE(parser.insertKey("Speed", &b));
    EXPECT_FALSE(parser.insertKey(Key{"speed", KEY_BOOL, &b}));
    EXPECT_EQ(parser.getKey("speed")->type, KEY_DOUBLE);
    EXPECT_EQ(parser.getKey("speed")->ptr, &d);

    // A struct insert keeps the name as given, so the lower-casing lookups miss it.
    EXPECT_TRUE(parser.insertKey(Key{"Rate", KEY_DOUBLE, &second}));
    EXPECT_EQ(parser.getKey("Rate"), nullptr);
    EXPECT_FALSE(parser.removeKey("Rate"));
    EXPECT_EQ(parser.findIndex(std::string("Rate")), 0);
    EXPECT_EQ(keyNames(parser), (Names{"Rate", "e", "epsilon", "pi", "speed"}));
    // Any string, the empty one too, is a name, and a key may be bound to nothing.
    EXPECT_TRUE(parser.insertKey(Key{"", KEY_BOOL, nullptr}));
    EXPECT_EQ(parser.findIndex(std::string()), 0);
}

TEST(KeyTable, RemoveLowerCasesAndFreeKeyMapRemovesTheBuiltInsToo)
{
    FunctionParserBase parser;
    double d = 0;
    ASSERT_TRUE(parser.insertKey("speed", &d));
    EXPECT_TRUE(parser.removeKey("SPEED"));
    EXPECT_FALSE(parser.removeKey("speed"));
    EXPECT_TRUE(parser.removeKey("PI"));
    EXPECT_EQ(keyNames(parser), (Names{"e", "epsilon"}));
    parser.freeKeyMap();
    EXPECT_TRUE(keyNames(parser).empty());
    EXPECT_TRUE(parser.insertKey("pi", &d));
}

TEST(KeyTable, RenameFilesTheEntryUnderTheNewNameButKeepsItsName)
{
    FunctionParserBase parser;
    double d = 0;
    ASSERT_TRUE(parser.insertKey("speed", &d));
    const Names before = keyNames(parser);
    EXPECT_FALSE(parser.renameKey("pi", "PI"));  // differs only in case
    EXPECT_FALSE(parser.renameKey("speed", "E"));  // taken
    EXPECT_FALSE(parser.renameKey("missing", "other"));
    EXPECT_EQ(keyNames(parser), before);
    EXPECT_EQ(parser.getKey("pi")->name, "pi");

    EXPECT_TRUE(parser.renameKey("Speed", "VELOCITY"));
    EXPECT_EQ(parser.getKey("speed"), nullptr);
    const Key* key = parser.getKey("velocity");
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(key->name, "speed");
    EXPECT_EQ(key->type, KEY_DOUBLE);
    EXPECT_EQ(key->ptr, &d);
    EXPECT_EQ(keyNames(parser), (Names{"e", "epsilon", "pi", "velocity"}));
}

TEST(KeyTable, AddressLookupMatchesKindAndAddressFirstNameFirst)
{
    FunctionParserBase parser;
    double shared = 0;
    float f = 0;
    int i = 0;
    bool b = false;
    ASSERT_TRUE(parser.insertKey("b", &shared) && parser.insertKey("a", &shared));
    ASSERT_TRUE(parser.insertKey("F", &f) && parser.insertKey("I", &i) &&
                parser.insertKey("Flag", &b));
    // The same memory as the doubles, seen as another kind.
    ASSERT_TRUE(parser.insertKey(Key{"0int", KEY_INT, &shared}));
    EXPECT_EQ(parser.findIndex(&shared), parser.getKey("a"));
    EXPECT_EQ(parser.findIndex(&f), parser.getKey("f"));
    EXPECT_EQ(parser.findIndex(&i), parser.getKey("i"));
    EXPECT_EQ(parser.findIndex(&b), parser.getKey("flag"));
    const void* sharedMemory = &shared;
    EXPECT_EQ(parser.findIndex(static_cast<const int*>(sharedMemory)), parser.getKey("0int"));
    EXPECT_EQ(parser.findIndex(static_cast<const float*>(sharedMemory)), nullptr);
    ASSERT_TRUE(parser.removeKey("a"));
    EXPECT_EQ(parser.findIndex(&shared), parser.getKey("b"));
    ASSERT_TRUE(parser.renameKey("b", "z"));
    EXPECT_EQ(parser.findIndex(&shared), parser.getKey("z"));
}

}  // namespace
