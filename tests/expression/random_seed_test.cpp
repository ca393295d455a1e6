// The generator state is process-wide, so this program must construct no
// random node other than the three below, which are made once, in order,
// before any test looks at them.
#include <gtest/gtest.h>


#include "expression/random_table_reference.h"
#include "functionfloatbase.h"

namespace {

struct FirstNodesOfProcess {
    // Members are constructed in declaration order.
    FunctionFloatRnd first;
    FunctionFloatRnd second;
    FunctionFloatRnd third;
};

FirstNodesOfProcess& firstNodes()
{
    static FirstNodesOfProcess nodes;
    return nodes;
}

// Built before main(), so no test can get in first whatever the order.
const FirstNodesOfProcess& constructedAtStartup = firstNodes();

TEST(RandomSeed, FirstThreeNodesGetFixedSeeds)
{
    EXPECT_EQ(random_reference::seedOf(firstNodes().first.randomTable), 1020);
    EXPECT_EQ(random_reference::seedOf(firstNodes().second.randomTable), 6791);
    EXPECT_EQ(random_reference::seedOf(firstNodes().third.randomTable), 5202);
}

TEST(RandomSeed, FirstTablesHoldKnownSamples)
{
    const std::vector<double>& first = firstNodes().first.randomTable;
    ASSERT_EQ(first.size(), 10000u);
    EXPECT_EQ(first[0], 0.011225381400436163);
    EXPECT_EQ(first[1], 0.12699650996364653);
    EXPECT_EQ(first[2], 0.21043494413606822);
    EXPECT_EQ(first[9999], 0.40563397319056094);
    ASSERT_FALSE(firstNodes().second.randomTable.empty());
    EXPECT_EQ(firstNodes().second.randomTable[0], 0.22068625455722213);
    ASSERT_FALSE(firstNodes().third.randomTable.empty());
    EXPECT_EQ(firstNodes().third.randomTable[0], 0.1382627533748746);
}

// Reads the first node's noise with amplitude 1 at a position, through
// borrowed children that are detached again before the node is reused.
double firstNoiseAt(double position)
{
    FunctionFloatRnd& node = firstNodes().first;
    FunctionFloatConstant amplitude(1.0);
    FunctionFloatConstant where(position);
    node.arg1 = &amplitude;
    node.arg2 = &where;
    const double value = node();
    node.arg1 = nullptr;
    node.arg2 = nullptr;
    return value;
}

TEST(RandomSeed, FirstNodeEvaluatesToKnownValues)
{
    const std::vector<double>& table = firstNodes().first.randomTable;
    ASSERT_EQ(table.size(), 10000u);
    const double halfwayFourFive = (table[5] - table[4]) * 0.5 + table[4];
    const struct {
        double position;
        double expected;
    } cases[] = {
        {0.0, 0.011225381400436163},
        {0.0005, 0.06911094568204135},
        {0.001, 0.12699650996364653},
        {0.0025, halfwayFourFive},
        {1.0, 0.011225381400436163},
        {-1.0, 0.011225381400436163},
        {2.5, 0.011225381400436163},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.position);
        EXPECT_EQ(firstNoiseAt(c.position), c.expected);
    }
}

}  // namespace
