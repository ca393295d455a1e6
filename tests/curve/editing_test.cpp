#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "curve/point_fields.h"
#include "splinebase.h"

namespace {

using point_fields::curveOf;
using point_fields::expectFields;
using point_fields::timesOf;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

PointInfo* recordAt(double time, double value = 0.0)
{
    return new PointInfo{time, value, {}, {}, kv_spline::BEZIER, false};
}

TEST(CurveEditing, InsertionKeepsTimeOrderAndReportsTheIndex)
{
    SplineBase curve;
    for (double time : {2, 1, 3})
        curve.addPoint(time, time * 10);
    EXPECT_EQ(timesOf(curve), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(curve.addPoint(recordAt(5)), 3u);
    EXPECT_EQ(curve.addPoint(recordAt(0)), 0u);
    PointInfo* second = recordAt(2, -1);  // goes in front of the older point at 2
    EXPECT_EQ(curve.addPointPtr(second), second);
    EXPECT_EQ(curve.controlPoints[2], second);
    // A NaN time lands at the front, and nothing passes it afterwards.
    EXPECT_EQ(curve.addPoint(recordAt(nan)), 0u);
    curve.addPoint(4.0, 40.0);
    EXPECT_EQ(curve.controlPoints[0]->time, 4.0);

    SplineBase overloads;
    overloads.addPoint(1.0, 2.0, PointInfo::TcbData{0.1, 0.2, 0.3, 0.4, 0.5});
    overloads.addPoint(2.0, 3.0, PointInfo::BezierData{-1.5, 2.5});
    const PointInfo original{3.0, 7.0, {}, {}, kv_spline::STEP, true};
    overloads.addPoint(original);
    expectFields(*overloads.controlPoints[0], {1, 2, {0, 0}, {0.1, 0.2, 0.3, 0.4, 0.5}, kv_spline::BEZIER, false});
    expectFields(*overloads.controlPoints[1], {2, 3, {-1.5, 2.5}, {}, kv_spline::BEZIER, false});
    expectFields(*overloads.controlPoints[2], original);
    EXPECT_NE(overloads.controlPoints[2], &original);
    EXPECT_FALSE(overloads.isTCBInterpolation(0));
    EXPECT_TRUE(overloads.isStepInterpolation(2));
    for (int index : {-1, 3})
        EXPECT_FALSE(overloads.isStepInterpolation(index));
}

TEST(CurveEditing, Lookups)
{
    const auto curve = curveOf({{0, 0, 1}, {1, 10, 1}, {2, 20, 1}});
    const struct {
        double t;
        unsigned int index;
        bool interior;
    } cases[] = {{-1, 0, false}, {0, 0, false}, {0.5, 1, true},  {1, 1, true},
                 {1.5, 2, true}, {2, 2, true},  {2.5, 3, false}, {nan, 2, true}};
    for (const auto& c : cases) {
        EXPECT_EQ(curve->findIndex(c.t), c.index) << c.t;
        EXPECT_EQ(curve->isInterior(c.t), c.interior) << c.t;
    }
    const auto single = curveOf({{1, 1, 1}});
    EXPECT_EQ(single->findIndex(1.0), 0u);
    EXPECT_EQ(single->findIndex(2.0), 1u);
    for (double t : {0.0, 1.0, 2.0})
        EXPECT_FALSE(single->isInterior(t));

    const auto halves = curveOf({{0.5, 0, 1}, {1.5, 0, 1}});
    EXPECT_EQ(halves->findBy(1.0, 0.75), halves->controlPoints[0]);  // a tie: the earlier wins
    EXPECT_EQ(halves->findBy(1.0, 0.5), nullptr);                   // strictly closer only
    const auto& p = curve->controlPoints;
    EXPECT_EQ(curve->getNext(1.0), p[2]);
    EXPECT_EQ(curve->getNext(2.0), nullptr);
    EXPECT_EQ(curve->getPrev(1.0), p[0]);
    EXPECT_EQ(curve->getPrev(1.0 + 1e-6), p[1]);
    EXPECT_EQ(curve->getPrev(1.0 + 1e-8), p[0]);
    EXPECT_EQ(curve->getPrev(0.0), nullptr);
}

TEST(CurveEditing, RetimingAndRetypingReposition)
{
    const auto curve = curveOf({{0, 0, 1}, {1, 10, 1}, {2, 20, 1}});
    PointInfo* moved = curve->controlPoints[0];
    curve->setTime(moved, 1.5);
    EXPECT_EQ(timesOf(*curve), (std::vector<double>{1, 1.5, 2}));
    curve->setTime(moved, 1.0);
    EXPECT_EQ(curve->controlPoints[0], moved);

    PointInfo* peer = curve->controlPoints[1];  // re-inserted in front of its equal
    curve->setType(peer, kv_spline::LINEAR);
    EXPECT_EQ(curve->controlPoints[0], peer);
    EXPECT_TRUE(curve->isLinearInterpolation(0));

    PointInfo stranger{};  // not held: nothing changes
    curve->setTime(&stranger, 0.5);
    curve->setType(&stranger, kv_spline::STEP);
    EXPECT_EQ(timesOf(*curve), (std::vector<double>{1, 1, 2}));
    EXPECT_EQ(stranger.time, 0.0);
}

// The deletions themselves are checked by the sanitizer build.
TEST(CurveEditing, RemoveResetAndRemoveAllOwnership)
{
    const auto curve = curveOf({{0, 0, 1}, {1, 10, 1}, {2, 20, 1}}, 0, 3);
    PointInfo* taken = curve->controlPoints[1];
    curve->remove(taken);
    curve->remove(nullptr);
    curve->remove(taken);  // no longer held
    EXPECT_EQ(timesOf(*curve), (std::vector<double>{0, 2}));
    EXPECT_EQ(taken->value, 10.0);
    delete taken;

    const std::vector<PointInfo*> forgotten = curve->controlPoints;
    curve->defaultValue = 4.0;
    curve->curveFlag = true;
    curve->modified = false;
    curve->reset();
    EXPECT_TRUE(curve->controlPoints.empty());
    EXPECT_EQ(curve->preExtrapolation, 1);
    EXPECT_EQ(curve->postExtrapolation, 1);
    EXPECT_EQ(curve->defaultValue, 0.0);
    EXPECT_TRUE(curve->curveFlag);
    EXPECT_FALSE(curve->modified);
    for (PointInfo* record : forgotten)
        curve->addPointPtr(record);  // alive, and owned again

    curve->postExtrapolation = 4;
    curve->defaultValue = 2.0;
    curve->removeAllControlPoints();
    EXPECT_TRUE(curve->controlPoints.empty());
    EXPECT_TRUE(curve->modified);
    EXPECT_EQ(curve->postExtrapolation, 4);
    EXPECT_EQ(curve->defaultValue, 2.0);
    EXPECT_DEBUG_DEATH(curve->remove(nullptr), "controlPoints.size\\(\\) > 0");
}

}  // namespace
