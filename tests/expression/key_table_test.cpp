// The key table: case rules, conflicts, renaming, address lookups, the
// built-in constants and the process-wide parser.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "functionparserbase.h"

namespace {

using Names = std::vector<std::string>;

Names keyNames(const FunctionParserBase& parser)
{
    Names names;
    parser.getAllKeyNames(names);
    return names;
}

TEST(KeyTable, NewParserHoldsTheBuiltInFloatConstants)
{
    FunctionParserBase parser;
    EXPECT_EQ(keyNames(parser), (Names{"e", "epsilon", "pi"}));
    EXPECT_EQ(parser.getVarMapper(), nullptr);
    const struct {
        const char* name;
        double widened;
    } constants[] = {
        {"pi", 3.1415927410125732},
        {"e", 2.7182817459106445},
        {"epsilon", 1.1920928955078125e-07},
    };
    for (const auto& constant : constants) {
        SCOPED_TRACE(constant.name);
        const FunctionParserBase::keyStruct* key = parser.getKey(constant.name);
        ASSERT_NE(key, nullptr);
        EXPECT_EQ(key->name, constant.name);
        EXPECT_EQ(key->type, KEY_FLOAT);
        EXPECT_EQ(static_cast<double>(*static_cast<float*>(key->ptr)), constant.widened);
    }
}

TEST(KeyTable, GetAllKeyNamesAppends)
{
    FunctionParserBase parser;
    Names names{"kept"};
    parser.getAllKeyNames(names);
    parser.getAllKeyNames(names);
    EXPECT_EQ(names, (Names{"kept", "e", "epsilon", "pi", "e", "epsilon", "pi"}));
}

TEST(KeyTable, PointerInsertsStoreLowerCaseNamesWithTheirKind)
{
    FunctionParserBase parser;
    double d = 0;
    float f = 0;
    int i = 0;
    bool b = false;
    EXPECT_TRUE(parser.insertKey("Speed", &d));
    EXPECT_TRUE(parser.insertKey("FLOATY", &f));
    EXPECT_TRUE(parser.insertKey("Count", &i));
    EXPECT_TRUE(parser.insertKey("oN", &b));
    const struct {
        const char* lookup;
        const char* stored;
        int type;
        void* ptr;
    } expected[] = {
        {"SPEED", "speed", KEY_DOUBLE, &d},
        {"floaty", "floaty", KEY_FLOAT, &f},
        {"count", "count", KEY_INT, &i},
        {"On", "on", KEY_BOOL, &b},
    };
    for (const auto& key : expected) {
        SCOPED_TRACE(key.lookup);
        const FunctionParserBase::keyStruct* found = parser.getKey(key.lookup);
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(found->name, key.stored);
        EXPECT_EQ(found->type, key.type);
        EXPECT_EQ(found->ptr, key.ptr);
    }
    // The name lookup that reports presence takes the name as given.
    EXPECT_EQ(parser.findIndex(std::string("Speed")), -1);
    EXPECT_EQ(parser.findIndex(std::string("speed")), 0);
    EXPECT_EQ(parser.findIndex(std::string("pi")), 0);
}

TEST(KeyTable, ExistingBindingWinsWhateverTheNewKind)
{
    FunctionParserBase parser;
    double first = 0;
    double second = 0;
    float asFloat = 0;
    int asInt = 0;
    bool asBool = false;
    ASSERT_TRUE(parser.insertKey("speed", &first));
    EXPECT_FALSE(parser.insertKey("SPEED", &second));
    EXPECT_FALSE(parser.insertKey("speed", &asFloat));
    EXPECT_FALSE(parser.insertKey("speed", &asInt));
    EXPECT_FALSE(parser.insertKey("Speed", &asBool));
    EXPECT_FALSE(parser.insertKey(FunctionParserBase::keyStruct{"speed", KEY_INT, &asInt}));
    const FunctionParserBase::keyStruct* key = parser.getKey("speed");
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(key->type, KEY_DOUBLE);
    EXPECT_EQ(key->ptr, &first);
}

TEST(KeyTable, StructInsertKeepsTheNameAsGiven)
{
    FunctionParserBase parser;
    double d = 0;
    EXPECT_TRUE(parser.insertKey(FunctionParserBase::keyStruct{"Speed", KEY_DOUBLE, &d}));
    EXPECT_EQ(parser.getKey("Speed"), nullptr);
    EXPECT_FALSE(parser.removeKey("Speed"));
    EXPECT_EQ(parser.findIndex(std::string("Speed")), 0);
    EXPECT_EQ(parser.findIndex(std::string("speed")), -1);
    EXPECT_EQ(keyNames(parser), (Names{"Speed", "e", "epsilon", "pi"}));
    // A key may be bound to nothing, and any string, the empty one too, is a name.
    EXPECT_TRUE(parser.insertKey(FunctionParserBase::keyStruct{"", KEY_BOOL, nullptr}));
    EXPECT_EQ(parser.findIndex(std::string()), 0);
}

TEST(KeyTable, RemoveKeyLowerCasesTheName)
{
    FunctionParserBase parser;
    double d = 0;
    ASSERT_TRUE(parser.insertKey("speed", &d));
    EXPECT_TRUE(parser.removeKey("SPEED"));
    EXPECT_FALSE(parser.removeKey("speed"));
    EXPECT_EQ(parser.getKey("speed"), nullptr);
    EXPECT_TRUE(parser.removeKey("PI"));
    EXPECT_EQ(keyNames(parser), (Names{"e", "epsilon"}));
}

TEST(KeyTable, RenameFilesTheEntryUnderTheNewNameButKeepsItsName)
{
    FunctionParserBase parser;
    double d = 0;
    ASSERT_TRUE(parser.insertKey("speed", &d));
    EXPECT_TRUE(parser.renameKey("Speed", "VELOCITY"));
    EXPECT_EQ(parser.getKey("speed"), nullptr);
    const FunctionParserBase::keyStruct* key = parser.getKey("velocity");
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(key->name, "speed");
    EXPECT_EQ(key->type, KEY_DOUBLE);
    EXPECT_EQ(key->ptr, &d);
    EXPECT_EQ(parser.findIndex(std::string("velocity")), 0);
    EXPECT_EQ(parser.findIndex(&d), key);
    EXPECT_EQ(keyNames(parser), (Names{"e", "epsilon", "pi", "velocity"}));
}

TEST(KeyTable, FailedRenamesChangeNothing)
{
    FunctionParserBase parser;
    double d = 0;
    ASSERT_TRUE(parser.insertKey("speed", &d));
    const Names before = keyNames(parser);
    EXPECT_FALSE(parser.renameKey("pi", "PI"));         // differs only in case
    EXPECT_FALSE(parser.renameKey("speed", "speed"));
    EXPECT_FALSE(parser.renameKey("speed", "E"));       // taken
    EXPECT_FALSE(parser.renameKey("missing", "other"));
    EXPECT_EQ(keyNames(parser), before);
    const FunctionParserBase::keyStruct* key = parser.getKey("speed");
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(key->ptr, &d);
    EXPECT_EQ(parser.getKey("pi")->name, "pi");
}

TEST(KeyTable, AddressLookupMatchesKindAndAddressFirstNameFirst)
{
    FunctionParserBase parser;
    double shared = 0;
    double other = 0;
    ASSERT_TRUE(parser.insertKey("b", &shared));
    ASSERT_TRUE(parser.insertKey("a", &shared));
    ASSERT_TRUE(parser.insertKey("c", &other));
    // The same memory seen as another kind.
    ASSERT_TRUE(parser.insertKey(
        FunctionParserBase::keyStruct{"0float", KEY_FLOAT, static_cast<void*>(&shared)}));
    ASSERT_TRUE(parser.insertKey(
        FunctionParserBase::keyStruct{"0int", KEY_INT, static_cast<void*>(&shared)}));

    FunctionParserBase::keyStruct* found = parser.findIndex(&shared);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->name, "a");
    EXPECT_EQ(found, parser.getKey("a"));
    EXPECT_EQ(parser.findIndex(&other), parser.getKey("c"));

    const void* sharedMemory = &shared;
    EXPECT_EQ(parser.findIndex(static_cast<const float*>(sharedMemory)), parser.getKey("0float"));
    EXPECT_EQ(parser.findIndex(static_cast<const int*>(sharedMemory)), parser.getKey("0int"));
    EXPECT_EQ(parser.findIndex(static_cast<const bool*>(sharedMemory)), nullptr);

    ASSERT_TRUE(parser.removeKey("a"));
    EXPECT_EQ(parser.findIndex(&shared), parser.getKey("b"));
    double unbound = 0;
    EXPECT_EQ(parser.findIndex(&unbound), nullptr);
}

TEST(KeyTable, AddressLookupFindsEachPointerKind)
{
    FunctionParserBase parser;
    float f = 0;
    int i = 0;
    bool b = false;
    ASSERT_TRUE(parser.insertKey("f", &f));
    ASSERT_TRUE(parser.insertKey("i", &i));
    ASSERT_TRUE(parser.insertKey("b", &b));
    EXPECT_EQ(parser.findIndex(&f), parser.getKey("f"));
    EXPECT_EQ(parser.findIndex(&i), parser.getKey("i"));
    EXPECT_EQ(parser.findIndex(&b), parser.getKey("b"));
}

TEST(KeyTable, FreeKeyMapRemovesTheBuiltInsToo)
{
    FunctionParserBase parser;
    double d = 0;
    ASSERT_TRUE(parser.insertKey("speed", &d));
    parser.freeKeyMap();
    EXPECT_EQ(parser.getKey("pi"), nullptr);
    EXPECT_EQ(parser.getKey("speed"), nullptr);
    EXPECT_TRUE(keyNames(parser).empty());
    EXPECT_TRUE(parser.insertKey("pi", &d));
    EXPECT_EQ(parser.getKey("pi")->type, KEY_DOUBLE);
}

TEST(KeyTable, BuiltInConstantsAreSharedByEveryParser)
{
    FunctionParserBase first;
    FunctionParserBase second;
    auto* pi = static_cast<float*>(first.getKey("pi")->ptr);
    EXPECT_EQ(second.getKey("pi")->ptr, pi);
    EXPECT_EQ(second.getKey("e")->ptr, first.getKey("e")->ptr);
    EXPECT_EQ(second.getKey("epsilon")->ptr, first.getKey("epsilon")->ptr);

    const float saved = *pi;
    *pi = 3.0f;
    FunctionParserBase third;
    const float seenByThird = *static_cast<float*>(third.getKey("pi")->ptr);
    *pi = saved;
    EXPECT_EQ(seenByThird, 3.0f);
    EXPECT_EQ(*static_cast<float*>(FunctionParserBase().getKey("pi")->ptr), saved);
}

TEST(KeyTable, InstanceIsOneObject)
{
    FunctionParserBase& parser = FunctionParserBase::instance();
    EXPECT_EQ(&parser, &FunctionParserBase::instance());
    EXPECT_EQ(parser.getKey("epsilon")->ptr, FunctionParserBase().getKey("epsilon")->ptr);
}

TEST(KeyTable, ToLowerStringMapsEveryByteAndKeepsTheLength)
{
    const FunctionParserBase parser;
    EXPECT_EQ(parser.toLowerString("MiXeD_09 ()"), "mixed_09 ()");
    EXPECT_EQ(parser.toLowerString(""), "");
    const std::string withHighBytes("A\xC3\x89Z\0B", 6);
    const std::string lowered = parser.toLowerString(withHighBytes);
    ASSERT_EQ(lowered.size(), 6u);
    EXPECT_EQ(lowered[0], 'a');
    EXPECT_EQ(lowered[3], 'z');
    EXPECT_EQ(lowered[4], '\0');
    EXPECT_EQ(lowered[5], 'b');
}

}  // namespace
