#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "curve/point_fields.h"
#include "kv_fileio.h"
#include "splinebase.h"

namespace {

using point_fields::distinctPoint;
using point_fields::expectFields;
using Bytes = std::vector<unsigned char>;

// A file in the test's temporary directory, removed at the end.
struct TempPath {
    TempPath() : path(testing::TempDir() + "curveXXXXXX") { close(mkstemp(&path[0])); }
    ~TempPath() { std::remove(path.c_str()); }
    std::string path;
};

std::string textOf(SplineBase& curve, int precision = 6)
{
    TempPath path;
    std::ofstream out(path.path);
    out.precision(precision);
    SplineBase::save(curve, out);
    std::ifstream in(path.path, std::ios::binary);  // while `out` is open: every line is flushed
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Loads `text` into `target`, or into a new curve when `target` is null.
std::unique_ptr<SplineBase> loadText(const std::string& text, SplineBase* target = nullptr)
{
    TempPath path;
    std::ofstream(path.path, std::ios::binary) << text;
    std::ifstream in(path.path);
    if (target == nullptr)
        return std::unique_ptr<SplineBase>(SplineBase::load(in));
    SplineBase::load(target, in);
    return nullptr;
}

// Everything in `file`, which is closed.
Bytes contentsOf(FILE* file)
{
    std::rewind(file);
    Bytes bytes;
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file))
        bytes.push_back(static_cast<unsigned char>(c));
    std::fclose(file);
    return bytes;
}

Bytes binaryOf(SplineBase& curve)
{
    FILE* file = std::tmpfile();
    curve.save(file);
    return contentsOf(file);
}

// Loads the first `length` of `bytes` into `curve`; returns the byte after what the load read.
int loadBinary(SplineBase& curve, const Bytes& bytes, unsigned int version, std::size_t length = SIZE_MAX)
{
    FILE* file = std::tmpfile();
    std::fwrite(bytes.data(), 1, std::min(length, bytes.size()), file);
    std::rewind(file);
    curve.load(file, version);
    const int next = std::fgetc(file);
    std::fclose(file);
    return next;
}

std::pair<int, int> modesOf(const SplineBase& curve)
{
    return {curve.preExtrapolation, curve.postExtrapolation};
}

// A curve whose fields differ from the defaults and from what the loads below read.
void makeNonDefault(SplineBase& curve, bool curveFlag)
{
    curve.addPoint(distinctPoint(42.0, 42.0));
    std::tie(curve.preExtrapolation, curve.postExtrapolation, curve.defaultValue, curve.curveFlag,
             curve.modified) = std::make_tuple(2, 0, 4.5, curveFlag, false);
}

std::string textRecord(const std::string& time, const std::string& value, const std::string& flagItem = "0")
{
    return value + "\n" + time + "\n0\n0\n0\n0\n0\n0\n0\n1\n" + flagItem + "\n";
}

TEST(CurvePersistence, SaveAndLoadItemsInTheirOrder)
{
    SplineBase curve;
    curve.addPoint(PointInfo{0.0, 0.5, {}, {}, kv_spline::BEZIER, false});
    EXPECT_EQ(textOf(curve), "1\n1\n1\n0.5\n0\n0\n0\n0\n0\n0\n0\n0\n1\n0\n");
    Bytes expected = {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xE0, 0x3F};  // count, 0.5
    expected.insert(expected.end(), 8 * 8, 0x00);                 // time .. rightSlope
    for (unsigned char item : {1, 0, 1, 1})                       // type, flag, pre, post
        expected.insert(expected.end(), {item, 0, 0, 0});
    expected.push_back(0x00);  // curveFlag
    EXPECT_EQ(binaryOf(curve), expected);
    curve.removeAllControlPoints();
    std::tie(curve.preExtrapolation, curve.postExtrapolation) = std::make_pair(0, 4);
    EXPECT_EQ(textOf(curve), "0\n0\n4\n");

    const auto loaded = loadText("1 3 4  10 2 3 4 5 6 7 8 9 2 1");  // any whitespace separates
    EXPECT_EQ(modesOf(*loaded), std::make_pair(3, 4));
    ASSERT_EQ(loaded->controlPoints.size(), 1u);
    expectFields(*loaded->controlPoints[0], {2, 10, {8, 9}, {3, 4, 5, 7, 6}, kv_spline::TCB, true});
    for (int item : {2, 0, -1})  // the flag item loads true only when it is 1
        EXPECT_FALSE(
            loadText("1\n1\n1\n" + textRecord("0", "0.5", std::to_string(item)))->controlPoints.at(0)->flag);
}

TEST(CurvePersistence, BinaryLoadReadsTheLayoutOfEachVersion)
{
    const PointInfo later = distinctPoint(2.0, 1.0, false), earlier = distinctPoint(0.0, 2.0, false);
    for (unsigned int version : {0u, 3018u, 3019u, 3026u, 3027u, 5000u}) {
        SCOPED_TRACE(version);
        const bool hasFlagItem = version >= 3027, hasCurveFlag = version >= 3019;
        FILE* file = std::tmpfile();
        unsigned int count = 2;
        corvane::WriteUInt(&count, 1, file);
        for (const auto& [p, ints] :
             {std::pair{later, std::vector<int>{later.type, 1}}, {earlier, {earlier.type, 2, 3, 4}}}) {
            for (double item : {p.value, p.time, p.tcb.tension, p.tcb.continuity, p.tcb.bias, p.tcb.easeTo,
                                p.tcb.easeFrom, p.bezier.leftSlope, p.bezier.rightSlope})
                corvane::WriteDouble(&item, 1, file);
            std::vector<int> written = ints;  // type, the flag item, then the modes after the last record
            if (!hasFlagItem)
                written.erase(written.begin() + 1);
            corvane::WriteInt(written.data(), written.size(), file);
        }
        bool curveFlag = true;
        if (hasCurveFlag)
            corvane::WriteBool(&curveFlag, 1, file);
        std::fputc(0x5A, file);
        SplineBase curve;
        makeNonDefault(curve, !hasCurveFlag);  // only the right layout gives the expected flag
        EXPECT_EQ(loadBinary(curve, contentsOf(file), version), 0x5A);  // stopped at the end of its layout
        ASSERT_EQ(curve.controlPoints.size(), 2u);
        // Without the item the flag reads as true.
        expectFields(*curve.controlPoints[0], distinctPoint(0.0, 2.0, !hasFlagItem));
        expectFields(*curve.controlPoints[1], distinctPoint(2.0, 1.0, true));
        EXPECT_EQ(modesOf(curve), std::make_pair(3, 4));
        EXPECT_EQ(curve.curveFlag, hasCurveFlag);
    }
}

// Loaded into existing curves, which keep their defaultValue and, in text,
// their curveFlag.
TEST(CurvePersistence, RoundTripsReproduceEveryFieldAndReverseEqualTimes)
{
    SplineBase curve, binary, text;
    std::tie(curve.preExtrapolation, curve.postExtrapolation, curve.curveFlag) = std::make_tuple(-5, 9, true);
    const std::vector<PointInfo> points = {
        distinctPoint(-0.0, 1.0 / 3.0, false, static_cast<kv_spline::interpolationType>(-9)),
        distinctPoint(0.1, -1e-300, true, kv_spline::STEP),
        distinctPoint(7.0, 1e300, true, kv_spline::LINEAR), distinctPoint(7.0, 5e-324, false)};
    for (auto it = points.rbegin(); it != points.rend(); ++it)
        curve.addPoint(*it);  // the two points at 7 stand as listed
    makeNonDefault(binary, false);
    loadBinary(binary, binaryOf(curve), 3027);
    makeNonDefault(text, false);
    loadText(textOf(curve, 17), &text);
    EXPECT_TRUE(binary.curveFlag);
    EXPECT_FALSE(text.curveFlag);
    for (const SplineBase* loaded : {&binary, &text}) {
        EXPECT_EQ(modesOf(*loaded), std::make_pair(-5, 9));
        EXPECT_EQ(loaded->defaultValue, 4.5);
        EXPECT_TRUE(loaded->modified);
        ASSERT_EQ(loaded->controlPoints.size(), 4u);
        const std::size_t order[] = {0, 1, 3, 2};  // equal times come back reversed
        for (std::size_t i = 0; i < 4; ++i)
            expectFields(*loaded->controlPoints[i], points[order[i]]);
    }
}

// A cut or unreadable load keeps the points and modes read completely and
// the fields it never reached.
TEST(CurvePersistence, LoadStopsAtTheFirstFailedReadKeepingCompletedPoints)
{
    SplineBase two, curve;
    for (double time : {1.0, 2.0})
        two.addPoint(distinctPoint(time, time));
    makeNonDefault(curve, true);
    loadBinary(curve, binaryOf(two), 3027, 4 + 80 + 70);  // into the second record
    ASSERT_EQ(curve.controlPoints.size(), 1u);
    expectFields(*curve.controlPoints[0], *two.controlPoints[0]);
    EXPECT_EQ(modesOf(curve), std::make_pair(2, 0));
    EXPECT_TRUE(curve.curveFlag);
    // Four billion points announced: a load that trusted the count for
    // allocation would need gigabytes.
    loadText("4000000000\n1\n3\n" + textRecord("5", "50") + "0.5\nabc\n" + textRecord("6", "60"), &curve);
    EXPECT_EQ(point_fields::timesOf(curve), std::vector<double>{5});
    EXPECT_EQ(modesOf(curve), std::make_pair(1, 3));
}

}  // namespace
