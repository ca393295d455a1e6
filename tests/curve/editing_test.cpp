#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "splinebase.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

std::vector<double> timesOf(const SplineBase& curve)
{
    std::vector<double> times;
    for (const PointInfo* point : curve.controlPoints)
        times.push_back(point->time);
    return times;
}

PointInfo* recordAt(double time, double value = 0.0)
{
    PointInfo* record = new PointInfo();
    record->time = time;
    record->value = value;
    return record;
}

void addTimes(SplineBase& curve, const std::vector<double>& times)
{
    for (double time : times)
        curve.addPoint(time, time * 10.0);
}

TEST(CurveEditing, InsertionKeepsTimeOrderAndReportsTheIndex)
{
    SplineBase curve;
    addTimes(curve, {2, 1, 3});
    EXPECT_EQ(timesOf(curve), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(curve.addPoint(recordAt(5)), 3u);
    EXPECT_EQ(curve.addPoint(recordAt(0)), 0u);

    // An equal time goes in front of the older points at that time.
    PointInfo* second = recordAt(2, -1);
    EXPECT_EQ(curve.addPointPtr(second), second);
    EXPECT_EQ(curve.controlPoints[2], second);
    EXPECT_EQ(curve.controlPoints[3]->value, 20.0);

    // A NaN time compares false against everything and lands at the front.
    EXPECT_EQ(curve.addPoint(recordAt(nan)), 0u);
    EXPECT_TRUE(std::isnan(curve.controlPoints[0]->time));
    // Nothing passes a NaN at the front, so later points go before it.
    curve.addPoint(4.0, 40.0);
    EXPECT_EQ(curve.controlPoints[0]->time, 4.0);
}

TEST(CurveEditing, ValueOverloadsFillTheRecord)
{
    SplineBase curve;
    curve.addPoint(1.0, 2.0, PointInfo::TcbData{0.1, 0.2, 0.3, 0.4, 0.5});
    const PointInfo& tcbPoint = *curve.controlPoints[0];
    EXPECT_EQ(tcbPoint.type, kv_spline::BEZIER);
    EXPECT_FALSE(curve.isTCBInterpolation(0));
    EXPECT_TRUE(curve.isBezierInterpolation(0));
    EXPECT_EQ(tcbPoint.bezier.leftSlope, 0.0);
    EXPECT_EQ(tcbPoint.bezier.rightSlope, 0.0);
    EXPECT_EQ(tcbPoint.tcb.easeTo, 0.5);

    curve.addPoint(2.0, 3.0, PointInfo::BezierData{-1.5, 2.5});
    EXPECT_EQ(curve.controlPoints[1]->bezier.rightSlope, 2.5);
    EXPECT_EQ(curve.controlPoints[1]->tcb.tension, 0.0);

    PointInfo original{};
    original.time = 3.0;
    original.value = 7.0;
    original.type = kv_spline::STEP;
    original.flag = true;
    curve.addPoint(original);
    EXPECT_NE(curve.controlPoints[2], &original);
    EXPECT_TRUE(curve.isStepInterpolation(2));
    EXPECT_TRUE(curve.controlPoints[2]->flag);
    EXPECT_EQ(curve.controlPoints[2]->value, 7.0);
}

TEST(CurveEditing, FindIndexAndIsInterior)
{
    SplineBase curve;
    addTimes(curve, {0, 1, 2});
    const struct {
        double t;
        unsigned int index;
        bool interior;
    } cases[] = {{-1, 0, false}, {0, 0, false}, {0.5, 1, true}, {1, 1, true},
                 {1.5, 2, true}, {2, 2, true},  {2.5, 3, false}};
    for (const auto& c : cases) {
        EXPECT_EQ(curve.findIndex(c.t), c.index) << c.t;
        EXPECT_EQ(curve.isInterior(c.t), c.interior) << c.t;
    }
    // NaN passes every comparison of the scan and ends in the last segment.
    EXPECT_EQ(curve.findIndex(nan), 2u);

    SplineBase single;
    single.addPoint(1.0, 1.0);
    EXPECT_EQ(single.findIndex(1.0), 0u);
    EXPECT_EQ(single.findIndex(2.0), 1u);
    for (double t : {0.0, 1.0, 2.0})
        EXPECT_FALSE(single.isInterior(t));

    SplineBase shared;
    addTimes(shared, {0, 1, 1, 2});
    EXPECT_EQ(shared.findIndex(1.0), 1u);
}

TEST(CurveEditing, NearestNextAndPrevious)
{
    SplineBase halves;
    addTimes(halves, {0.5, 1.5});
    EXPECT_EQ(halves.findBy(1.0, 0.75), halves.controlPoints[0]);
    EXPECT_EQ(halves.findBy(1.0, 0.5), nullptr);
    EXPECT_EQ(halves.findBy(1.4, 0.75), halves.controlPoints[1]);

    SplineBase curve;
    addTimes(curve, {0, 1, 2});
    EXPECT_EQ(curve.getNext(1.0), curve.controlPoints[2]);
    EXPECT_EQ(curve.getNext(2.0), nullptr);
    EXPECT_EQ(curve.getPrev(1.0), curve.controlPoints[0]);
    EXPECT_EQ(curve.getPrev(1.0 + 1e-6), curve.controlPoints[1]);
    EXPECT_EQ(curve.getPrev(1.0 + 1e-8), curve.controlPoints[0]);
    EXPECT_EQ(curve.getPrev(0.0), nullptr);
    EXPECT_EQ(curve.getPrev(9.0), curve.controlPoints[2]);

    SplineBase empty;
    EXPECT_EQ(empty.findBy(0.0, 1.0), nullptr);
    EXPECT_EQ(empty.getNext(0.0), nullptr);
    EXPECT_EQ(empty.getPrev(0.0), nullptr);
}

TEST(CurveEditing, RetimingAndRetypingReposition)
{
    SplineBase curve;
    addTimes(curve, {0, 1, 2});
    PointInfo* moved = curve.controlPoints[0];
    curve.setTime(moved, 1.5);
    EXPECT_EQ(timesOf(curve), (std::vector<double>{1, 1.5, 2}));
    curve.setTime(moved, 1.0);
    EXPECT_EQ(curve.controlPoints[0], moved);

    // Re-inserting puts the retyped point in front of its equal-time peer.
    PointInfo* peer = curve.controlPoints[1];
    curve.setType(peer, kv_spline::LINEAR);
    EXPECT_EQ(curve.controlPoints[0], peer);
    EXPECT_TRUE(curve.isLinearInterpolation(0));
}

TEST(CurveEditing, RemoveAndResetHandRecordsBack)
{
    SplineBase curve;
    addTimes(curve, {0, 1, 2});
    PointInfo* taken = curve.controlPoints[1];
    curve.remove(taken);
    EXPECT_EQ(timesOf(curve), (std::vector<double>{0, 2}));
    EXPECT_EQ(taken->value, 10.0);
    curve.remove(nullptr);
    curve.remove(taken);  // no longer held
    EXPECT_EQ(curve.controlPoints.size(), 2u);
    delete taken;

    std::vector<PointInfo*> forgotten = curve.controlPoints;
    curve.preExtrapolation = 0;
    curve.postExtrapolation = 3;
    curve.defaultValue = 4.0;
    curve.curveFlag = true;
    curve.modified = false;
    curve.reset();
    EXPECT_TRUE(curve.controlPoints.empty());
    EXPECT_EQ(curve.preExtrapolation, 1);
    EXPECT_EQ(curve.postExtrapolation, 1);
    EXPECT_EQ(curve.defaultValue, 0.0);
    EXPECT_TRUE(curve.curveFlag);
    EXPECT_FALSE(curve.modified);
    EXPECT_EQ(forgotten[1]->value, 20.0);
    for (PointInfo* record : forgotten)
        delete record;
}

// The records' deletion itself is checked by the leak and use-after-free
// checks of the sanitizer build.
TEST(CurveEditing, RemoveAllControlPointsDeletesButKeepsSettings)
{
    SplineBase curve;
    addTimes(curve, {0, 1});
    curve.postExtrapolation = 4;
    curve.defaultValue = 2.0;
    curve.modified = false;
    curve.removeAllControlPoints();
    EXPECT_TRUE(curve.controlPoints.empty());
    EXPECT_TRUE(curve.modified);
    EXPECT_EQ(curve.postExtrapolation, 4);
    EXPECT_EQ(curve.defaultValue, 2.0);
}

TEST(CurveEditing, ViolatedPreconditionsGiveNeutralAnswers)
{
    SplineBase empty;
    EXPECT_EQ(empty.findIndex(1.0), 0u);
    EXPECT_FALSE(empty.isInterior(1.0));
    EXPECT_DEBUG_DEATH(empty.remove(nullptr), "controlPoints.size\\(\\) > 0");

    SplineBase curve;
    addTimes(curve, {0, 1});
    for (int index : {-1, 2})
        EXPECT_FALSE(curve.isBezierInterpolation(index));
    PointInfo stranger{};
    curve.setTime(&stranger, 0.5);
    curve.setType(&stranger, kv_spline::STEP);
    EXPECT_EQ(timesOf(curve), (std::vector<double>{0, 1}));
    EXPECT_EQ(stranger.time, 0.0);
}

}  // namespace
