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
    double x = 0.7;
    double t = 1.2345;
    float y = 1.5f;
    int n = 3;
    FunctionParserBase parser;
    ASSERT_TRUE(parser.insertKey("x", &x) && parser.insertKey("t", &t) &&
                parser.insertKey("y", &y) && parser.insertKey("n", &n));
    ParseMessage message{};
    const std::unique_ptr<FunctionFloatBase> tree(
        parser.parseString("if(x>0.5,sin(x)*rnd(2),y^2)+max(j0(n),log(x))", message));
    ASSERT_EQ(message.errorCode, PARSE_OK);
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
    EXPECT_EQ(seen, std::vector<const FunctionParserBase*>(threadCount, &FunctionParserBase::instance()));
}

}  // namespace
