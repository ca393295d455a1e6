#include <gtest/gtest.h>

#include <vector>

#include "curve/point_fields.h"
#include "splinebase.h"

namespace {

using point_fields::distinctPoint;
using point_fields::timesOf;

// Source: points at 0, 1, 1, 3 (the two at 1 listed seed 21 then 20), modes
// 0 and 4, curveFlag true, defaultValue 7. Target: points at 0.5 and 2,
// modes 2 and 3, curveFlag false, defaultValue -1.
class CurveCopying : public testing::Test {
protected:
    CurveCopying()
    {
        for (const PointInfo& point : {distinctPoint(3.0, 30.0, true, kv_spline::STEP),
                                       distinctPoint(1.0, 20.0, false),
                                       distinctPoint(1.0, 21.0, true, kv_spline::LINEAR),
                                       distinctPoint(0.0, 0.0, false)})
            source.addPoint(point);  // each goes before the equal time already there
        setFields(source, kv_spline::EXTRAPOLATE_ZERO, kv_spline::EXTRAPOLATE_LINEAR, true, 7.0);
        target.addPoint(distinctPoint(0.5, 100.0));
        target.addPoint(distinctPoint(2.0, 200.0));
        setFields(target, kv_spline::EXTRAPOLATE_CYCLE, kv_spline::EXTRAPOLATE_CYCLE_OFFSET, false, -1.0);
        original = source.controlPoints;
        for (const PointInfo* point : original)
            sourceCopy.push_back(*point);
    }

    static void setFields(SplineBase& curve, int pre, int post, bool curveFlag, double defaultValue)
    {
        curve.preExtrapolation = pre;
        curve.postExtrapolation = post;
        curve.curveFlag = curveFlag;
        curve.defaultValue = defaultValue;
        curve.modified = false;
    }

    // Modes, curveFlag and defaultValue of `curve`; `modified` must be set.
    static void expectFields(const SplineBase& curve, int pre, int post, bool curveFlag, double defaultValue)
    {
        EXPECT_EQ(curve.preExtrapolation, pre);
        EXPECT_EQ(curve.postExtrapolation, post);
        EXPECT_EQ(curve.curveFlag, curveFlag);
        EXPECT_EQ(curve.defaultValue, defaultValue);
        EXPECT_TRUE(curve.modified);
    }

    // `curve` lists new records with the fields of the source points at
    // `indices`, times shifted by `offset`.
    void expectCopies(const SplineBase& curve, const std::vector<std::size_t>& indices, double offset) const
    {
        ASSERT_EQ(curve.controlPoints.size(), indices.size());
        for (std::size_t i = 0; i < indices.size(); ++i) {
            const PointInfo& from = sourceCopy[indices[i]];
            point_fields::expectFields(*curve.controlPoints[i], from, from.time + offset);
        }
    }

    SplineBase source;
    SplineBase target;
    std::vector<PointInfo*> original;
    std::vector<PointInfo> sourceCopy;
};

TEST_F(CurveCopying, CopyAndCopyDupTakeEveryPointAndTheModes)
{
    target.copy(source);
    expectCopies(target, {0, 2, 1, 3}, 0.0);  // equal times arrive reversed
    EXPECT_NE(target.controlPoints[0], original[0]);
    expectFields(target, 0, 4, true, -1.0);

    SplineBase shifted;
    shifted.copyDup(source, 2.5);
    expectCopies(shifted, {0, 2, 1, 3}, 2.5);
    expectFields(shifted, 0, 4, false, 0.0);
    EXPECT_EQ(source.controlPoints, original);
    EXPECT_FALSE(source.modified);

    SplineBase empty;
    empty.curveFlag = true;
    empty.preExtrapolation = kv_spline::EXTRAPOLATE_LINEAR;
    target.copy(empty);
    EXPECT_TRUE(target.controlPoints.empty());
    expectFields(target, 4, 1, true, -1.0);

    // A copy of itself reads from the points as they were.
    source.copyDup(source, -3.0);
    expectCopies(source, {0, 2, 1, 3}, -3.0);
    source.copy(source);
    expectCopies(source, {0, 1, 2, 3}, -3.0);
    expectFields(source, 0, 4, true, 7.0);
}

TEST_F(CurveCopying, CopyRefsSharesTheSourceRecordsWithoutDeletingTheOldOnes)
{
    const std::vector<PointInfo*> old = target.controlPoints;
    target.copyRefs(source);
    EXPECT_EQ(target.controlPoints, (std::vector<PointInfo*>{original[0], original[2], original[1], original[3]}));
    expectFields(target, 0, 4, false, -1.0);
    EXPECT_EQ(source.controlPoints, original);
    for (PointInfo* record : old)
        delete record;  // still alive: the target only forgot them
    target.reset();     // the source deletes the shared records

    source.copyRefs(source);
    EXPECT_EQ(source.controlPoints, original);
}

TEST_F(CurveCopying, CopySelectedCopiesTheNamedSourcePointsOnce)
{
    PointInfo foreign = distinctPoint(1.0, 99.0);
    target.copySelected(source, {original[3], target.controlPoints[0], &foreign, original[1], original[3], nullptr});
    expectCopies(target, {1, 3}, 0.0);
    EXPECT_NE(target.controlPoints[0], original[1]);
    expectFields(target, 0, 4, false, -1.0);
    EXPECT_EQ(source.controlPoints, original);

    target.copySelected(source, {});
    EXPECT_TRUE(target.controlPoints.empty());

    source.copySelected(source, {original[3], original[0], original[3]});
    expectCopies(source, {0, 3}, 0.0);
}

TEST_F(CurveCopying, CombineAddsShiftedCopiesAndReturnsThemInSourceOrder)
{
    const std::vector<PointInfo*> old = target.controlPoints;
    const std::vector<const PointInfo*> added = target.combine(source, 1.0);
    ASSERT_EQ(added.size(), 4u);
    for (std::size_t i = 0; i < added.size(); ++i)
        point_fields::expectFields(*added[i], sourceCopy[i], sourceCopy[i].time + 1.0);
    // Source 0, 1, 1, 3 arrive at 1, 2, 2, 4; each goes before equal times.
    EXPECT_EQ(std::vector<const PointInfo*>(target.controlPoints.begin(), target.controlPoints.end()),
              (std::vector<const PointInfo*>{old[0], added[0], added[2], added[1], old[1], added[3]}));
    expectFields(target, 2, 3, false, -1.0);
    EXPECT_EQ(source.controlPoints, original);

    target.modified = false;
    EXPECT_TRUE(target.combine(SplineBase(), 1.0).empty());
    EXPECT_EQ(target.controlPoints.size(), 6u);
    EXPECT_TRUE(target.modified);

    const std::vector<const PointInfo*> doubled = source.combine(source, 0.0);
    ASSERT_EQ(doubled.size(), 4u);
    EXPECT_EQ(timesOf(source), (std::vector<double>{0, 0, 1, 1, 1, 1, 3, 3}));
    EXPECT_EQ(source.controlPoints[0], doubled[0]);  // a copy goes before its equal original
    EXPECT_EQ(source.controlPoints[1], original[0]);
}

}  // namespace
