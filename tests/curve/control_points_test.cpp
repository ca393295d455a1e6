#include "control_points.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "curve/point_fields.h"
#include "kv_fileio.h"
#include "splinebase.h"

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// Random lists, mostly ascending with repeats, steps back and unusual times:
// the builder must give exactly the list that insertOrdered gives, once it
// has finished.
TEST(OrderedBuilder, GivesTheListThatInsertOrderedGives)
{
    const double unusual[] = {nan, -0.0, 0.0, inf, -inf};
    std::mt19937 random(20240611u);
    for (int round = 0; round < 300; ++round) {
        std::vector<std::unique_ptr<PointInfo>> records;
        std::vector<PointInfo*> byBuilder, byRule;
        {
            exprcurve::curves::OrderedBuilder builder(byBuilder);
            double time = 0.0;
            for (int n = static_cast<int>(random() % 41); n > 0; --n) {
                const unsigned step = random() % 10;
                // Mostly forward by one, sometimes a repeat or two back.
                const double advance = step < 4 ? 1.0 : step >= 7 ? -2.0 : 0.0;
                const double at = step == 9 ? unusual[random() % 5] : (time += advance);
                records.emplace_back(new PointInfo{at, 0, {}, {}, kv_spline::LINEAR, false});
                builder.insert(records.back().get());
                exprcurve::curves::insertOrdered(byRule, records.back().get());
            }
        }
        ASSERT_EQ(byBuilder, byRule) << round;
    }
}

// The rule worked out by hand: a NaN goes to the front and every later point
// with a time goes in front of it, so the list is blocks separated by NaN
// points, the latest block first; equal times (+0.0 and -0.0 among them)
// stand in the reverse of their arrival.
TEST(OrderedBuilder, BlocksBetweenNaNTimesAndEqualTimesReversed)
{
    const struct {
        const char* name;
        std::vector<double> arrivals;
        std::vector<int> expected;  // arrival indices in list order
    } rows[] = {
        {"ascending", {1, 2, 3}, {0, 1, 2}},
        {"descending", {3, 2, 1}, {2, 1, 0}},
        {"equal times reversed", {0.0, -0.0, 0.0, -1}, {3, 2, 1, 0}},
        {"NaN first", {nan, 2, 1, 3}, {2, 1, 3, 0}},
        {"NaN blocks", {3, nan, 1, 2, nan, 5, 0}, {6, 5, 4, 2, 3, 1, 0}},
        {"two NaN in a row", {1, nan, nan, 0}, {3, 2, 1, 0}},
        {"infinities", {inf, -inf, 0, -inf}, {3, 1, 2, 0}},
    };
    for (const auto& row : rows) {
        std::vector<PointInfo> records;
        for (double time : row.arrivals)
            records.push_back(PointInfo{time, 0, {}, {}, kv_spline::LINEAR, false});
        std::vector<PointInfo*> built;
        {
            exprcurve::curves::OrderedBuilder builder(built);
            for (PointInfo& record : records)
                builder.insert(&record);
        }
        std::vector<int> order;
        for (const PointInfo* point : built)
            order.push_back(static_cast<int>(point - records.data()));
        EXPECT_EQ(order, row.expected) << row.name;
    }
}

// ------------------------------------------------ loads and copies of any order

// A file in the test's temporary directory, removed at the end.
struct TempPath {
    TempPath() : path(testing::TempDir() + "orderXXXXXX") { close(mkstemp(&path[0])); }
    ~TempPath() { std::remove(path.c_str()); }
    std::string path;
};

// Records in an arbitrary order: runs up and down, equal times, +-0.0, and
// where `unusual` holds, NaN and infinite times too.
std::vector<PointInfo> randomArrivals(std::mt19937& random, bool unusual)
{
    const double special[] = {nan, inf, -inf, -0.0, 0.0};
    std::vector<PointInfo> records;
    double time = 0.0;
    for (int n = static_cast<int>(random() % 60); n > 0; --n) {
        const unsigned pick = random() % 16;
        if (pick < 5)
            time += 0.25;
        else if (pick < 8)
            time -= 0.75;
        else if (pick < 10)
            time = std::floor(std::uniform_real_distribution<double>(-4, 4)(random) * 4) / 4;
        const double at = pick == 15 ? special[random() % (unusual ? 5 : 2) + (unusual ? 0 : 3)] : time;
        records.push_back(point_fields::distinctPoint(at, static_cast<double>(records.size()),
                                                      random() % 2 == 0,
                                                      kv_spline::interpolationType(random() % 4)));
    }
    return records;
}

// The list one-by-one ordered insertion gives for the records in arrival
// order: the definition every bulk builder must meet.
std::vector<PointInfo> insertedOneByOne(const std::vector<PointInfo>& arrivals)
{
    std::vector<PointInfo> records = arrivals;
    std::vector<PointInfo*> list;
    for (PointInfo& record : records)
        exprcurve::curves::insertOrdered(list, &record);
    std::vector<PointInfo> ordered;
    for (const PointInfo* point : list)
        ordered.push_back(*point);
    return ordered;
}

void expectList(const SplineBase& curve, const std::vector<PointInfo>& expected, const std::string& what)
{
    SCOPED_TRACE(what);
    ASSERT_EQ(curve.controlPoints.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        point_fields::expectFields(*curve.controlPoints[i], expected[i]);
}

// A curve listing copies of the records in exactly this order, as records
// shared and re-timed through another curve may stand.
struct ListedAsIs {
    explicit ListedAsIs(const std::vector<PointInfo>& records)
    {
        for (const PointInfo& record : records)
            curve.controlPoints.push_back(new PointInfo(record));
    }
    SplineBase curve;
};

// The binary layout of `version`, records in the order given.
void writeBinary(FILE* file, const std::vector<PointInfo>& records, unsigned int version)
{
    unsigned int count = static_cast<unsigned int>(records.size());
    corvane::WriteUInt(&count, 1, file);
    for (const PointInfo& p : records) {
        for (double item : {p.value, p.time, p.tcb.tension, p.tcb.continuity, p.tcb.bias, p.tcb.easeTo,
                            p.tcb.easeFrom, p.bezier.leftSlope, p.bezier.rightSlope})
            corvane::WriteDouble(&item, 1, file);
        int ints[] = {p.type, p.flag ? 1 : 0};
        corvane::WriteInt(ints, version >= 3027 ? 2 : 1, file);
    }
    int modes[] = {2, 3};
    corvane::WriteInt(modes, 2, file);
    bool curveFlag = true;
    if (version >= 3019)
        corvane::WriteBool(&curveFlag, 1, file);
    std::rewind(file);
}

// Every load and every copy of a list in any order gives exactly the list
// that inserting its points one by one gives.
TEST(OrderedBuilder, LoadsAndCopiesOfAnyOrderMatchOneByOneInsertion)
{
    std::mt19937 random(977u);
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        const std::vector<PointInfo> arrivals = randomArrivals(random, true);
        const std::vector<PointInfo> expected = insertedOneByOne(arrivals);

        for (const unsigned int version : {3000u, 3020u, 3027u}) {
            std::vector<PointInfo> read = arrivals;  // the old layouts give every point flag true
            for (PointInfo& record : read)
                record.flag = record.flag || version < 3027;
            FILE* file = std::tmpfile();
            writeBinary(file, arrivals, version);
            SplineBase loaded;
            loaded.load(file, version);
            std::fclose(file);
            expectList(loaded, insertedOneByOne(read), "binary " + std::to_string(version));
        }

        ListedAsIs source(arrivals);
        const double offset = round % 5 == 0 ? -inf : std::ldexp(static_cast<double>(random() % 9), -2);
        // copy shifts by 0.0 as well, which turns a -0.0 time into +0.0.
        const auto shiftedBy = [&](double by) {
            std::vector<PointInfo> shifted = arrivals;
            for (PointInfo& record : shifted)
                record.time += by;
            return shifted;
        };
        const std::vector<PointInfo> copied = shiftedBy(0.0), shifted = shiftedBy(offset);
        std::vector<const PointInfo*> selection;
        std::vector<PointInfo> selected;
        for (std::size_t i = 0; i < arrivals.size(); ++i) {
            if (random() % 3 == 0)
                continue;
            selection.push_back(source.curve.controlPoints[i]);
            selected.push_back(arrivals[i]);
        }
        std::shuffle(selection.begin(), selection.end(), random);

        const struct {
            const char* name;
            std::function<void(SplineBase&)> fill;
            const std::vector<PointInfo>& points;
        } copies[] = {
            {"copy", [&](SplineBase& target) { target.copy(source.curve); }, copied},
            {"copyDup", [&](SplineBase& target) { target.copyDup(source.curve, offset); }, shifted},
            {"copySelected", [&](SplineBase& target) { target.copySelected(source.curve, selection); },
             selected},
        };
        for (const auto& copy : copies) {
            SplineBase target;
            target.addPoint(1.0, 2.0);  // replaced
            copy.fill(target);
            expectList(target, insertedOneByOne(copy.points), copy.name);
        }
        SplineBase sharer;
        sharer.copyRefs(source.curve);
        expectList(sharer, expected, "copyRefs");
        sharer.reset();
    }
}

// The text format carries finite times only (NaN and infinity do not read
// back); written with 17 digits they reload exactly.
TEST(OrderedBuilder, TextLoadOfAnyOrderMatchesOneByOneInsertion)
{
    std::mt19937 random(4242u);
    for (int round = 0; round < 40; ++round) {
        const std::vector<PointInfo> arrivals = randomArrivals(random, false);
        ListedAsIs source(arrivals);
        TempPath path;
        {
            std::ofstream out(path.path);
            out.precision(17);
            SplineBase::save(source.curve, out);
        }
        std::ifstream in(path.path);
        const std::unique_ptr<SplineBase> loaded(SplineBase::load(in));
        expectList(*loaded, insertedOneByOne(arrivals), "text " + std::to_string(round));
    }
}

}  // namespace
