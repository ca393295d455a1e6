#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "curve/point_fields.h"
#include "splinebase.h"

namespace {

using point_fields::distinctPoint;
using point_fields::expectFields;
using point_fields::timesOf;
using point_fields::valuesOf;

// Source: points at 0, 1, 1, 3 (the two at 1 listed value 21 then 20), modes
// 0 and 4, curveFlag true, defaultValue 7. Target: points at 0.5 and 2,
// modes 2 and 3, curveFlag false, defaultValue -1, modified false.
class CurveCopying : public testing::Test {
protected:
    CurveCopying()
    {
        for (const PointInfo& point : sourcePoints)
            source.addPoint(point);  // each goes before the equal time already there
        source.preExtrapolation = kv_spline::EXTRAPOLATE_ZERO;
        source.postExtrapolation = kv_spline::EXTRAPOLATE_LINEAR;
        source.curveFlag = true;
        source.defaultValue = 7.0;
        source.modified = false;

        target.addPoint(distinctPoint(0.5, 100.0));
        target.addPoint(distinctPoint(2.0, 200.0));
        target.preExtrapolation = kv_spline::EXTRAPOLATE_CYCLE;
        target.postExtrapolation = kv_spline::EXTRAPOLATE_CYCLE_OFFSET;
        target.curveFlag = false;
        target.defaultValue = -1.0;
        target.modified = false;
    }

    void expectSourceModes() const
    {
        EXPECT_EQ(target.preExtrapolation, kv_spline::EXTRAPOLATE_ZERO);
        EXPECT_EQ(target.postExtrapolation, kv_spline::EXTRAPOLATE_LINEAR);
    }

    void expectOwnModes() const
    {
        EXPECT_EQ(target.preExtrapolation, kv_spline::EXTRAPOLATE_CYCLE);
        EXPECT_EQ(target.postExtrapolation, kv_spline::EXTRAPOLATE_CYCLE_OFFSET);
    }

    // Each target point is a new record with the fields of a source point,
    // its time shifted by `offset`; the two source points at 1 arrive in
    // reverse, each copy going before the equal one already there. The
    // source is intact.
    void expectCopiesOfSource(double offset) const
    {
        const std::size_t sourceIndex[] = {0, 2, 1, 3};
        ASSERT_EQ(target.controlPoints.size(), 4u);
        for (std::size_t i = 0; i < 4; ++i) {
            const PointInfo* original = source.controlPoints[sourceIndex[i]];
            EXPECT_NE(target.controlPoints[i], original);
            expectFields(*target.controlPoints[i], *original, original->time + offset);
        }
        expectSourceUnchanged();
    }

    void expectSourceUnchanged() const
    {
        EXPECT_EQ(timesOf(source), (std::vector<double>{0, 1, 1, 3}));
        EXPECT_EQ(valuesOf(source), (std::vector<double>{0.5, 21.5, 20.5, 30.5}));
        EXPECT_FALSE(source.modified);
    }

    // Values are the seed plus 0.5; in the source list the point at 1 with
    // seed 21 stands before the one with seed 20.
    const std::vector<PointInfo> sourcePoints = {
        distinctPoint(3.0, 30.0, true, kv_spline::STEP), distinctPoint(1.0, 20.0, false),
        distinctPoint(1.0, 21.0, true, kv_spline::LINEAR), distinctPoint(0.0, 0.0, false)};
    SplineBase source;
    SplineBase target;
};

TEST_F(CurveCopying, CopyTakesPointsModesAndCurveFlag)
{
    target.copy(source);
    expectCopiesOfSource(0.0);
    expectSourceModes();
    EXPECT_TRUE(target.curveFlag);
    EXPECT_EQ(target.defaultValue, -1.0);
    EXPECT_TRUE(target.modified);
}

TEST_F(CurveCopying, CopyOfAnEmptySourceEmptiesTheTarget)
{
    SplineBase empty;
    empty.preExtrapolation = kv_spline::EXTRAPOLATE_LINEAR;
    empty.curveFlag = true;
    target.copy(empty);
    EXPECT_TRUE(target.controlPoints.empty());
    EXPECT_EQ(target.preExtrapolation, kv_spline::EXTRAPOLATE_LINEAR);
    EXPECT_EQ(target.postExtrapolation, kv_spline::EXTRAPOLATE_CONSTANT);
    EXPECT_TRUE(target.curveFlag);
    EXPECT_EQ(target.defaultValue, -1.0);
    EXPECT_TRUE(target.modified);
}

TEST_F(CurveCopying, CopyDupShiftsTimesAndKeepsCurveFlag)
{
    target.copyDup(source, 2.5);
    expectCopiesOfSource(2.5);
    expectSourceModes();
    EXPECT_FALSE(target.curveFlag);
    EXPECT_EQ(target.defaultValue, -1.0);
    EXPECT_TRUE(target.modified);
}

TEST_F(CurveCopying, CopyRefsSharesTheSourceRecordsWithoutDeletingTheOldOnes)
{
    const std::vector<PointInfo*> old = target.controlPoints;
    target.copyRefs(source);
    EXPECT_EQ(target.controlPoints.size(), source.controlPoints.size());
    // Equal times: each shared record goes before the equal one already in.
    EXPECT_EQ(target.controlPoints, (std::vector<PointInfo*>{
                                        source.controlPoints[0], source.controlPoints[2],
                                        source.controlPoints[1], source.controlPoints[3]}));
    expectSourceModes();
    EXPECT_FALSE(target.curveFlag);
    EXPECT_EQ(target.defaultValue, -1.0);
    EXPECT_TRUE(target.modified);
    expectSourceUnchanged();

    EXPECT_EQ(old[0]->value, 100.5);  // still alive: the target only forgot them
    for (PointInfo* record : old)
        delete record;
    target.reset();  // the source deletes the shared records
}

TEST_F(CurveCopying, CopySelectedCopiesTheNamedSourcePointsOnce)
{
    const std::vector<PointInfo*>& from = source.controlPoints;
    PointInfo foreign = distinctPoint(1.0, 99.0);
    const std::vector<const PointInfo*> selection = {from[3], target.controlPoints[0], &foreign,
                                                     from[1], from[3], nullptr};
    target.copySelected(source, selection);
    ASSERT_EQ(target.controlPoints.size(), 2u);
    expectFields(*target.controlPoints[0], *from[1]);
    expectFields(*target.controlPoints[1], *from[3]);
    EXPECT_NE(target.controlPoints[0], from[1]);
    expectSourceModes();
    EXPECT_FALSE(target.curveFlag);
    EXPECT_EQ(target.defaultValue, -1.0);
    EXPECT_TRUE(target.modified);
    expectSourceUnchanged();
}

TEST_F(CurveCopying, CopySelectedWithAnEmptySelectionStillTakesTheModes)
{
    target.copySelected(source, {});
    EXPECT_TRUE(target.controlPoints.empty());
    expectSourceModes();
    EXPECT_TRUE(target.modified);
}

TEST_F(CurveCopying, CombineAddsShiftedCopiesAndReturnsThemInSourceOrder)
{
    const std::vector<PointInfo*> old = target.controlPoints;
    const std::vector<const PointInfo*> added = target.combine(source, 1.0);
    // Source 0, 1, 1, 3 arrive at 1, 2, 2, 4; each goes before equal times.
    ASSERT_EQ(added.size(), 4u);
    for (std::size_t i = 0; i < added.size(); ++i)
        expectFields(*added[i], *source.controlPoints[i], source.controlPoints[i]->time + 1.0);
    EXPECT_EQ(target.controlPoints,
              (std::vector<PointInfo*>{old[0], const_cast<PointInfo*>(added[0]),
                                       const_cast<PointInfo*>(added[2]),
                                       const_cast<PointInfo*>(added[1]), old[1],
                                       const_cast<PointInfo*>(added[3])}));
    expectOwnModes();
    EXPECT_FALSE(target.curveFlag);
    EXPECT_EQ(target.defaultValue, -1.0);
    EXPECT_TRUE(target.modified);
    expectSourceUnchanged();
}

TEST_F(CurveCopying, CombineOfAnEmptySourceStillSetsModified)
{
    SplineBase empty;
    empty.preExtrapolation = kv_spline::EXTRAPOLATE_LINEAR;
    EXPECT_TRUE(target.combine(empty, 1.0).empty());
    EXPECT_EQ(timesOf(target), (std::vector<double>{0.5, 2}));
    expectOwnModes();
    EXPECT_TRUE(target.modified);
}

// ---------------------------------------------------------------- self

TEST_F(CurveCopying, CopyOfItselfKeepsEquivalentNewRecords)
{
    SplineBase twin;
    twin.copy(source);  // what a copy from a separate curve gives
    source.copy(source);
    ASSERT_EQ(source.controlPoints.size(), twin.controlPoints.size());
    for (std::size_t i = 0; i < twin.controlPoints.size(); ++i)
        expectFields(*source.controlPoints[i], *twin.controlPoints[i]);
    EXPECT_TRUE(source.curveFlag);
    EXPECT_EQ(source.preExtrapolation, kv_spline::EXTRAPOLATE_ZERO);
    EXPECT_TRUE(source.modified);
}

TEST_F(CurveCopying, CopyDupOfItselfShiftsThePoints)
{
    SplineBase twin;
    twin.copyDup(source, -3.0);
    source.copyDup(source, -3.0);
    ASSERT_EQ(source.controlPoints.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i)
        expectFields(*source.controlPoints[i], *twin.controlPoints[i]);
    EXPECT_EQ(timesOf(source), (std::vector<double>{-3, -2, -2, 0}));
    EXPECT_TRUE(source.modified);
}

TEST_F(CurveCopying, CombineWithItselfAddsOneShiftedDuplicatePerPoint)
{
    const std::vector<PointInfo*> before = source.controlPoints;
    const std::vector<const PointInfo*> added = source.combine(source, 0.0);
    ASSERT_EQ(added.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i)
        expectFields(*added[i], *before[i]);
    EXPECT_EQ(timesOf(source), (std::vector<double>{0, 0, 1, 1, 1, 1, 3, 3}));
    EXPECT_EQ(source.controlPoints[0], added[0]);  // a copy goes before its equal original
    EXPECT_EQ(source.controlPoints[1], before[0]);
    EXPECT_TRUE(source.modified);
}

TEST_F(CurveCopying, CopyRefsOfItselfChangesNothing)
{
    const std::vector<PointInfo*> before = source.controlPoints;
    source.copyRefs(source);
    EXPECT_EQ(source.controlPoints, before);
    EXPECT_EQ(source.preExtrapolation, kv_spline::EXTRAPOLATE_ZERO);
    EXPECT_EQ(source.postExtrapolation, kv_spline::EXTRAPOLATE_LINEAR);
    EXPECT_TRUE(source.curveFlag);
    EXPECT_TRUE(source.modified);
}

TEST_F(CurveCopying, CopySelectedOfItselfKeepsCopiesOfTheNamedPoints)
{
    const std::vector<PointInfo*> before = source.controlPoints;
    const PointInfo kept0 = *before[0];
    const PointInfo kept3 = *before[3];
    source.copySelected(source, {before[3], before[0], before[3]});
    ASSERT_EQ(source.controlPoints.size(), 2u);
    expectFields(*source.controlPoints[0], kept0);
    expectFields(*source.controlPoints[1], kept3);
    EXPECT_TRUE(source.modified);
}

}  // namespace
