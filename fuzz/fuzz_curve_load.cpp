// Any byte string is a curve file: loading it, evaluating the result anywhere,
// saving it and loading that back must neither crash nor leak, and a binary
// round trip must give back exactly the curve that was saved. Every load must
// give the list that inserting the data's records one by one gives, whatever
// their order, and the curve's runtime form must answer every probe time as
// the curve does.
//
// Input: one byte choosing the format (0 text, 1..3 binary at versions 3000,
// 3020 and 3027), then the file's contents.
//
// It also runs on a build with the debug assertions on (the fuzz-assertions
// preset), where it evaluates only the curves that cannot reach the
// assertions the curve evaluation is defined with.
#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "compiledcurve.h"
#include "splinebase.h"
#include "fuzz_support.h"

namespace {

constexpr unsigned int binaryVersions[] = {3000, 3020, 3027};

using fuzz_support::require;

bool samePoints(const SplineBase& a, const SplineBase& b)
{
    return fuzz_support::sameList(a.controlPoints, b.controlPoints) &&
           a.preExtrapolation == b.preExtrapolation && a.postExtrapolation == b.postExtrapolation;
}

using fuzz_support::scratchPath;

// Times at which every curve is evaluated: the special values, each point's
// own time, the midpoints, and far outside.
std::vector<double> probeTimes(const SplineBase& curve)
{
    const double inf = std::numeric_limits<double>::infinity();
    std::vector<double> times = {std::numeric_limits<double>::quiet_NaN(), inf, -inf, 0.0,
                                 -0.0, 1e300, -1e300, std::numeric_limits<double>::denorm_min()};
    const std::vector<PointInfo*>& points = curve.controlPoints;
    for (std::size_t i = 0; i < points.size() && i < 64; ++i) {
        const double t = points[i]->time;
        times.push_back(t);
        times.push_back(t + 1e6);
        times.push_back(t - 1e6);
        times.push_back(t * 3.5);
        if (i + 1 < points.size())
            times.push_back(t + (points[i + 1]->time - t) * 0.5);
    }
    return times;
}

// Whether evaluating the curve somewhere can reach the debug assertions of
// the Hermite basis ("s >= 0.0 && s <= 1.0") or of the cycle count
// ("numOffsets >= 1.0"): a time that is not finite, times so large that the
// difference of two of them (or of a time and a probe time) overflows, an
// ease value that is not finite or so large that the sum of two overflows, or
// a first time of 0 and a last time of -0 (the period is then -0, and a time
// after the curve is minus infinitely many periods on). Such files are legal,
// and a build without assertions evaluates them to NaN.
bool reachesEvaluationAssertions(const SplineBase& curve)
{
    constexpr double modest = 1e300;
    auto modestNumber = [](double x) { return std::fabs(x) <= modest; };
    for (const PointInfo* point : curve.controlPoints) {
        if (!modestNumber(point->time) || !modestNumber(point->tcb.easeFrom) || !modestNumber(point->tcb.easeTo))
            return true;
    }
    if (curve.controlPoints.empty())
        return false;
    const double period = curve.controlPoints.back()->time - curve.controlPoints.front()->time;
    return period == 0.0 && std::signbit(period);
}

#ifdef NDEBUG
constexpr bool assertionsOn = false;
#else
constexpr bool assertionsOn = true;
#endif

// Evaluates the curve at every probe time, and its runtime form, which must
// answer the same.
void evaluateEverywhere(const SplineBase& curve)
{
    // With assertions on, those curves would stop the run; every other
    // assertion that fires is a finding.
    if (assertionsOn && reachesEvaluationAssertions(curve))
        return;
    const std::vector<double> times = probeTimes(curve);
    std::vector<double> values;
    for (double t : times)
        values.push_back(curve(t));
    const exprcurve::CompiledCurve compiled(curve);
    fuzz_support::checkCompiled(compiled, times, values, [](std::size_t i) { return i * 7919u; });
    volatile double sink = 0.0;
    double ratio = 0.0;
    for (unsigned int i = 0; i <= curve.controlPoints.size() && i < 64; ++i) {
        sink = sink + curve.getTangentLeftAtNode(i, ratio) + ratio;
        sink = sink + curve.getTangentRightAtNode(i, ratio) + ratio;
    }
    if (!curve.controlPoints.empty())
        sink = sink + curve.findIndex(curve.controlPoints.front()->time);
}

// The curve a load of `saved`'s records in list order must give: the same
// ordered insertion, one record after the other.
void expectReloadOf(const SplineBase& saved, const SplineBase& reloaded)
{
    SplineBase expected;
    for (const PointInfo* point : saved.controlPoints)
        expected.addPoint(*point);
    expected.preExtrapolation = saved.preExtrapolation;
    expected.postExtrapolation = saved.postExtrapolation;
    require(samePoints(expected, reloaded), "a binary reload gives back the saved curve");
    require(reloaded.curveFlag == saved.curveFlag, "a binary reload keeps curveFlag");
}

void binaryRoundTrip(SplineBase& curve)
{
    // The newest layout: a count, 80 bytes per point, two modes and a flag.
    // glibc's fmemopen overwrites the last byte of a full buffer with a
    // terminating zero when it flushes, hence one spare byte.
    const long expectedSize = static_cast<long>(4 + 80 * curve.controlPoints.size() + 9);
    std::vector<char> buffer(static_cast<std::size_t>(expectedSize) + 1);
    FILE* file = fmemopen(buffer.data(), buffer.size(), "w+b");
    require(file != nullptr, "fmemopen");
    curve.save(file);
    require(std::ftell(file) == expectedSize, "save writes the whole layout");
    std::rewind(file);
    SplineBase reloaded;
    reloaded.load(file, 3027u);
    std::fclose(file);
    expectReloadOf(curve, reloaded);
}

// Text with full precision reads back exactly when every number is finite and
// not subnormal (the stream reader refuses what strtod flags as out of range).
bool textExact(const SplineBase& curve)
{
    auto plain = [](double x) { return x == 0.0 || std::isnormal(x); };
    for (const PointInfo* p : curve.controlPoints) {
        const double fields[] = {p->time, p->value, p->bezier.leftSlope, p->bezier.rightSlope,
                                 p->tcb.tension, p->tcb.continuity, p->tcb.bias, p->tcb.easeFrom,
                                 p->tcb.easeTo};
        for (double field : fields) {
            if (!plain(field))
                return false;
        }
    }
    return true;
}

void textRoundTrip(SplineBase& curve)
{
    {
        std::ofstream out(scratchPath(), std::ios::trunc);
        out.precision(17);
        SplineBase::save(curve, out);
    }
    std::ifstream in(scratchPath());
    std::unique_ptr<SplineBase> reloaded(SplineBase::load(in));
    require(reloaded != nullptr, "a text load returns a curve");
    if (textExact(curve)) {
        SplineBase expected;
        for (const PointInfo* point : curve.controlPoints)
            expected.addPoint(*point);
        expected.preExtrapolation = curve.preExtrapolation;
        expected.postExtrapolation = curve.postExtrapolation;
        require(samePoints(expected, *reloaded), "a full-precision text reload is exact");
    }
    evaluateEverywhere(*reloaded);
}

std::unique_ptr<SplineBase> loadText(const std::uint8_t* data, std::size_t size)
{
    {
        std::ofstream out(scratchPath(), std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    std::ifstream in(scratchPath(), std::ios::binary);
    std::unique_ptr<SplineBase> curve(SplineBase::load(in));
    require(curve != nullptr, "a text load returns a curve");

    // The same text into a curve that already has points and its own
    // defaultValue and curveFlag, which the text load keeps.
    SplineBase target;
    target.addPoint(1.0, 2.0);
    target.addPoint(-1.0, 4.0);
    target.defaultValue = 3.5;
    target.curveFlag = true;
    std::ifstream again(scratchPath(), std::ios::binary);
    SplineBase::load(&target, again);
    require(samePoints(*curve, target), "both text loads read the same curve");
    require(target.defaultValue == 3.5 && target.curveFlag, "a text load keeps the rest");
    return curve;
}

std::unique_ptr<SplineBase> loadBinary(const std::uint8_t* data, std::size_t size,
                                       unsigned int version)
{
    // fmemopen refuses an empty buffer.
    std::vector<std::uint8_t> contents(data, data + size);
    contents.push_back(0);
    FILE* file = fmemopen(contents.data(), size == 0 ? 1 : size, "rb");
    require(file != nullptr, "fmemopen");
    if (size == 0)
        std::fgetc(file);
    auto curve = std::make_unique<SplineBase>();
    curve->addPoint(0.5, 1.0);  // replaced by the load
    curve->defaultValue = -2.0;
    curve->load(file, version);
    std::fclose(file);
    require(curve->defaultValue == -2.0, "a binary load keeps defaultValue");
    require(curve->modified, "a load sets modified");
    return curve;
}

// ---------------------------------------------------------------- the order of the data

// The records the data holds, in the order they stand, read item by item as
// the loads read them and up to the first record that cannot be read whole.
// Inserting them one by one gives the list every load must build.
class DataRecords {
public:
    std::vector<PointInfo> records;

    void fromText(const std::uint8_t* data, std::size_t size)
    {
        std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
        unsigned int count = 0;
        int pre = 0, post = 0;
        if (!(in >> count >> pre >> post))
            return;
        for (unsigned int i = 0; i < count; ++i) {
            PointInfo p{};
            int type = 0, flag = 0;
            if (!(in >> p.value >> p.time >> p.tcb.tension >> p.tcb.continuity >> p.tcb.bias >> p.tcb.easeTo >>
                  p.tcb.easeFrom >> p.bezier.leftSlope >> p.bezier.rightSlope >> type >> flag))
                return;
            p.type = static_cast<kv_spline::interpolationType>(type);
            p.flag = flag == 1;
            records.push_back(p);
        }
    }

    // The element layer's encoding: little-endian, fixed width.
    void fromBinary(const std::uint8_t* data, std::size_t size, unsigned int version)
    {
        position = data;
        end = data + size;
        std::uint32_t count = 0;
        if (!take(count))
            return;
        for (std::uint32_t i = 0; i < count; ++i) {
            PointInfo p{};
            std::int32_t type = 0, flag = 1;
            if (!(take(p.value) && take(p.time) && take(p.tcb.tension) && take(p.tcb.continuity) &&
                  take(p.tcb.bias) && take(p.tcb.easeTo) && take(p.tcb.easeFrom) && take(p.bezier.leftSlope) &&
                  take(p.bezier.rightSlope) && take(type) && (version < 3027 || take(flag))))
                return;
            p.type = static_cast<kv_spline::interpolationType>(type);
            p.flag = flag == 1;
            records.push_back(p);
        }
    }

    void expectLoadedAs(const SplineBase& loaded) const
    {
        SplineBase expected;
        for (const PointInfo& record : records)
            expected.addPoint(record);
        require(fuzz_support::sameList(expected.controlPoints, loaded.controlPoints),
                "a load gives the list of one-by-one insertion in the data's order");
    }

private:
    template <typename T>
    bool take(T& item)
    {
        static_assert(sizeof(T) == 4 || sizeof(T) == 8, "fixed-width elements");
        if (static_cast<std::size_t>(end - position) < sizeof(T))
            return false;
        std::uint64_t bits = 0;
        for (std::size_t byte = 0; byte < sizeof(T); ++byte)
            bits |= static_cast<std::uint64_t>(position[byte]) << (8 * byte);
        position += sizeof(T);
        if constexpr (sizeof(T) == 8) {
            std::memcpy(&item, &bits, sizeof item);
        } else {
            const std::uint32_t narrow = static_cast<std::uint32_t>(bits);
            std::memcpy(&item, &narrow, sizeof item);
        }
        return true;
    }

    const std::uint8_t* position = nullptr;
    const std::uint8_t* end = nullptr;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const unsigned int format = data[0] % 4;
    std::unique_ptr<SplineBase> curve = format == 0
                                            ? loadText(data + 1, size - 1)
                                            : loadBinary(data + 1, size - 1, binaryVersions[format - 1]);
    DataRecords inData;
    if (format == 0)
        inData.fromText(data + 1, size - 1);
    else
        inData.fromBinary(data + 1, size - 1, binaryVersions[format - 1]);
    inData.expectLoadedAs(*curve);
    evaluateEverywhere(*curve);
    binaryRoundTrip(*curve);
    textRoundTrip(*curve);
    return 0;
}
