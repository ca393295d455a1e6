// The generator state is process-wide, so this program must construct no
// random node other than the three below, which are made once, in order,
// before any test looks at them.
#include <gtest/gtest.h>

#include <utility>
#include <vector>

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

TEST(RandomSeed, FirstThreeNodesGetTheTablesOfFixedSeeds)
{
    const std::vector<double>& first = firstNodes().first.randomTable;
    ASSERT_EQ(first.size(), 10000u);
    EXPECT_EQ(first[0], 0.011225381400436163);
    EXPECT_EQ(first[1], 0.12699650996364653);
    EXPECT_EQ(first[2], 0.21043494413606822);
    EXPECT_EQ(first[9999], 0.40563397319056094);
    ASSERT_EQ(firstNodes().second.randomTable.size(), 10000u);
    EXPECT_EQ(firstNodes().second.randomTable[0], 0.22068625455722213);
    ASSERT_EQ(firstNodes().third.randomTable.size(), 10000u);
    EXPECT_EQ(firstNodes().third.randomTable[0], 0.1382627533748746);
}

TEST(RandomSeed, FirstNodeEvaluatesToKnownValues)
{
    FunctionFloatRnd& node = firstNodes().first;
    const std::vector<double>& table = node.randomTable;
    ASSERT_EQ(table.size(), 10000u);
    const std::pair<double, double> positionAndValue[] = {
        {0.0, 0.011225381400436163}, {0.0005, 0.06911094568204135},
        {0.001, 0.12699650996364653}, {0.0025, (table[5] - table[4]) * 0.5 + table[4]},
        {1.0, 0.011225381400436163}, {-1.0, 0.011225381400436163},
        {2.5, 0.011225381400436163},
    };
    // Borrowed children, detached again so that the node never deletes them.
    FunctionFloatConstant amplitude(1.0);
    FunctionFloatConstant position;
    node.arg1 = &amplitude;
    node.arg2 = &position;
    for (const auto& [t, expected] : positionAndValue) {
        SCOPED_TRACE(t);
        position.value = t;
        EXPECT_EQ(node(), expected);
    }
    node.arg1 = nullptr;
    node.arg2 = nullptr;
}

}  // namespace
