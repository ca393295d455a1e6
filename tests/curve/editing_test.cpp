#include <gtest/gtest.h>

#include <limits>
#include <tuple>
#include <utility>
#include <vector>

#include "curve/point_fields.h"
#include "splinebase.h"

namespace {

using point_fields::curveOf;
using point_fields::timesOf;
using kv_spline::BEZIER;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(CurveEditing, InsertionKeepsTimeOrderAndReportsTheIndex)
{
    SplineBase curve;
    for (double time : {2, 1, 3})
        curve.addPoint(time, time * 10, PointInfo::TcbData{0.1, 0.2, 0.3, 0.4, 0.5});
    point_fields::expectFields(*curve.controlPoints[0],
                               {1, 10, {0, 0}, {0.1, 0.2, 0.3, 0.4, 0.5}, kv_spline::BEZIER, false});
    EXPECT_FALSE(curve.isTCBInterpolation(0));
    EXPECT_EQ(curve.addPoint(new PointInfo{5, 0, {}, {}, kv_spline::STEP, false}), 3u);
    EXPECT_EQ(curve.addPoint(new PointInfo{0, 0, {}, {}, kv_spline::BEZIER, false}), 0u);
    EXPECT_TRUE(curve.isStepInterpolation(4));
    PointInfo* second = curve.addPointPtr(new PointInfo{2, -1, {}, {}, kv_spline::BEZIER, false});
    EXPECT_EQ(curve.controlPoints[2], second);  // in front of the older point at 2
    curve.addPoint(nan, 0.0);                   // a NaN time lands at the front, and nothing passes it
    curve.addPoint(4.0, 40.0);
    EXPECT_EQ(timesOf(curve)[0], 4.0);
}

TEST(CurveEditing, Lookups)
{
    const auto curve = curveOf({{0, 0, BEZIER}, {1, 10, BEZIER}, {2, 20, BEZIER}});
    const struct {
        const char* name;
        double t;
        unsigned int index;
        bool interior;
    } cases[] = {
        {"before the curve", -1, 0, false},
        {"the first point's own time", 0, 0, false},
        {"inside the first segment", 0.5, 1, true},
        {"an inner point's own time", 1, 1, true},
        {"inside the last segment", 1.5, 2, true},
        {"the last point's own time", 2, 2, true},
        {"after the curve", 2.5, 3, false},
        {"a NaN time", nan, 2, true},
    };
    for (const auto& c : cases)
        EXPECT_EQ(std::make_pair(curve->findIndex(c.t), curve->isInterior(c.t)),
                  std::make_pair(c.index, c.interior))
            << c.name;
    const auto single = curveOf({{1, 1, BEZIER}});
    EXPECT_EQ(std::make_pair(single->findIndex(1.0), single->isInterior(1.0)), std::make_pair(0u, false));
    const auto halves = curveOf({{0.5, 0, BEZIER}, {1.5, 0, BEZIER}});
    EXPECT_EQ(halves->findBy(1.0, 0.75), halves->controlPoints[0]);  // a tie: the earlier wins
    EXPECT_EQ(halves->findBy(1.0, 0.5), nullptr);                   // strictly closer only
    const auto& p = curve->controlPoints;
    EXPECT_EQ((std::vector<const PointInfo*>{curve->getNext(1.0), curve->getNext(2.0), curve->getPrev(1.0),
                                             curve->getPrev(1.0 + 1e-6), curve->getPrev(1.0 + 1e-8),
                                             curve->getPrev(0.0)}),
              (std::vector<const PointInfo*>{p[2], nullptr, p[0], p[1], p[0], nullptr}));
}

TEST(CurveEditing, RetimingRetypingAndRemoval)
{
    const auto curve = curveOf({{0, 0, BEZIER}, {1, 10, BEZIER}, {2, 20, BEZIER}},
                               kv_spline::EXTRAPOLATE_ZERO, kv_spline::EXTRAPOLATE_CYCLE_OFFSET);
    PointInfo* moved = curve->controlPoints[0];
    curve->setTime(moved, 1.5);
    EXPECT_EQ(timesOf(*curve), (std::vector<double>{1, 1.5, 2}));
    curve->setTime(moved, 1.0);
    EXPECT_EQ(curve->controlPoints[0], moved);
    PointInfo* peer = curve->controlPoints[1];  // re-inserted in front of its equal
    curve->setType(peer, kv_spline::LINEAR);
    EXPECT_TRUE(curve->isLinearInterpolation(0));
    curve->remove(peer);
    curve->remove(nullptr);
    EXPECT_EQ(timesOf(*curve), (std::vector<double>{1, 2}));
    delete peer;  // the caller's now: the sanitizer build sees it deleted once
    const std::vector<PointInfo*> forgotten = curve->controlPoints;
    curve->reset();
    EXPECT_EQ(std::make_tuple(curve->controlPoints.size(), curve->preExtrapolation, curve->postExtrapolation),
              std::make_tuple(std::size_t{0}, 1, 1));
    for (PointInfo* record : forgotten)
        curve->addPointPtr(record);  // alive, and owned again: the curve deletes them
    EXPECT_DEBUG_DEATH(SplineBase().remove(nullptr), "controlPoints.size\\(\\) > 0");
}

}  // namespace
