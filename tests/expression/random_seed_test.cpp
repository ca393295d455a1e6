// The generator state is process-wide, so this program must construct no
// random node other than the three below.
#include <gtest/gtest.h>

#include <vector>

#include "functionfloatbase.h"

namespace {

// Built before main(), in index order, so no test can get in first.
FunctionFloatRnd firstNodes[3];

TEST(RandomSeed, FirstThreeNodesGetFixedTablesAndTheFirstEvaluatesToKnownValues)
{
    for (const FunctionFloatRnd& node : firstNodes)
        ASSERT_EQ(node.randomTable.size(), 10000u);
    FunctionFloatRnd& node = firstNodes[0];
    const std::vector<double>& table = node.randomTable;
    EXPECT_EQ((std::vector<double>{table[0], table[1], table[2], table[9999],
                                   firstNodes[1].randomTable[0], firstNodes[2].randomTable[0]}),
              (std::vector<double>{0.011225381400436163, 0.12699650996364653, 0.21043494413606822,
                                   0.40563397319056094, 0.22068625455722213, 0.1382627533748746}));
    const struct {
        double amplitude, position, expected;
    } rows[] = {
        {1, 0.0, 0.011225381400436163}, {1, 0.0005, 0.06911094568204135},
        {-2.5, -0.0005, -2.5 * 0.06911094568204135}, {1, 0.001, 0.12699650996364653},
        {1, 0.0025, (table[5] - table[4]) * 0.5 + table[4]},  // half way through step 2: samples 4 and 5
        {1, -1.0, 0.011225381400436163}, {1, 2.5, 0.011225381400436163},
        {1, 0.125, table[15625 % 10000]}, {1, 5e6, table[8384]},  // step 5e9: its square wraps modulo 2^64
    };
    // Borrowed children, detached again so that the node never deletes them.
    FunctionFloatConstant amplitude, position;
    node.arg1 = &amplitude;
    node.arg2 = &position;
    for (const auto& row : rows) {
        amplitude.value = row.amplitude;
        position.value = row.position;
        EXPECT_EQ(node(), row.expected) << row.position;
    }
    node.arg1 = nullptr;
    node.arg2 = nullptr;
}

}  // namespace
