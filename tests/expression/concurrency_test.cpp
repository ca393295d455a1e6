// An unchanging tree may be evaluated from several threads at once, and the
// process-wide parser is created once whoever asks first.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "functionfloatbase.h"
#include "functionparserbase.h"

namespace {

constexpr int threadCount = 4;

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

template <class Node>
Node* binary(FunctionFloatBase* left, FunctionFloatBase* right)
{
    auto* node = new Node;
    node->arg1 = left;
    node->arg2 = right;
    return node;
}

template <class Node>
Node* unary(FunctionFloatBase* operand)
{
    auto* node = new Node;
    node->arg = operand;
    return node;
}

struct HostVariables {
    double x = 0.7;
    double t = 1.2345;
    float y = 1.5f;
    int n = 3;
};

// if(x > 0.5, sin(x) * rnd(2) [at t], y ^ 2) + max(j0(n), log(x))
std::unique_ptr<FunctionFloatBase> buildTree(const HostVariables& vars)
{
    auto* noise = binary<FunctionFloatRnd>(new FunctionFloatConstant(2.0),
                                           new FunctionFloatVariableDouble(&vars.t));
    auto* choice = new FunctionFloatIf;
    choice->arg1 = binary<FunctionFloatGrt>(new FunctionFloatVariableDouble(&vars.x),
                                            new FunctionFloatConstant(0.5));
    choice->arg2 = binary<FunctionFloatMul>(
        unary<FunctionFloatSin>(new FunctionFloatVariableDouble(&vars.x)), noise);
    choice->arg3 = binary<FunctionFloatPow>(new FunctionFloatVariableFloat(&vars.y),
                                            new FunctionFloatConstant(2.0));
    auto* larger = binary<FunctionFloatMax>(
        unary<FunctionFloatJ0>(new FunctionFloatVariableInt(&vars.n)),
        unary<FunctionFloatLog>(new FunctionFloatVariableDouble(&vars.x)));
    return std::unique_ptr<FunctionFloatBase>(binary<FunctionFloatAdd>(choice, larger));
}

// Runs `work(index)` on threadCount threads released together.
template <class Work>
void runTogether(Work work)
{
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int index = 0; index < threadCount; ++index) {
        threads.emplace_back([&go, &work, index] {
            while (!go.load()) {
                std::this_thread::yield();
            }
            work(index);
        });
    }
    go.store(true);
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(Concurrency, SharedTreeEvaluatesIdenticallyOnEveryThread)
{
    const HostVariables vars;
    const std::unique_ptr<FunctionFloatBase> tree = buildTree(vars);
    const std::uint64_t expected = bitsOf((*tree)());
    const FunctionFloatBase& shared = *tree;

    std::vector<int> mismatches(threadCount, 0);
    runTogether([&](int index) {
        for (int round = 0; round < 2000; ++round) {
            mismatches[index] += bitsOf(shared()) != expected;
        }
    });
    EXPECT_EQ(mismatches, std::vector<int>(threadCount, 0));
}

TEST(Concurrency, FirstCallsOfInstanceShareOneParser)
{
    std::vector<const FunctionParserBase*> seen(threadCount, nullptr);
    runTogether([&](int index) { seen[index] = &FunctionParserBase::instance(); });
    for (const FunctionParserBase* parser : seen) {
        EXPECT_EQ(parser, &FunctionParserBase::instance());
    }
}

}  // namespace
