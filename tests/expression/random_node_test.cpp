// Properties of the random node that hold whatever order the nodes of this
// program are constructed in.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "expression/random_table_reference.h"
#include "functionfloatbase.h"

namespace {

// A random node whose amplitude and position are host variables.
struct NoiseProbe {
    double amplitude = 1.0;
    double position = 0.0;
    FunctionFloatRnd node;

    NoiseProbe()
    {
        node.arg1 = new FunctionFloatVariableDouble(&amplitude);
        node.arg2 = new FunctionFloatVariableDouble(&position);
    }

    double at(double t)
    {
        position = t;
        return node();
    }

    const std::vector<double>& table() const { return node.randomTable; }
};

TEST(RandomNode, TableHoldsTenThousandSamplesInUnitInterval)
{
    NoiseProbe probe;
    ASSERT_EQ(probe.table().size(), 10000u);
    for (double sample : probe.table()) {
        ASSERT_GE(sample, 0.0);
        ASSERT_LT(sample, 1.0);
    }
}

TEST(RandomNode, TableIsTheGeneratorOutputOfSomeSeed)
{
    NoiseProbe probe;
    EXPECT_GE(random_reference::seedOf(probe.table()), 0);
}

TEST(RandomNode, PositionsOnWholeStepsReadTheSampleOfTheSquaredStep)
{
    NoiseProbe probe;
    const std::vector<double>& table = probe.table();
    const struct {
        double position;
        std::size_t sample;
    } cases[] = {
        {0.0, 0},
        {0.001, 1},
        {0.125, 15625 % 10000},      // step 125
        {0.375, 140625 % 10000},     // step 375
        {1.0, 0},                    // step 1000: a multiple of 100
        {2.5, 0},                    // step 2500
        {100000.0, 0},               // step 1e8
        {5e6, 8384},                 // step 5e9: its square wraps modulo 2^64
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.position);
        EXPECT_EQ(probe.at(c.position), table[c.sample]);
    }
}

TEST(RandomNode, InterpolatesLinearlyInsideAStep)
{
    NoiseProbe probe;
    const std::vector<double>& table = probe.table();
    // 0.0625 is step 62 and a half, exactly representable.
    EXPECT_EQ(probe.at(0.0625), (table[3845] - table[3844]) * 0.5 + table[3844]);
    EXPECT_NEAR(probe.at(0.0025), (table[4] + table[5]) / 2, 1e-12);
    EXPECT_NEAR(probe.at(0.0125), (table[144] + table[145]) / 2, 1e-12);
    EXPECT_NEAR(probe.at(0.01225), 0.75 * table[144] + 0.25 * table[145], 1e-12);
}

TEST(RandomNode, IsSymmetricInPosition)
{
    NoiseProbe probe;
    for (double t : {0.0005, 0.0625, 0.3337, 1.5, 7.25, 123.456}) {
        SCOPED_TRACE(t);
        EXPECT_EQ(probe.at(-t), probe.at(t));
    }
}

TEST(RandomNode, ScalesWithAmplitude)
{
    NoiseProbe probe;
    for (double t : {0.0005, 0.0625, 3.21}) {
        SCOPED_TRACE(t);
        probe.amplitude = 1.0;
        const double unit = probe.at(t);
        probe.amplitude = 2.0;
        EXPECT_EQ(probe.at(t), 2.0 * unit);
        probe.amplitude = -0.5;
        EXPECT_EQ(probe.at(t), -0.5 * unit);
    }
}

TEST(RandomNode, NanPositionGivesNan)
{
    NoiseProbe probe;
    EXPECT_TRUE(std::isnan(probe.at(std::numeric_limits<double>::quiet_NaN())));
}

TEST(RandomNode, EmptiedTableGivesNoNoise)
{
    NoiseProbe probe;
    probe.node.randomTable.clear();
    probe.amplitude = 3.0;
    EXPECT_EQ(probe.at(0.0625), 0.0);
    EXPECT_EQ(probe.at(1e300), 0.0);
}

// Records the order in which leaves are evaluated.
class OrderProbe : public FunctionFloatConstant {
public:
    OrderProbe(int id, double value, std::vector<int>& log)
        : FunctionFloatConstant(value), id(id), log(log)
    {
    }
    double operator()() const override
    {
        log.push_back(id);
        return value;
    }

private:
    int id;
    std::vector<int>& log;
};

TEST(RandomNode, EvaluatesPositionBeforeAmplitude)
{
    std::vector<int> order;
    FunctionFloatRnd node;
    node.arg1 = new OrderProbe(1, 1.0, order);
    node.arg2 = new OrderProbe(2, 0.5, order);
    node();
    EXPECT_EQ(order, (std::vector<int>{2, 1}));
}

}  // namespace
