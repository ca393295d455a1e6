// Variable discovery against its plain definition on random trees and key
// tables (shared addresses, keys of several kinds on one address, keys of no
// kind, unregistered leaves, missing children, host calls), and on a tree far
// deeper than any parse builds.
#include <gtest/gtest.h>
#include <pthread.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "plain_variable_discovery.h"

namespace {

using KeyList = std::vector<FunctionParserBase::keyStruct*>;

// Addresses only: discovery compares them and never reads through them.
struct Storage {
    double cells[12] = {};
    void* address(std::mt19937& random) { return &cells[random() % 12]; }
};

void fillKeyTable(FunctionParserBase& parser, Storage& storage, std::mt19937& random)
{
    const int kinds[] = {KEY_BOOL, KEY_INT, KEY_FLOAT, KEY_DOUBLE, 7};
    for (int k = static_cast<int>(random() % 40); k > 0; --k)
        parser.insertKey({"k" + std::to_string(random() % 60), kinds[random() % 5], storage.address(random)});
}

FunctionFloatBase* randomLeaf(Storage& storage, std::mt19937& random)
{
    void* address = storage.address(random);
    switch (random() % 5) {
    case 0:
        return new FunctionFloatVariableBool(static_cast<const bool*>(address));
    case 1:
        return new FunctionFloatVariableInt(static_cast<const int*>(address));
    case 2:
        return new FunctionFloatVariableFloat(static_cast<const float*>(address));
    case 3:
        return new FunctionFloatVariableDouble(static_cast<const double*>(address));
    default:
        return new FunctionFloatConstant(1.0);
    }
}

// `budget` bounds the nodes; a child is now and then missing.
FunctionFloatBase* randomTree(Storage& storage, std::mt19937& random, int& budget)
{
    if (--budget <= 0 || random() % 4 == 0)
        return random() % 30 == 0 ? nullptr : randomLeaf(storage, random);
    switch (random() % 4) {
    case 0: {
        auto* node = new FunctionFloatSin;
        node->arg = randomTree(storage, random, budget);
        return node;
    }
    case 1: {
        auto* node = new FunctionFloatAdd;
        node->arg1 = randomTree(storage, random, budget);
        node->arg2 = randomTree(storage, random, budget);
        return node;
    }
    case 2: {
        auto* node = new FunctionFloatHostCall;
        node->arity = static_cast<unsigned int>(random() % 4);
        for (unsigned int i = 0; i < node->arity; ++i)
            node->arguments[i] = randomTree(storage, random, budget);
        return node;
    }
    default: {
        auto* node = new FunctionFloatIf;
        node->arg1 = randomTree(storage, random, budget);
        node->arg2 = randomTree(storage, random, budget);
        node->arg3 = randomTree(storage, random, budget);
        return node;
    }
    }
}

TEST(VariableDiscovery, MatchesThePlainDefinitionOnRandomTrees)
{
    std::mt19937 random(16016);
    Storage storage;
    for (int round = 0; round < 3000; ++round) {
        FunctionParserBase parser;
        fillKeyTable(parser, storage, random);
        int budget = 1 + static_cast<int>(random() % 300);
        const std::unique_ptr<FunctionFloatBase> root(randomTree(storage, random, budget));
        ASSERT_EQ(parser.getAllVars(root.get()), plain_variable_discovery::allVars(parser, root.get()))
            << "round " << round;
    }
}

// A chain of unary nodes far deeper than any parse builds, walked on a small
// thread stack, then taken apart from the top (deleting it whole would
// recurse once per node).
TEST(VariableDiscovery, WalksATreeOfAnyDepthWithoutTheCallStack)
{
    struct Run {
        FunctionParserBase parser;
        double x = 0.0;
        FunctionFloatBase* root = nullptr;
        KeyList found;
    } run;
    run.parser.insertKey("x", &run.x);
    run.root = new FunctionFloatVariableDouble(&run.x);
    for (int level = 0; level < 200000; ++level) {
        auto* node = new FunctionFloatSin;
        node->arg = run.root;
        run.root = node;
    }
    const auto walk = [](void* target) -> void* {
        Run& r = *static_cast<Run*>(target);
        r.found = r.parser.getAllVars(r.root);
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 << 10);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, walk, &run), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(run.found, KeyList{run.parser.getKey("x")});
    while (run.root->isUnary()) {
        auto* top = static_cast<FunctionFloatSin*>(run.root);
        run.root = top->arg;
        top->arg = nullptr;
        delete top;
    }
    delete run.root;
}

}  // namespace
