#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "curve/point_fields.h"
#include "splinebase.h"

namespace {

using point_fields::distinctPoint;

// Source: points at 0, 1, 1, 3 (the two at 1 listed seed 21 then 20), modes
// 0 and 4, curveFlag true, defaultValue 7. Target: points at 0.5 and 2,
// modes 2 and 3, curveFlag false, defaultValue -1.
class CurveCopying : public testing::Test {
protected:
    CurveCopying()
    {
        for (const PointInfo& point :
             {distinctPoint(3.0, 30.0, true, kv_spline::STEP), distinctPoint(1.0, 20.0, false),
              distinctPoint(1.0, 21.0, true, kv_spline::LINEAR), distinctPoint(0.0, 0.0, false)})
            source.addPoint(point);  // each goes before the equal time already there
        setState(source, {0, 4, true, 7.0, false});
        for (double time : {0.5, 2.0})
            target.addPoint(distinctPoint(time, time * 100.0));
        setState(target, {2, 3, false, -1.0, false});
        original = source.controlPoints;
        for (const PointInfo* point : original)
            sourceCopy.push_back(*point);
    }
    using State = std::tuple<int, int, bool, double, bool>;  // modes, curveFlag, defaultValue, modified
    static State state(const SplineBase& c)
    {
        return {c.preExtrapolation, c.postExtrapolation, c.curveFlag, c.defaultValue, c.modified};
    }
    static void setState(SplineBase& c, const State& s)
    {
        std::tie(c.preExtrapolation, c.postExtrapolation, c.curveFlag, c.defaultValue, c.modified) = s;
    }
    // `curve` lists copies of the source points at `indices`, shifted by
    // `offset`, has the given modes, curveFlag and defaultValue, and is modified.
    void expectCurve(const SplineBase& curve, const std::vector<std::size_t>& indices, double offset,
                     int pre, int post, bool curveFlag, double defaultValue) const
    {
        ASSERT_EQ(curve.controlPoints.size(), indices.size());
        for (std::size_t i = 0; i < indices.size(); ++i)
            point_fields::expectFields(*curve.controlPoints[i], sourceCopy[indices[i]],
                                       sourceCopy[indices[i]].time + offset);
        EXPECT_EQ(state(curve), State(pre, post, curveFlag, defaultValue, true));
    }

    SplineBase source, target;
    std::vector<PointInfo*> original;
    std::vector<PointInfo> sourceCopy;
};

TEST_F(CurveCopying, CopyCopyDupAndCopySelectedMakeNewRecords)
{
    PointInfo foreign = distinctPoint(1.0, 99.0);
    target.copySelected(source,
                        {original[3], target.controlPoints[0], &foreign, original[1], original[3], nullptr});
    expectCurve(target, {1, 3}, 0.0, 0, 4, false, -1.0);
    EXPECT_NE(target.controlPoints[0], original[1]);
    target.copySelected(source, {});
    EXPECT_TRUE(target.controlPoints.empty());
    target.copyDup(source, 2.5);
    expectCurve(target, {0, 2, 1, 3}, 2.5, 0, 4, false, -1.0);  // equal times arrive reversed
    target.copy(source);
    expectCurve(target, {0, 2, 1, 3}, 0.0, 0, 4, true, -1.0);
    EXPECT_NE(target.controlPoints[0], original[0]);
    EXPECT_FALSE(source.modified);
    SplineBase empty;
    std::tie(empty.curveFlag, empty.preExtrapolation) = std::make_tuple(true, 4);
    target.copy(empty);
    expectCurve(target, {}, 0.0, 4, 1, true, -1.0);
    source.copyDup(source, -3.0);  // a copy of itself reads the points as they were
    expectCurve(source, {0, 2, 1, 3}, -3.0, 0, 4, true, 7.0);
    source.copy(source);
    expectCurve(source, {0, 1, 2, 3}, -3.0, 0, 4, true, 7.0);
    const std::vector<PointInfo*>& copied = source.controlPoints;
    source.copySelected(source, {copied[3], copied[0], copied[3]});
    expectCurve(source, {0, 3}, -3.0, 0, 4, true, 7.0);
}

TEST_F(CurveCopying, CombineAddsShiftedCopiesInSourceOrderAndCopyRefsSharesTheRecords)
{
    const std::vector<PointInfo*> old = target.controlPoints;
    const std::vector<const PointInfo*> added = target.combine(source, 1.0);
    ASSERT_EQ(added.size(), 4u);
    for (std::size_t i = 0; i < added.size(); ++i)
        point_fields::expectFields(*added[i], sourceCopy[i], sourceCopy[i].time + 1.0);
    // Source 0, 1, 1, 3 arrive at 1, 2, 2, 4; each goes before equal times.
    EXPECT_EQ(std::vector<const PointInfo*>(target.controlPoints.begin(), target.controlPoints.end()),
              (std::vector<const PointInfo*>{old[0], added[0], added[2], added[1], old[1], added[3]}));
    target.modified = false;
    EXPECT_TRUE(target.combine(SplineBase(), 1.0).empty());
    EXPECT_EQ(target.controlPoints.size(), 6u);
    EXPECT_TRUE(target.modified);

    const std::vector<PointInfo*> held = target.controlPoints;
    target.copyRefs(source);
    EXPECT_EQ(target.controlPoints,
              (std::vector<PointInfo*>{original[0], original[2], original[1], original[3]}));
    expectCurve(target, {0, 2, 1, 3}, 0.0, 0, 4, false, -1.0);
    for (PointInfo* record : held)
        delete record;  // still alive: the target only forgot them
    target.reset();     // the source deletes the shared records
    source.copyRefs(source);
    EXPECT_EQ(source.controlPoints, original);
    const std::vector<const PointInfo*> doubled = source.combine(source, 0.0);
    EXPECT_EQ(point_fields::timesOf(source), (std::vector<double>{0, 0, 1, 1, 1, 1, 3, 3}));
    EXPECT_EQ(source.controlPoints[0], doubled.at(0));  // a copy goes before its equal original
    EXPECT_EQ(source.controlPoints[1], original[0]);
}

}  // namespace
