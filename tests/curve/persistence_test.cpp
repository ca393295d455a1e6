#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <sstream>
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
class TempPath {
public:
    TempPath()
    {
        std::string pattern = testing::TempDir() + "curveXXXXXX";
        const int fd = mkstemp(&pattern[0]);
        if (fd >= 0)
            close(fd);
        path = pattern;
    }
    ~TempPath() { std::remove(path.c_str()); }
    TempPath(const TempPath&) = delete;
    TempPath& operator=(const TempPath&) = delete;

    const std::string& get() const { return path; }

    void write(const std::string& text) const { std::ofstream(path, std::ios::binary) << text; }

    std::string read() const
    {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

private:
    std::string path;
};

// A tmpfile() that closes itself.
class ScratchFile {
public:
    ScratchFile() : file(std::tmpfile()) {}
    explicit ScratchFile(const Bytes& bytes) : ScratchFile()
    {
        if (!bytes.empty())
            std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::rewind(file);
    }
    ~ScratchFile() { std::fclose(file); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    FILE* get() const { return file; }

    Bytes contents() const
    {
        std::rewind(file);
        Bytes bytes;
        for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file))
            bytes.push_back(static_cast<unsigned char>(c));
        std::rewind(file);
        return bytes;
    }

    // Element writers for composing a file by hand.
    void u(unsigned int v) const { corvane::WriteUInt(&v, 1, file); }
    void i(int v) const { corvane::WriteInt(&v, 1, file); }
    void d(double v) const { corvane::WriteDouble(&v, 1, file); }
    void b(bool v) const { corvane::WriteBool(&v, 1, file); }

    // Items 1 to 10 of a record (value first, easeTo before easeFrom), and
    // the flag item when `flagItem` is given.
    void record(const PointInfo& p, const int* flagItem) const
    {
        for (double item : {p.value, p.time, p.tcb.tension, p.tcb.continuity, p.tcb.bias,
                            p.tcb.easeTo, p.tcb.easeFrom, p.bezier.leftSlope, p.bezier.rightSlope})
            d(item);
        i(p.type);
        if (flagItem != nullptr)
            i(*flagItem);
    }

private:
    FILE* file;
};

// The record of a binary file: nine doubles and two ints.
constexpr std::size_t recordBytes = 9 * 8 + 2 * 4;

// The point of the fourteen-line example: time 0, value 0.5, zero slopes and
// TCB fields, BEZIER, flag false.
PointInfo examplePoint()
{
    PointInfo point{};
    point.value = 0.5;
    point.type = kv_spline::BEZIER;
    return point;
}

std::string textOf(SplineBase& curve, int precision = -1)
{
    TempPath path;
    {
        std::ofstream out(path.get());
        if (precision > 0)
            out.precision(precision);
        SplineBase::save(curve, out);
    }
    return path.read();
}

std::unique_ptr<SplineBase> loadText(const std::string& text)
{
    TempPath path;
    path.write(text);
    std::ifstream in(path.get());
    return std::unique_ptr<SplineBase>(SplineBase::load(in));
}

// Loads `text` into `target`; returns whether the stream ended in its fail
// state.
bool loadTextInto(SplineBase& target, const std::string& text)
{
    TempPath path;
    path.write(text);
    std::ifstream in(path.get());
    SplineBase::load(&target, in);
    return in.fail();
}

// A curve whose mode, flag and default fields all differ from the defaults
// and from what the loads below read, holding one point of its own.
void makeNonDefault(SplineBase& curve)
{
    curve.addPoint(distinctPoint(42.0, 42.0));
    curve.preExtrapolation = kv_spline::EXTRAPOLATE_CYCLE;
    curve.postExtrapolation = kv_spline::EXTRAPOLATE_ZERO;
    curve.defaultValue = 4.5;
    curve.curveFlag = true;
    curve.modified = false;
}

std::string exampleText(const std::string& flagItem = "0")
{
    return "1\n1\n1\n0.5\n0\n0\n0\n0\n0\n0\n0\n0\n1\n" + flagItem + "\n";
}

// ---------------------------------------------------------------- text

TEST(CurveTextSave, WritesTheFourteenLinesOfAOnePointCurve)
{
    SplineBase curve;
    curve.addPoint(examplePoint());
    EXPECT_EQ(textOf(curve), exampleText());
}

TEST(CurveTextSave, EmptyCurveIsItsCountAndModesAndLoadsBack)
{
    SplineBase curve;
    curve.preExtrapolation = kv_spline::EXTRAPOLATE_ZERO;
    curve.postExtrapolation = kv_spline::EXTRAPOLATE_LINEAR;
    const std::string text = textOf(curve);
    EXPECT_EQ(text, "0\n0\n4\n");

    const auto loaded = loadText(text);
    EXPECT_TRUE(loaded->controlPoints.empty());
    EXPECT_EQ(loaded->preExtrapolation, kv_spline::EXTRAPOLATE_ZERO);
    EXPECT_EQ(loaded->postExtrapolation, kv_spline::EXTRAPOLATE_LINEAR);
    EXPECT_EQ(loaded->defaultValue, 0.0);
    EXPECT_FALSE(loaded->curveFlag);
    EXPECT_TRUE(loaded->modified);
}

TEST(CurveTextSave, EveryLineIsOnTheFileBeforeTheStreamCloses)
{
    SplineBase curve;
    curve.addPoint(examplePoint());
    TempPath path;
    std::ofstream out(path.get());
    SplineBase::save(curve, out);
    EXPECT_EQ(path.read(), exampleText());  // `out` is still open
}

TEST(CurveTextLoad, ReadsValueBeforeTimeAndEaseToBeforeEaseFrom)
{
    const auto curve = loadText("1 3 4  10 2 3 4 5 6 7 8 9 2 1");  // any whitespace separates
    ASSERT_EQ(curve->controlPoints.size(), 1u);
    const PointInfo& p = *curve->controlPoints[0];
    EXPECT_EQ(curve->preExtrapolation, 3);
    EXPECT_EQ(curve->postExtrapolation, 4);
    EXPECT_EQ(p.value, 10.0);
    EXPECT_EQ(p.time, 2.0);
    EXPECT_EQ(p.tcb.tension, 3.0);
    EXPECT_EQ(p.tcb.continuity, 4.0);
    EXPECT_EQ(p.tcb.bias, 5.0);
    EXPECT_EQ(p.tcb.easeTo, 6.0);
    EXPECT_EQ(p.tcb.easeFrom, 7.0);
    EXPECT_EQ(p.bezier.leftSlope, 8.0);
    EXPECT_EQ(p.bezier.rightSlope, 9.0);
    EXPECT_EQ(p.type, kv_spline::TCB);
    EXPECT_TRUE(p.flag);
}

TEST(CurveTextRoundTrip, PrecisionSeventeenIsExact)
{
    SplineBase curve;
    curve.preExtrapolation = -5;  // out-of-range codes are stored as they are
    curve.postExtrapolation = 9;
    const std::vector<PointInfo> points = {
        distinctPoint(-0.0, 1.0 / 3.0, false, kv_spline::LINEAR),
        distinctPoint(0.1, -1e-300, true, kv_spline::STEP),
        distinctPoint(2.0 / 3.0, 123456.789, false, static_cast<kv_spline::interpolationType>(7)),
        distinctPoint(1e300, 5e-324, true, kv_spline::BEZIER),
    };
    for (const PointInfo& point : points)
        curve.addPoint(point);

    const auto loaded = loadText(textOf(curve, 17));
    EXPECT_EQ(loaded->preExtrapolation, -5);
    EXPECT_EQ(loaded->postExtrapolation, 9);
    ASSERT_EQ(loaded->controlPoints.size(), points.size());
    for (std::size_t i = 0; i < points.size(); ++i)
        expectFields(*loaded->controlPoints[i], points[i]);
}

TEST(CurveTextRoundTrip, DefaultPrecisionKeepsSixSignificantDigits)
{
    SplineBase curve;
    curve.addPoint(1.0 / 3.0, 2.0 / 3.0);
    const auto loaded = loadText(textOf(curve));
    ASSERT_EQ(loaded->controlPoints.size(), 1u);
    EXPECT_EQ(loaded->controlPoints[0]->time, 0.333333);
    EXPECT_EQ(loaded->controlPoints[0]->value, 0.666667);
}

// A text record at `time` with `value`, every other item zero, type 1, and
// the given flag item.
std::string textRecord(const std::string& time, const std::string& value,
                       const std::string& flagItem = "0")
{
    return value + "\n" + time + "\n0\n0\n0\n0\n0\n0\n0\n1\n" + flagItem + "\n";
}

TEST(CurveTextLoad, SortsByTimeAndReversesEqualTimes)
{
    const auto unsorted = loadText("3\n1\n1\n" + textRecord("2", "20") + textRecord("0", "0")
                                   + textRecord("1", "10"));
    EXPECT_EQ(timesOf(*unsorted), (std::vector<double>{0, 1, 2}));
    EXPECT_EQ(valuesOf(*unsorted), (std::vector<double>{0, 10, 20}));

    const auto equal = loadText("2\n1\n1\n" + textRecord("1", "100") + textRecord("1", "200"));
    EXPECT_EQ(valuesOf(*equal), (std::vector<double>{200, 100}));
    const auto again = loadText(textOf(*equal));
    EXPECT_EQ(valuesOf(*again), (std::vector<double>{100, 200}));
}

TEST(CurveTextLoad, IntoAnExistingCurveKeepsDefaultValueAndCurveFlag)
{
    SplineBase target;
    makeNonDefault(target);
    EXPECT_FALSE(loadTextInto(target, "1\n0\n4\n" + textRecord("3", "30", "1")));
    ASSERT_EQ(target.controlPoints.size(), 1u);  // the old point is gone
    EXPECT_EQ(target.controlPoints[0]->time, 3.0);
    EXPECT_EQ(target.preExtrapolation, kv_spline::EXTRAPOLATE_ZERO);
    EXPECT_EQ(target.postExtrapolation, kv_spline::EXTRAPOLATE_LINEAR);
    EXPECT_EQ(target.defaultValue, 4.5);
    EXPECT_TRUE(target.curveFlag);
    EXPECT_TRUE(target.modified);
}

// ---------------------------------------------------------------- flag item

TEST(CurveLoad, FlagItemLoadsTrueOnlyWhenItIsOne)
{
    const std::vector<std::pair<int, bool>> cases = {
        {1, true}, {2, false}, {0, false}, {-1, false}};
    for (const auto& c : cases) {
        const auto text = loadText(exampleText(std::to_string(c.first)));
        ASSERT_EQ(text->controlPoints.size(), 1u);
        EXPECT_EQ(text->controlPoints[0]->flag, c.second) << "text item " << c.first;

        ScratchFile file;
        file.u(1);
        file.record(examplePoint(), &c.first);
        std::rewind(file.get());
        SplineBase binary;
        binary.load(file.get(), 3027);
        ASSERT_EQ(binary.controlPoints.size(), 1u);
        EXPECT_EQ(binary.controlPoints[0]->flag, c.second) << "binary item " << c.first;
    }
}

// ---------------------------------------------------------------- binary

Bytes littleEndian(std::uint64_t bits, int width)
{
    Bytes bytes;
    for (int i = 0; i < width; ++i, bits >>= 8)
        bytes.push_back(static_cast<unsigned char>(bits & 0xFF));
    return bytes;
}

TEST(CurveBinarySave, OnePointFileHoldsTheNewestLayout)
{
    SplineBase curve;
    curve.addPoint(examplePoint());
    ScratchFile file;
    curve.save(file.get());

    Bytes expected = littleEndian(1, 4);                             // count
    const Bytes value = littleEndian(0x3FE0000000000000u, 8);        // 0.5
    expected.insert(expected.end(), value.begin(), value.end());
    expected.insert(expected.end(), 8 * 8, 0x00);                    // time .. rightSlope
    for (std::uint64_t item : {1, 0, 1, 1}) {                        // type, flag, pre, post
        const Bytes b = littleEndian(item, 4);
        expected.insert(expected.end(), b.begin(), b.end());
    }
    expected.push_back(0x00);                                        // curveFlag
    EXPECT_EQ(expected.size(), 4 + recordBytes + 4 + 4 + 1);
    EXPECT_EQ(file.contents(), expected);
}

TEST(CurveBinaryLoad, ReadsTheLayoutOfEachVersion)
{
    const int sentinel = 0x5A5A5A5A;
    for (unsigned int version : {0u, 3018u, 3019u, 3026u, 3027u, 5000u}) {
        SCOPED_TRACE(version);
        const bool hasFlagItem = version >= 3027;
        const bool hasCurveFlag = version >= 3019;
        const PointInfo later = distinctPoint(2.0, 1.0, false);
        const PointInfo earlier = distinctPoint(0.0, 2.0, false);
        const int one = 1;
        const int zero = 0;

        ScratchFile file;
        file.u(2);
        file.record(later, hasFlagItem ? &one : nullptr);
        file.record(earlier, hasFlagItem ? &zero : nullptr);
        file.i(kv_spline::EXTRAPOLATE_CYCLE_OFFSET);
        file.i(kv_spline::EXTRAPOLATE_LINEAR);
        if (hasCurveFlag)
            file.b(true);
        file.i(sentinel);
        std::rewind(file.get());

        SplineBase curve;
        makeNonDefault(curve);
        curve.curveFlag = !hasCurveFlag;  // so that only the right layout gives the expected flag
        curve.load(file.get(), version);

        ASSERT_EQ(curve.controlPoints.size(), 2u);
        PointInfo expectedEarlier = earlier;
        PointInfo expectedLater = later;
        expectedEarlier.flag = !hasFlagItem;  // without the item every point is true
        expectedLater.flag = true;
        expectFields(*curve.controlPoints[0], expectedEarlier);
        expectFields(*curve.controlPoints[1], expectedLater);
        EXPECT_EQ(curve.preExtrapolation, kv_spline::EXTRAPOLATE_CYCLE_OFFSET);
        EXPECT_EQ(curve.postExtrapolation, kv_spline::EXTRAPOLATE_LINEAR);
        EXPECT_EQ(curve.curveFlag, hasCurveFlag);
        EXPECT_EQ(curve.defaultValue, 4.5);
        EXPECT_TRUE(curve.modified);

        int next = 0;  // the load stopped exactly at the end of its layout
        EXPECT_EQ(corvane::ReadInt(&next, 1, file.get()), 1u);
        EXPECT_EQ(next, sentinel);
    }
}

TEST(CurveBinaryRoundTrip, ReproducesEveryFieldAndReversesEqualTimes)
{
    SplineBase curve;
    curve.preExtrapolation = -1;
    curve.postExtrapolation = 77;
    curve.curveFlag = true;
    PointInfo odd = distinctPoint(-0.0, 3.0, true, static_cast<kv_spline::interpolationType>(-9));
    odd.value = std::numeric_limits<double>::quiet_NaN();
    odd.bezier.rightSlope = -std::numeric_limits<double>::infinity();
    const std::vector<PointInfo> points = {odd, distinctPoint(0.1, 1.0 / 3.0, false),
                                           distinctPoint(7.0, 5.0, true),
                                           distinctPoint(7.0, 6.0, false)};
    for (auto it = points.rbegin(); it != points.rend(); ++it)
        curve.addPoint(*it);  // the two points at 7 stand as listed

    ScratchFile file;
    curve.save(file.get());
    std::rewind(file.get());
    SplineBase loaded;
    loaded.load(file.get(), 3027);

    EXPECT_EQ(loaded.preExtrapolation, -1);
    EXPECT_EQ(loaded.postExtrapolation, 77);
    EXPECT_TRUE(loaded.curveFlag);
    ASSERT_EQ(loaded.controlPoints.size(), 4u);
    expectFields(*loaded.controlPoints[0], points[0]);
    expectFields(*loaded.controlPoints[1], points[1]);
    expectFields(*loaded.controlPoints[2], points[3]);  // equal times come back reversed
    expectFields(*loaded.controlPoints[3], points[2]);
}

// ---------------------------------------------------------------- bad input

// The full binary file of a three-point curve at times 0, 1, 2 with modes
// 3 and 4 and curveFlag true.
Bytes threePointFile()
{
    SplineBase curve;
    for (double time : {0.0, 1.0, 2.0})
        curve.addPoint(distinctPoint(time, time));
    curve.preExtrapolation = 3;
    curve.postExtrapolation = 4;
    curve.curveFlag = true;
    ScratchFile file;
    curve.save(file.get());
    return file.contents();
}

TEST(CurveBinaryLoad, StopsAtTheFirstFailedReadKeepingCompletedPoints)
{
    const Bytes full = threePointFile();
    const std::size_t modesAt = 4 + 3 * recordBytes;
    ASSERT_EQ(full.size(), modesAt + 9);
    for (std::size_t cut = 0; cut <= full.size(); ++cut) {
        SCOPED_TRACE(cut);
        ScratchFile file(Bytes(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(cut)));
        SplineBase curve;
        makeNonDefault(curve);
        curve.load(file.get(), 3027);

        const std::size_t completed =
            cut < 4 ? 0 : std::min<std::size_t>(3, (cut - 4) / recordBytes);
        const std::vector<double> allTimes = {0, 1, 2};
        EXPECT_EQ(timesOf(curve),
                  std::vector<double>(allTimes.begin(), allTimes.begin() + completed));
        EXPECT_EQ(curve.preExtrapolation, cut >= modesAt + 4 ? 3 : kv_spline::EXTRAPOLATE_CYCLE);
        EXPECT_EQ(curve.postExtrapolation, cut >= modesAt + 8 ? 4 : kv_spline::EXTRAPOLATE_ZERO);
        EXPECT_TRUE(curve.curveFlag);  // the stored flag and the one kept are both true
        EXPECT_EQ(curve.defaultValue, 4.5);
        EXPECT_TRUE(curve.modified);
        EXPECT_EQ(std::feof(file.get()) != 0, cut < full.size());
    }
}

TEST(CurveBinaryLoad, MissingCurveFlagIsKeptUnlessTheLayoutHasNone)
{
    const Bytes countAndModes = {0, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0};  // no curveFlag byte
    for (unsigned int version : {3018u, 3019u, 3027u}) {
        SCOPED_TRACE(version);
        ScratchFile file(countAndModes);
        SplineBase curve;
        makeNonDefault(curve);  // curveFlag true
        curve.load(file.get(), version);
        EXPECT_EQ(curve.postExtrapolation, 2);
        EXPECT_EQ(curve.curveFlag, version >= 3019);
        EXPECT_EQ(std::feof(file.get()) != 0, version >= 3019);
    }
}

TEST(CurveBinaryLoad, CountsBeyondTheDataCostNothingAndKeepWhatWasRead)
{
    ScratchFile twoOfFive;
    twoOfFive.u(5);
    twoOfFive.record(distinctPoint(1.0, 1.0), nullptr);
    twoOfFive.record(distinctPoint(0.0, 2.0), nullptr);
    std::rewind(twoOfFive.get());
    SplineBase curve;
    makeNonDefault(curve);
    curve.load(twoOfFive.get(), 3000);
    EXPECT_EQ(timesOf(curve), (std::vector<double>{0, 1}));
    EXPECT_EQ(curve.preExtrapolation, kv_spline::EXTRAPOLATE_CYCLE);
    EXPECT_NE(std::feof(twoOfFive.get()), 0);

    // Four billion points announced in a ten-byte file: a load that trusted
    // the count for allocation would need tens of gigabytes.
    Bytes tenBytes = littleEndian(4000000000u, 4);
    tenBytes.insert(tenBytes.end(), 6, 0x11);
    ScratchFile huge(tenBytes);
    curve.load(huge.get(), 3027);
    EXPECT_TRUE(curve.controlPoints.empty());
    EXPECT_NE(std::feof(huge.get()), 0);
}

TEST(CurveBinaryLoad, EmptyFileEmptiesTheCurveAndKeepsItsFields)
{
    ScratchFile file;
    SplineBase curve;
    makeNonDefault(curve);
    curve.load(file.get(), 3027);
    EXPECT_TRUE(curve.controlPoints.empty());
    EXPECT_EQ(curve.preExtrapolation, kv_spline::EXTRAPOLATE_CYCLE);
    EXPECT_EQ(curve.postExtrapolation, kv_spline::EXTRAPOLATE_ZERO);
    EXPECT_TRUE(curve.curveFlag);
    EXPECT_TRUE(curve.modified);
    EXPECT_NE(std::feof(file.get()), 0);
}

// The text of a two-point curve, one item per line.
std::vector<std::string> twoPointLines()
{
    SplineBase curve;
    curve.addPoint(distinctPoint(0.0, 1.0));
    curve.addPoint(distinctPoint(1.0, 2.0));
    curve.preExtrapolation = 3;
    curve.postExtrapolation = 4;
    std::istringstream text(textOf(curve));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

TEST(CurveTextLoad, StopsAtTheFirstFailedReadKeepingCompletedPoints)
{
    const std::vector<std::string> lines = twoPointLines();
    ASSERT_EQ(lines.size(), 3u + 2u * 11u);
    std::string text;
    for (std::size_t kept = 0; kept <= lines.size(); ++kept) {
        SCOPED_TRACE(kept);
        SplineBase curve;
        makeNonDefault(curve);
        const bool failed = loadTextInto(curve, text);

        const std::size_t completed = kept < 3 ? 0 : (kept - 3) / 11;
        const std::vector<double> allTimes = {0, 1};
        EXPECT_EQ(timesOf(curve),
                  std::vector<double>(allTimes.begin(), allTimes.begin() + completed));
        EXPECT_EQ(curve.preExtrapolation, kept >= 2 ? 3 : kv_spline::EXTRAPOLATE_CYCLE);
        EXPECT_EQ(curve.postExtrapolation, kept >= 3 ? 4 : kv_spline::EXTRAPOLATE_ZERO);
        EXPECT_TRUE(curve.modified);
        EXPECT_EQ(failed, kept < lines.size());
        if (kept < lines.size())
            text += lines[kept] + "\n";
    }
}

TEST(CurveTextLoad, EmptyOrUnparsableInputKeepsWhatWasRead)
{
    const auto empty = loadText("");
    EXPECT_TRUE(empty->controlPoints.empty());
    EXPECT_EQ(empty->preExtrapolation, kv_spline::EXTRAPOLATE_CONSTANT);
    EXPECT_TRUE(empty->modified);

    SplineBase badCount;
    makeNonDefault(badCount);
    EXPECT_TRUE(loadTextInto(badCount, "x\n0\n4\n"));
    EXPECT_TRUE(badCount.controlPoints.empty());
    EXPECT_EQ(badCount.preExtrapolation, kv_spline::EXTRAPOLATE_CYCLE);

    SplineBase badItem;
    makeNonDefault(badItem);
    EXPECT_TRUE(loadTextInto(badItem, "3\n0\n4\n" + textRecord("5", "50") + "0.5\nabc\n"
                                          + textRecord("6", "60")));
    EXPECT_EQ(timesOf(badItem), (std::vector<double>{5}));
    EXPECT_EQ(badItem.preExtrapolation, kv_spline::EXTRAPOLATE_ZERO);
    EXPECT_EQ(badItem.postExtrapolation, kv_spline::EXTRAPOLATE_LINEAR);

    SplineBase hugeCount;
    EXPECT_TRUE(loadTextInto(hugeCount, "4000000000\n2\n3\n" + textRecord("5", "50")));
    EXPECT_EQ(timesOf(hugeCount), (std::vector<double>{5}));
    EXPECT_EQ(hugeCount.preExtrapolation, 2);
}

TEST(CurveTextLoad, StreamAlreadyAtItsEndLoadsNothing)
{
    TempPath path;
    path.write(exampleText());
    std::ifstream in(path.get());
    const std::unique_ptr<SplineBase> first(SplineBase::load(in));
    ASSERT_EQ(first->controlPoints.size(), 1u);
    ASSERT_FALSE(in.fail());

    SplineBase curve;
    makeNonDefault(curve);
    SplineBase::load(&curve, in);
    EXPECT_TRUE(curve.controlPoints.empty());
    EXPECT_EQ(curve.preExtrapolation, kv_spline::EXTRAPOLATE_CYCLE);
    EXPECT_TRUE(curve.modified);
    EXPECT_TRUE(in.fail());
    EXPECT_TRUE(in.eof());
}

}  // namespace
