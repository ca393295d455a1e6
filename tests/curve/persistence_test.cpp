#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
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
using point_fields::valuesOf;
using Bytes = std::vector<unsigned char>;

// A file in the test's temporary directory, removed at the end.
struct TempPath {
    TempPath() : path(testing::TempDir() + "curveXXXXXX") { close(mkstemp(&path[0])); }
    ~TempPath() { std::remove(path.c_str()); }
    std::string path;
};

// A tmpfile() holding `bytes`, rewound, closed at the end.
struct ScratchFile {
    explicit ScratchFile(const Bytes& bytes = {}) : file(std::tmpfile())
    {
        if (!bytes.empty())  // fwrite must not see the null data() of an empty vector
            std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::rewind(file);
    }
    ~ScratchFile() { std::fclose(file); }
    Bytes contents() const
    {
        std::rewind(file);
        Bytes bytes;
        for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file))
            bytes.push_back(static_cast<unsigned char>(c));
        std::rewind(file);
        return bytes;
    }
    // Items 1 to 10 of a record (value first, easeTo before easeFrom), then
    // `ints` (the flag item and whatever follows).
    void record(PointInfo p, std::vector<int> ints) const
    {
        for (double item : {p.value, p.time, p.tcb.tension, p.tcb.continuity, p.tcb.bias,
                            p.tcb.easeTo, p.tcb.easeFrom, p.bezier.leftSlope, p.bezier.rightSlope})
            corvane::WriteDouble(&item, 1, file);
        ints.insert(ints.begin(), p.type);
        corvane::WriteInt(ints.data(), ints.size(), file);
    }
    FILE* file;
};

constexpr std::size_t recordBytes = 9 * 8 + 2 * 4;
const PointInfo examplePoint{0.0, 0.5, {}, {}, kv_spline::BEZIER, false};

std::string textOf(SplineBase& curve, int precision = 6)
{
    TempPath path;
    std::ofstream out(path.path);
    out.precision(precision);
    SplineBase::save(curve, out);
    std::ifstream in(path.path, std::ios::binary);  // while `out` is open: every line is flushed
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Loads `text` into `target`, or into a new curve when `target` is null;
// returns the new curve and whether the stream failed.
std::pair<std::unique_ptr<SplineBase>, bool> loadText(const std::string& text, SplineBase* target = nullptr)
{
    TempPath path;
    std::ofstream(path.path, std::ios::binary) << text;
    std::ifstream in(path.path);
    std::unique_ptr<SplineBase> loaded(target == nullptr ? SplineBase::load(in) : nullptr);
    if (target != nullptr)
        SplineBase::load(target, in);
    return {std::move(loaded), in.fail()};
}

// A curve whose fields differ from the defaults and from what the loads below read.
void makeNonDefault(SplineBase& curve)
{
    curve.addPoint(distinctPoint(42.0, 42.0));
    curve.preExtrapolation = kv_spline::EXTRAPOLATE_CYCLE;
    curve.postExtrapolation = kv_spline::EXTRAPOLATE_ZERO;
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
    curve.addPoint(examplePoint);
    EXPECT_EQ(textOf(curve), "1\n1\n1\n" + textRecord("0", "0.5"));
    curve.removeAllControlPoints();
    curve.preExtrapolation = kv_spline::EXTRAPOLATE_ZERO;
    curve.postExtrapolation = kv_spline::EXTRAPOLATE_LINEAR;
    EXPECT_EQ(textOf(curve), "0\n0\n4\n");

    const auto loaded = loadText("1 3 4  10 2 3 4 5 6 7 8 9 2 1").first;  // any whitespace separates
    EXPECT_EQ(loaded->preExtrapolation, 3);
    EXPECT_EQ(loaded->postExtrapolation, 4);
    EXPECT_EQ(loaded->defaultValue, 0.0);
    EXPECT_FALSE(loaded->curveFlag);
    EXPECT_TRUE(loaded->modified);
    ASSERT_EQ(loaded->controlPoints.size(), 1u);
    expectFields(*loaded->controlPoints[0], {2, 10, {8, 9}, {3, 4, 5, 7, 6}, kv_spline::TCB, true});
}

TEST(CurveText, LoadSortsByTimeAndReversesEqualTimes)
{
    const auto unsorted =
        loadText("3\n1\n1\n" + textRecord("2", "20") + textRecord("0", "0") + textRecord("1", "10")).first;
    EXPECT_EQ(timesOf(*unsorted), (std::vector<double>{0, 1, 2}));
    EXPECT_EQ(valuesOf(*unsorted), (std::vector<double>{0, 10, 20}));

    const auto equal = loadText("2\n1\n1\n" + textRecord("1", "100") + textRecord("1", "200")).first;
    EXPECT_EQ(valuesOf(*equal), (std::vector<double>{200, 100}));
    EXPECT_EQ(valuesOf(*loadText(textOf(*equal)).first), (std::vector<double>{100, 200}));

    SplineBase thirds;  // the stream's default precision keeps six digits
    thirds.addPoint(1.0 / 3.0, 2.0 / 3.0);
    const auto rounded = loadText(textOf(thirds)).first;
    EXPECT_EQ(timesOf(*rounded), std::vector<double>{0.333333});
    EXPECT_EQ(valuesOf(*rounded), std::vector<double>{0.666667});
}

TEST(CurveLoad, IntoAnExistingCurveKeepsDefaultValueAndTextKeepsCurveFlag)
{
    SplineBase text;
    makeNonDefault(text);
    EXPECT_FALSE(loadText("1\n0\n4\n" + textRecord("3", "30", "1"), &text).second);
    SplineBase binary;
    makeNonDefault(binary);
    ScratchFile file;
    text.save(file.file);
    std::rewind(file.file);
    binary.load(file.file, 3027);
    for (const SplineBase* curve : {&text, &binary}) {
        EXPECT_EQ(timesOf(*curve), std::vector<double>{3});  // the old point is gone
        EXPECT_EQ(curve->preExtrapolation, 0);
        EXPECT_EQ(curve->postExtrapolation, 4);
        EXPECT_EQ(curve->defaultValue, 4.5);
        EXPECT_TRUE(curve->curveFlag);  // kept in text, stored as true in binary
        EXPECT_TRUE(curve->modified);
    }
}

TEST(CurveText, FlagItemLoadsTrueOnlyWhenItIsOne)
{
    for (int item : {1, 2, 0, -1}) {
        const auto text = loadText("1\n1\n1\n" + textRecord("0", "0.5", std::to_string(item))).first;
        ASSERT_EQ(text->controlPoints.size(), 1u);
        EXPECT_EQ(text->controlPoints[0]->flag, item == 1) << item;
    }
}

TEST(CurveBinary, SaveWritesTheNewestLayout)
{
    SplineBase curve;
    curve.addPoint(examplePoint);
    ScratchFile file;
    curve.save(file.file);
    Bytes expected = {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xE0, 0x3F};  // count, 0.5
    expected.insert(expected.end(), 8 * 8, 0x00);                 // time .. rightSlope
    for (unsigned char item : {1, 0, 1, 1})                       // type, flag, pre, post
        expected.insert(expected.end(), {item, 0, 0, 0});
    expected.push_back(0x00);  // curveFlag
    EXPECT_EQ(file.contents(), expected);
}

TEST(CurveBinary, LoadReadsTheLayoutOfEachVersion)
{
    const PointInfo later = distinctPoint(2.0, 1.0, false), earlier = distinctPoint(0.0, 2.0, false);
    for (unsigned int version : {0u, 3018u, 3019u, 3026u, 3027u, 5000u}) {
        SCOPED_TRACE(version);
        const bool hasFlagItem = version >= 3027, hasCurveFlag = version >= 3019;
        ScratchFile file({2, 0, 0, 0});
        std::fseek(file.file, 4, SEEK_SET);
        file.record(later, hasFlagItem ? std::vector<int>{1} : std::vector<int>{});
        file.record(earlier, hasFlagItem ? std::vector<int>{2, 3, 4} : std::vector<int>{3, 4});  // then the modes
        bool curveFlag = true;
        if (hasCurveFlag)
            corvane::WriteBool(&curveFlag, 1, file.file);
        std::fputc(0x5A, file.file);
        std::rewind(file.file);

        SplineBase curve;
        makeNonDefault(curve);
        curve.curveFlag = !hasCurveFlag;  // only the right layout gives the expected flag
        curve.load(file.file, version);
        ASSERT_EQ(curve.controlPoints.size(), 2u);
        PointInfo expectedEarlier = earlier, expectedLater = later;
        expectedEarlier.flag = !hasFlagItem;  // item 2 is false; without the item every point is true
        expectedLater.flag = true;
        expectFields(*curve.controlPoints[0], expectedEarlier);
        expectFields(*curve.controlPoints[1], expectedLater);
        EXPECT_EQ(curve.preExtrapolation, 3);
        EXPECT_EQ(curve.postExtrapolation, 4);
        EXPECT_EQ(curve.curveFlag, hasCurveFlag);
        EXPECT_EQ(curve.defaultValue, 4.5);
        EXPECT_TRUE(curve.modified);
        EXPECT_EQ(std::fgetc(file.file), 0x5A);  // the load stopped exactly at the end of its layout
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
        distinctPoint(0.1, -1e-300, true, kv_spline::STEP), distinctPoint(2.0 / 3.0, 5e-324, false),
        distinctPoint(7.0, 1e300, true, kv_spline::LINEAR), distinctPoint(7.0, 6.0, false)};
    for (auto it = points.rbegin(); it != points.rend(); ++it)
        curve.addPoint(*it);  // the two points at 7 stand as listed

    ScratchFile file;
    curve.save(file.file);
    std::rewind(file.file);
    SplineBase binary;
    binary.load(file.file, 3027);
    EXPECT_TRUE(binary.curveFlag);
    const auto text = loadText(textOf(curve, 17)).first;
    for (const SplineBase* loaded : {&binary, text.get()}) {
        EXPECT_EQ(loaded->preExtrapolation, -5);
        EXPECT_EQ(loaded->postExtrapolation, 9);
        ASSERT_EQ(loaded->controlPoints.size(), 5u);
        for (std::size_t i : {0, 1, 2})
            expectFields(*loaded->controlPoints[i], points[i]);
        expectFields(*loaded->controlPoints[3], points[4]);  // equal times come back reversed
        expectFields(*loaded->controlPoints[4], points[3]);
    }
}

// Cut anywhere, a load keeps the points and modes read completely and the
// fields it never reached.
TEST(CurveLoad, StopsAtTheFirstFailedReadKeepingCompletedPoints)
{
    SplineBase three;
    for (double time : {0.0, 1.0, 2.0})
        three.addPoint(distinctPoint(time, time));
    three.preExtrapolation = 3;
    three.postExtrapolation = 4;
    ScratchFile saved;
    three.save(saved.file);
    const Bytes full = saved.contents();
    const std::size_t modesAt = 4 + 3 * recordBytes;
    ASSERT_EQ(full.size(), modesAt + 9);
    for (std::size_t cut = 0; cut <= full.size(); ++cut) {
        SCOPED_TRACE(cut);
        ScratchFile file(Bytes(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(cut)));
        SplineBase curve;
        makeNonDefault(curve);
        curve.load(file.file, 3027);
        const std::size_t completed = cut < 4 ? 0 : std::min<std::size_t>(3, (cut - 4) / recordBytes);
        EXPECT_EQ(curve.controlPoints.size(), completed);
        EXPECT_EQ(curve.preExtrapolation, cut >= modesAt + 4 ? 3 : kv_spline::EXTRAPOLATE_CYCLE);
        EXPECT_EQ(curve.postExtrapolation, cut >= modesAt + 8 ? 4 : kv_spline::EXTRAPOLATE_ZERO);
        EXPECT_EQ(curve.curveFlag, cut != full.size());
        EXPECT_EQ(std::feof(file.file) != 0, cut < full.size());
    }

    // Four billion points announced in a ten-byte file: a load that trusted
    // the count for allocation would need tens of gigabytes.
    ScratchFile huge({0x00, 0x28, 0x6B, 0xEE, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11});
    SplineBase curve;
    curve.load(huge.file, 3027);
    EXPECT_TRUE(curve.controlPoints.empty());
    EXPECT_TRUE(loadText("4000000000\n2\n3\n" + textRecord("5", "50"), &curve).second);
    EXPECT_EQ(timesOf(curve), std::vector<double>{5});
    EXPECT_EQ(curve.preExtrapolation, 2);

    EXPECT_TRUE(loadText("3\n0\n4\n" + textRecord("5", "50") + "0.5\nabc\n" + textRecord("6", "60"), &curve).second);
    EXPECT_EQ(timesOf(curve), std::vector<double>{5});
    EXPECT_EQ(curve.postExtrapolation, 4);
}

}  // namespace
