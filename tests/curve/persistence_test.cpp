#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "curve/point_fields.h"
#include "kv_fileio.h"
#include "splinebase.h"

namespace {

using point_fields::distinctPoint;
using point_fields::expectFields;
using point_fields::timesOf;
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

// A tmpfile() holding `bytes`, rewound.
FILE* scratch(const Bytes& bytes = {})
{
    FILE* file = std::tmpfile();
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::rewind(file);
    return file;
}

Bytes contentsOf(FILE* file)
{
    std::rewind(file);
    Bytes bytes;
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file))
        bytes.push_back(static_cast<unsigned char>(c));
    return bytes;
}

// A curve whose fields differ from the defaults and from what the loads below read.
void makeNonDefault(SplineBase& curve)
{
    curve.addPoint(distinctPoint(42.0, 42.0));
    curve.preExtrapolation = 2;
    curve.postExtrapolation = 0;
    curve.defaultValue = 4.5;
    curve.curveFlag = true;
    curve.modified = false;
}

std::string textRecord(const std::string& time, const std::string& value, const std::string& flagItem = "0")
{
    return value + "\n" + time + "\n0\n0\n0\n0\n0\n0\n0\n1\n" + flagItem + "\n";
}

TEST(CurveText, SaveAndLoadItemsInTheirOrder)
{
    SplineBase curve;
    curve.addPoint(PointInfo{0.0, 0.5, {}, {}, kv_spline::BEZIER, false});
    EXPECT_EQ(textOf(curve), "1\n1\n1\n0.5\n0\n0\n0\n0\n0\n0\n0\n0\n1\n0\n");
    FILE* file = scratch();
    curve.save(file);
    Bytes expected = {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xE0, 0x3F};  // count, 0.5
    expected.insert(expected.end(), 8 * 8, 0x00);                 // time .. rightSlope
    for (unsigned char item : {1, 0, 1, 1})                       // type, flag, pre, post
        expected.insert(expected.end(), {item, 0, 0, 0});
    expected.push_back(0x00);  // curveFlag
    EXPECT_EQ(contentsOf(file), expected);
    std::fclose(file);
    curve.removeAllControlPoints();
    curve.preExtrapolation = 0;
    curve.postExtrapolation = 4;
    EXPECT_EQ(textOf(curve), "0\n0\n4\n");

    const auto loaded = loadText("1 3 4  10 2 3 4 5 6 7 8 9 2 1");  // any whitespace separates
    EXPECT_EQ(std::vector<int>({loaded->preExtrapolation, loaded->postExtrapolation}), std::vector<int>({3, 4}));
    ASSERT_EQ(loaded->controlPoints.size(), 1u);
    expectFields(*loaded->controlPoints[0], {2, 10, {8, 9}, {3, 4, 5, 7, 6}, kv_spline::TCB, true});
    for (int item : {2, 0, -1})  // the flag item loads true only when it is 1
        EXPECT_FALSE(loadText("1\n1\n1\n" + textRecord("0", "0.5", std::to_string(item)))->controlPoints.at(0)->flag);
}

TEST(CurveText, LoadSortsByTimeReversesEqualTimesAndKeepsSixDigits)
{
    const auto unsorted = loadText("3\n1\n1\n" + textRecord("2", "20") + textRecord("0", "0") + textRecord("1", "10"));
    EXPECT_EQ(point_fields::column(*unsorted, &PointInfo::value), (std::vector<double>{0, 10, 20}));
    const auto equal = loadText("2\n1\n1\n" + textRecord("1", "100") + textRecord("1", "200"));
    EXPECT_EQ(point_fields::column(*equal, &PointInfo::value), (std::vector<double>{200, 100}));
    EXPECT_EQ(point_fields::column(*loadText(textOf(*equal)), &PointInfo::value), (std::vector<double>{100, 200}));
    SplineBase thirds;
    thirds.addPoint(1.0 / 3.0, 2.0 / 3.0);
    EXPECT_EQ(timesOf(*loadText(textOf(thirds))), std::vector<double>{0.333333});
}

TEST(CurveLoad, IntoAnExistingCurveKeepsDefaultValueAndTextKeepsCurveFlag)
{
    SplineBase text, binary;
    makeNonDefault(text);
    makeNonDefault(binary);
    loadText("1\n0\n4\n" + textRecord("3", "30", "1"), &text);
    FILE* file = scratch();
    text.save(file);
    std::rewind(file);
    binary.load(file, 3027);
    std::fclose(file);
    for (const SplineBase* curve : {&text, &binary}) {
        EXPECT_EQ(timesOf(*curve), std::vector<double>{3});  // the old point is gone
        EXPECT_EQ(std::vector<int>({curve->preExtrapolation, curve->postExtrapolation}), std::vector<int>({0, 4}));
        EXPECT_EQ(curve->defaultValue, 4.5);
        EXPECT_TRUE(curve->curveFlag);  // kept in text, stored as true in binary
        EXPECT_TRUE(curve->modified);
    }
}

TEST(CurveBinary, LoadReadsTheLayoutOfEachVersion)
{
    const PointInfo later = distinctPoint(2.0, 1.0, false), earlier = distinctPoint(0.0, 2.0, false);
    for (unsigned int version : {0u, 3018u, 3019u, 3026u, 3027u, 5000u}) {
        SCOPED_TRACE(version);
        const bool hasFlagItem = version >= 3027, hasCurveFlag = version >= 3019;
        FILE* file = scratch({2, 0, 0, 0});
        std::fseek(file, 4, SEEK_SET);
        for (const auto& [p, ints] : {std::pair{later, std::vector<int>{later.type, 1}}, {earlier, {earlier.type, 2, 3, 4}}}) {
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
        std::rewind(file);
        SplineBase curve;
        makeNonDefault(curve);
        curve.curveFlag = !hasCurveFlag;  // only the right layout gives the expected flag
        curve.load(file, version);
        ASSERT_EQ(curve.controlPoints.size(), 2u);
        PointInfo expectedEarlier = earlier, expectedLater = later;
        expectedEarlier.flag = !hasFlagItem;  // item 2 is false; without the item every point is true
        expectedLater.flag = true;
        expectFields(*curve.controlPoints[0], expectedEarlier);
        expectFields(*curve.controlPoints[1], expectedLater);
        EXPECT_EQ(std::vector<int>({curve.preExtrapolation, curve.postExtrapolation}), std::vector<int>({3, 4}));
        EXPECT_EQ(curve.curveFlag, hasCurveFlag);
        EXPECT_EQ(std::fgetc(file), 0x5A);  // the load stopped exactly at the end of its layout
        std::fclose(file);
    }
}

TEST(CurveLoad, RoundTripsReproduceEveryFieldAndReverseEqualTimes)
{
    SplineBase curve;
    curve.preExtrapolation = -5;  // out-of-range codes are stored as they are
    curve.postExtrapolation = 9;
    curve.curveFlag = true;
    const std::vector<PointInfo> points = {
        distinctPoint(-0.0, 1.0 / 3.0, false, static_cast<kv_spline::interpolationType>(-9)),
        distinctPoint(0.1, -1e-300, true, kv_spline::STEP), distinctPoint(7.0, 1e300, true, kv_spline::LINEAR),
        distinctPoint(7.0, 5e-324, false)};
    for (auto it = points.rbegin(); it != points.rend(); ++it)
        curve.addPoint(*it);  // the two points at 7 stand as listed
    FILE* file = scratch();
    curve.save(file);
    std::rewind(file);
    SplineBase binary;
    binary.load(file, 3027);
    std::fclose(file);
    const auto text = loadText(textOf(curve, 17));
    for (const SplineBase* loaded : {&binary, text.get()}) {
        EXPECT_EQ(std::vector<int>({loaded->preExtrapolation, loaded->postExtrapolation}), std::vector<int>({-5, 9}));
        ASSERT_EQ(loaded->controlPoints.size(), 4u);
        const std::size_t order[] = {0, 1, 3, 2};  // equal times come back reversed
        for (std::size_t i = 0; i < 4; ++i)
            expectFields(*loaded->controlPoints[i], points[order[i]]);
    }
}

// A cut or unreadable load keeps the points and modes read completely and
// the fields it never reached.
TEST(CurveLoad, StopsAtTheFirstFailedReadKeepingCompletedPoints)
{
    SplineBase two, curve;
    two.addPoint(distinctPoint(1.0, 1.0));
    two.addPoint(distinctPoint(2.0, 2.0));
    FILE* file = scratch();
    two.save(file);
    Bytes bytes = contentsOf(file);
    std::fclose(file);
    bytes.resize(4 + 80 + 70);  // into the second record
    file = scratch(bytes);
    makeNonDefault(curve);
    curve.load(file, 3027);
    std::fclose(file);
    ASSERT_EQ(curve.controlPoints.size(), 1u);
    expectFields(*curve.controlPoints[0], *two.controlPoints[0]);
    EXPECT_EQ(std::vector<int>({curve.preExtrapolation, curve.postExtrapolation}), std::vector<int>({2, 0}));
    EXPECT_TRUE(curve.curveFlag);
    // Four billion points announced: a load that trusted the count for
    // allocation would need gigabytes.
    loadText("4000000000\n1\n3\n" + textRecord("5", "50") + "0.5\nabc\n" + textRecord("6", "60"), &curve);
    EXPECT_EQ(timesOf(curve), std::vector<double>{5});
    EXPECT_EQ(std::vector<int>({curve.preExtrapolation, curve.postExtrapolation}), std::vector<int>({1, 3}));
}

}  // namespace
