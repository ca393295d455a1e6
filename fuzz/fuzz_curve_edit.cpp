// Editing two curves by a sequence of operations decoded from the input, with
// the list invariants checked after every step and ownership proven by
// AddressSanitizer and LeakSanitizer. Every list a copy or a load builds is
// checked against one-by-one insertion; every evaluation against bulk
// sampling and the runtime form (CompiledCurve) with hints of every kind, and
// the last runtime form taken must keep its answers through every later
// step.
//
// Records shared through copyRefs are tracked here: the curve that shares the
// other's records (the sharer) is emptied with reset() before any operation
// that deletes records of either curve, records that remove() gives back are
// deleted once no curve lists them, and records a sharer created itself are
// deleted when the sharing ends.
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "compiledcurve.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "splinebase.h"
#include "fuzz_support.h"

namespace {

using fuzz_support::require;

// ---------------------------------------------------------------- decoding

constexpr double inf = std::numeric_limits<double>::infinity();
const double specialValues[] = {std::numeric_limits<double>::quiet_NaN(),
                                inf,
                                -inf,
                                1e300,
                                -1e300,
                                std::numeric_limits<double>::max(),
                                std::numeric_limits<double>::denorm_min(),
                                -0.0};
constexpr int specialCount = sizeof specialValues / sizeof specialValues[0];

// Ordinary numbers lie on coarse grids in a modest range, so that the only
// non-finite results the curve may give come from the special values.
class Reader {
public:
    Reader(const std::uint8_t* data, std::size_t size) : data(data), size(size) {}

    bool empty() const { return position >= size; }
    std::uint8_t byte() { return position < size ? data[position++] : 0; }
    int int16()
    {
        const int low = byte();
        return static_cast<std::int16_t>(static_cast<std::uint16_t>(low | (byte() << 8)));
    }
    // Multiples of 1/64 within +-512.
    double time() { return orSpecial(int16() / 64.0); }
    double value() { return orSpecial(int16() / 16.0); }
    double parameter() { return orSpecial(static_cast<std::int8_t>(byte()) / 16.0); }
    double ease() { return orSpecial(byte() / 128.0); }
    // Any time a host might ask for, finite or not.
    double probeTime() { return byte() < 32 ? specialValues[byte() % specialCount] : time(); }

private:
    // One selector byte in 32 picks a special value instead.
    double orSpecial(double ordinary)
    {
        const std::uint8_t selector = byte();
        return selector >= 248 ? specialValues[selector % specialCount] : ordinary;
    }

    const std::uint8_t* data;
    std::size_t size;
    std::size_t position = 0;
};

bool onTimeGrid(double t)
{
    return std::fabs(t) <= 1e7 && std::floor(t * 64.0) == t * 64.0;
}

bool modestNumber(double x, double bound)
{
    return std::fabs(x) <= bound;  // false for NaN
}

// Finite data on the decoding grids (as far as copies and shifts keep them).
bool modestCurve(const SplineBase& curve)
{
    for (const PointInfo* p : curve.controlPoints) {
        if (!onTimeGrid(p->time) || !modestNumber(p->value, 1e7) ||
            !modestNumber(p->bezier.leftSlope, 1e3) || !modestNumber(p->bezier.rightSlope, 1e3) ||
            !modestNumber(p->tcb.tension, 1e3) || !modestNumber(p->tcb.continuity, 1e3) ||
            !modestNumber(p->tcb.bias, 1e3) || !modestNumber(p->tcb.easeFrom, 1e3) ||
            !modestNumber(p->tcb.easeTo, 1e3))
            return false;
    }
    return true;
}

bool hasNaNTime(const SplineBase& curve)
{
    for (const PointInfo* p : curve.controlPoints) {
        if (std::isnan(p->time))
            return true;
    }
    return false;
}

bool lists(const SplineBase& curve, const PointInfo* record)
{
    const std::vector<PointInfo*>& points = curve.controlPoints;
    return std::find(points.begin(), points.end(), record) != points.end();
}

using fuzz_support::sameBits;
using fuzz_support::sameResult;

// ---------------------------------------------------------------- expression keys

// The host variables behind the process-wide parser's keys "t" and "f".
struct TimeVariables {
    double t = 0.0;
    double f = 0.0;
    float tFloat = 0.0f;
    int tInt = 0;
    bool tBool = false;
};
TimeVariables timeVariables;

// The variables as a time evaluation leaves them, compared bit for bit.
struct TimeVariablesSnapshot {
    TimeVariables values;

    static TimeVariablesSnapshot take() { return {timeVariables}; }
    bool operator==(const TimeVariablesSnapshot& other) const
    {
        return sameBits(values.t, other.values.t) && sameBits(values.f, other.values.f) &&
               std::memcmp(&values.tFloat, &other.values.tFloat, sizeof values.tFloat) == 0 &&
               values.tInt == other.values.tInt && values.tBool == other.values.tBool;
    }
};

// ---------------------------------------------------------------- bulk evaluation

// sample() must give each time's own evaluation bit for bit, also in place.
void checkBulkSample(const SplineBase& curve, const std::vector<double>& times,
                     const std::vector<double>& oneByOne)
{
    std::vector<double> values(times.size());
    curve.sample(times.data(), values.data(), times.size());
    std::vector<double> inPlace = times;
    curve.sample(inPlace.data(), inPlace.data(), inPlace.size());
    const std::vector<double> asVector = curve.sample(times);
    for (std::size_t i = 0; i < times.size(); ++i) {
        if (!sameResult(values[i], oneByOne[i]))
            std::fprintf(stderr, "t=%.17g sample %.17g one by one %.17g\n", times[i], values[i], oneByOne[i]);
        require(sameResult(values[i], oneByOne[i]), "sample matches one-by-one evaluation");
        require(sameResult(inPlace[i], oneByOne[i]), "sample in place matches");
        require(sameResult(asVector[i], oneByOne[i]), "sample of a vector matches");
    }
}

// The same with an expression: the same values and the same variables left
// behind as the calls one by one in order, by the curve's sample and by the
// runtime form one call at a time.
void checkBulkSampleWithExpression(SplineBase& curve, const std::vector<double>& times,
                                   FunctionFloatBase* expression, double timeScale)
{
    // Inside the curve the expression reads the variables as an earlier
    // call left them, so every run starts from the same variables.
    const TimeVariablesSnapshot before = TimeVariablesSnapshot::take();
    std::vector<double> oneByOne;
    std::vector<TimeVariablesSnapshot> afterEach;
    for (double t : times) {
        oneByOne.push_back(curve(t, expression, timeScale));
        afterEach.push_back(TimeVariablesSnapshot::take());
    }
    timeVariables = before.values;
    std::vector<double> values(times.size());
    curve.sample(times.data(), values.data(), times.size(), expression, timeScale);
    require(afterEach.empty() || TimeVariablesSnapshot::take() == afterEach.back(),
            "sample leaves the keys as the last call does");
    for (std::size_t i = 0; i < times.size(); ++i) {
        if (!sameResult(values[i], oneByOne[i]))
            std::fprintf(stderr, "t=%.17g sample %.17g one by one %.17g\n", times[i], values[i], oneByOne[i]);
        require(sameResult(values[i], oneByOne[i]), "sample with an expression matches");
    }
    timeVariables = before.values;
    const std::vector<double> asVector = curve.sample(times, expression, timeScale);
    for (std::size_t i = 0; i < times.size(); ++i)
        require(sameResult(asVector[i], oneByOne[i]), "sample of a vector with an expression matches");

    timeVariables = before.values;
    const exprcurve::CompiledCurve compiled(curve);
    for (std::size_t i = 0; i < times.size(); ++i) {
        require(sameResult(compiled(times[i], expression, timeScale), oneByOne[i]),
                "the runtime form with an expression answers as the curve");
        require(TimeVariablesSnapshot::take() == afterEach[i],
                "the runtime form with an expression writes the keys as the curve");
    }
}

const char* const expressionTexts[] = {"t", "f*2", "sin(t)+f", "if(t>1,t,-t)", "rnd(1,t)*0.5",
                                       "t^2-f", "max(t,f)/0", "0"};
constexpr int expressionCount = sizeof expressionTexts / sizeof expressionTexts[0];

std::vector<std::unique_ptr<FunctionFloatBase>>& expressions()
{
    static std::vector<std::unique_ptr<FunctionFloatBase>> trees = [] {
        FunctionParserBase& parser = FunctionParserBase::instance();
        parser.insertKey("t", &timeVariables.t);
        parser.insertKey("f", &timeVariables.f);
        std::vector<std::unique_ptr<FunctionFloatBase>> parsed;
        for (const char* text : expressionTexts) {
            ParseMessage message{};
            parsed.emplace_back(parser.parseString(text, message));
        }
        return parsed;
    }();
    return trees;
}

// Binds "t" to a variable of another kind, or removes "t" or "f": the
// evaluation must skip a missing key and write each kind its own way.
void rebindTimeKeys(std::uint8_t choice)
{
    FunctionParserBase& parser = FunctionParserBase::instance();
    parser.removeKey("t");
    parser.removeKey("f");
    switch (choice % 6) {
    case 0: parser.insertKey("t", &timeVariables.t); break;
    case 1: parser.insertKey("t", &timeVariables.tFloat); break;
    case 2: parser.insertKey("t", &timeVariables.tInt); break;
    case 3: parser.insertKey("t", &timeVariables.tBool); break;
    default: break;  // "t" missing
    }
    if (choice % 6 != 5)
        parser.insertKey("f", &timeVariables.f);
}

// ---------------------------------------------------------------- the harness

using fuzz_support::scratchPath;

constexpr std::size_t maxPoints = 96;

class Harness {
public:
    explicit Harness(Reader& in) : in(in) {}
    ~Harness()
    {
        endSharing();
        sweepGivenBack();
    }
    Harness(const Harness&) = delete;
    Harness& operator=(const Harness&) = delete;

    void step();
    void checkInvariants() const;
    void checkKeptSnapshot() const;

private:
    SplineBase& pickCurve() { return curves[in.byte() & 1]; }
    int indexOf(const SplineBase& curve) const { return &curve == &curves[0] ? 0 : 1; }
    SplineBase& other(const SplineBase& curve) { return curves[1 - indexOf(curve)]; }
    PointInfo* pickRecord(const SplineBase& curve)
    {
        const std::vector<PointInfo*>& points = curve.controlPoints;
        return points.empty() ? nullptr : points[in.byte() % points.size()];
    }
    bool roomFor(const SplineBase& curve, std::size_t more) const
    {
        return curve.controlPoints.size() + more <= maxPoints;
    }

    PointInfo* newRecord();
    void endSharing();
    void sweepGivenBack();
    void giveBack(PointInfo* record);
    void afterListRebuilt(SplineBase& curve) { orderTrusted[indexOf(curve)] = true; }
    void retimedShared(const PointInfo* record, const SplineBase& through);

    void addPoints(SplineBase& curve);
    void removePoint(SplineBase& curve);
    void retime(SplineBase& curve);
    void copyInto(SplineBase& target);
    void shareInto(SplineBase& target);
    void combineInto(SplineBase& target);
    void forget(SplineBase& curve);
    void poke(SplineBase& curve);
    void roundTrip(SplineBase& curve);
    void evaluate(SplineBase& curve);
    void evaluateWithExpression(SplineBase& curve);
    void queryTangents(const SplineBase& curve);
    void lookUp(const SplineBase& curve);

    Reader& in;
    SplineBase curves[2];
    int sharer = -1;  // the curve that lists the other's records, if any
    bool orderTrusted[2] = {true, true};
    std::vector<PointInfo*> givenBack;  // records remove() handed to us
    // A runtime form taken at the last plain evaluation, with the times it
    // was checked at and the curve's values then: it must answer them
    // whatever the curves and their records went through since.
    exprcurve::CompiledCurve kept;
    std::vector<double> keptTimes, keptValues;
};

PointInfo* Harness::newRecord()
{
    auto* point = new PointInfo();
    point->time = in.time();
    point->value = in.value();
    point->bezier = {in.parameter(), in.parameter()};
    point->tcb = {in.parameter(), in.parameter(), in.parameter(), in.ease(), in.ease()};
    point->type = static_cast<kv_spline::interpolationType>(static_cast<std::int8_t>(in.byte()) % 6);
    point->flag = (in.byte() & 1) != 0;
    return point;
}

// The sharer forgets its list; the records it made itself since sharing are
// ours to delete, the other curve's stay with it.
void Harness::endSharing()
{
    if (sharer < 0)
        return;
    SplineBase& shared = curves[sharer];
    const SplineBase& owner = curves[1 - sharer];
    for (PointInfo* record : shared.controlPoints) {
        if (!lists(owner, record))
            giveBack(record);
    }
    shared.reset();
    sharer = -1;
    sweepGivenBack();
}

void Harness::giveBack(PointInfo* record)
{
    if (std::find(givenBack.begin(), givenBack.end(), record) == givenBack.end())
        givenBack.push_back(record);
}

void Harness::sweepGivenBack()
{
    std::vector<PointInfo*> stillListed;
    for (PointInfo* record : givenBack) {
        if (lists(curves[0], record) || lists(curves[1], record))
            stillListed.push_back(record);
        else
            delete record;
    }
    givenBack.swap(stillListed);
}

void Harness::retimedShared(const PointInfo* record, const SplineBase& through)
{
    const SplineBase& otherCurve = curves[1 - indexOf(through)];
    if (lists(otherCurve, record))
        orderTrusted[1 - indexOf(through)] = false;
}

void Harness::addPoints(SplineBase& curve)
{
    if (!roomFor(curve, 1))
        return;
    const std::uint8_t form = in.byte() % 6;
    switch (form) {
    case 0: {
        PointInfo* record = newRecord();
        const unsigned int index = curve.addPoint(record);
        require(index < curve.controlPoints.size() && curve.controlPoints[index] == record,
                "addPoint returns the record's index");
        break;
    }
    case 1: {
        PointInfo* record = newRecord();
        require(curve.addPointPtr(record) == record, "addPointPtr returns the record");
        break;
    }
    case 2: {
        const double time = in.time();
        curve.addPoint(time, in.value());
        break;
    }
    case 3: {
        const double time = in.time();
        const double value = in.value();
        curve.addPoint(time, value, PointInfo::BezierData{in.parameter(), in.parameter()});
        break;
    }
    case 4: {
        const double time = in.time();
        const double value = in.value();
        curve.addPoint(time, value,
                       PointInfo::TcbData{in.parameter(), in.parameter(), in.parameter(),
                                          in.ease(), in.ease()});
        break;
    }
    default: {
        const std::unique_ptr<PointInfo> model(newRecord());
        curve.addPoint(*model);
        break;
    }
    }
}

void Harness::removePoint(SplineBase& curve)
{
    if (curve.controlPoints.empty())
        return;
    // Mostly one of its own records, sometimes the other curve's or none.
    const std::uint8_t choice = in.byte() % 8;
    PointInfo* record = choice < 6 ? pickRecord(curve) : choice == 6 ? pickRecord(other(curve)) : nullptr;
    const bool held = record != nullptr && lists(curve, record);
    const std::size_t before = curve.controlPoints.size();
    curve.remove(record);
    require(curve.controlPoints.size() == before - (held ? 1 : 0), "remove takes out one record");
    require(!held || !lists(curve, record), "a removed record is no longer listed");
    // A record the owner still lists stays the owner's.
    if (held && !(sharer == indexOf(curve) && lists(other(curve), record)))
        giveBack(record);
}

void Harness::retime(SplineBase& curve)
{
    PointInfo* record = pickRecord(curve);
    if (record == nullptr)
        return;
    if (in.byte() & 1) {
        curve.setTime(record, in.time());
        retimedShared(record, curve);
    } else {
        const int code = static_cast<std::int8_t>(in.byte()) % 6;
        curve.setType(record, static_cast<kv_spline::interpolationType>(code));
        require(record->type == code, "setType stores the code");
    }
    require(lists(curve, record), "an edited record stays listed");
}

// What a list built from empty must be: `points` (copies, at the times
// given) inserted one by one by the insertion rule, whatever their order.
class OneByOne {
public:
    void add(const PointInfo& point, double time)
    {
        PointInfo copy = point;
        copy.time = time;
        expected.addPoint(copy);
    }
    bool matches(const SplineBase& built) const { return fuzz_support::sameList(expected.controlPoints, built.controlPoints); }

private:
    SplineBase expected;
};

// copy, copyDup and copySelected delete the target's old records.
void Harness::copyInto(SplineBase& target)
{
    SplineBase& source = curves[in.byte() & 1];
    endSharing();
    const std::uint8_t form = in.byte() % 3;
    OneByOne expected;
    if (form == 0) {
        for (const PointInfo* point : source.controlPoints)
            expected.add(*point, point->time + 0.0);
        target.copy(source);
    } else if (form == 1) {
        const double offset = in.time();
        for (const PointInfo* point : source.controlPoints)
            expected.add(*point, point->time + offset);
        target.copyDup(source, offset);
    } else {
        // Records of either curve, a null entry and an address naming no
        // record; only the source's own records count.
        std::vector<const PointInfo*> selection;
        const PointInfo stranger{};
        const int entries = in.byte() % 8;
        for (int i = 0; i < entries; ++i) {
            const std::uint8_t kind = in.byte() % 4;
            selection.push_back(kind == 0   ? nullptr
                                : kind == 1 ? &stranger
                                            : pickRecord(curves[kind & 1]));
        }
        std::set<const PointInfo*> named;
        for (const PointInfo* entry : selection) {
            if (entry != nullptr && lists(source, entry))
                named.insert(entry);
        }
        for (const PointInfo* point : source.controlPoints) {
            if (named.count(point) != 0)
                expected.add(*point, point->time);
        }
        target.copySelected(source, selection);
        require(target.controlPoints.size() == named.size(), "copySelected copies each named point once");
    }
    require(expected.matches(target), "a copy gives the list of one-by-one insertion");
    afterListRebuilt(target);
}

void Harness::shareInto(SplineBase& target)
{
    const SplineBase& source = other(target);
    endSharing();
    if (in.byte() & 1) {
        // A curve asked to share its own records changes nothing in its list.
        const std::vector<PointInfo*> before = target.controlPoints;
        target.copyRefs(target);
        require(target.controlPoints == before, "copyRefs of itself keeps the list");
        return;
    }
    // The old records are forgotten by copyRefs; they are still ours.
    std::vector<PointInfo*> previous = target.controlPoints;
    target.copyRefs(source);
    for (PointInfo* record : previous)
        giveBack(record);
    sharer = indexOf(target);
    afterListRebuilt(target);
    sweepGivenBack();
}

void Harness::combineInto(SplineBase& target)
{
    const SplineBase& source = curves[in.byte() & 1];
    if (!roomFor(target, source.controlPoints.size()))
        return;
    const std::size_t before = target.controlPoints.size();
    const std::size_t sourceSize = source.controlPoints.size();
    const std::vector<const PointInfo*> added = target.combine(source, in.time());
    require(added.size() == sourceSize, "combine adds one copy per source point");
    require(target.controlPoints.size() == before + sourceSize, "combine keeps the old points");
    for (const PointInfo* record : added)
        require(lists(target, record), "combine returns records the target lists");
}

// reset() forgets the records, removeAllControlPoints() deletes them.
void Harness::forget(SplineBase& curve)
{
    if (in.byte() & 1) {
        endSharing();
        curve.removeAllControlPoints();
        require(curve.controlPoints.empty(), "removeAllControlPoints empties the list");
    } else {
        const int index = indexOf(curve);
        if (sharer == index) {
            endSharing();
        } else {
            // The sharer may still list them; they are freed once nobody does.
            for (PointInfo* record : curve.controlPoints)
                giveBack(record);
            curve.reset();
            sweepGivenBack();
        }
        require(curve.preExtrapolation == kv_spline::EXTRAPOLATE_CONSTANT &&
                    curve.postExtrapolation == kv_spline::EXTRAPOLATE_CONSTANT,
                "reset restores the modes");
    }
    afterListRebuilt(curve);
}

// A host writing fields directly, time included.
void Harness::poke(SplineBase& curve)
{
    PointInfo* record = pickRecord(curve);
    const std::uint8_t field = in.byte() % 6;
    if (field == 5) {
        const int codes[] = {0, 1, 2, 3, 4, 5, -1, std::numeric_limits<int>::min()};
        const int pre = codes[in.byte() % 8];
        curve.preExtrapolation = pre;
        curve.postExtrapolation = codes[in.byte() % 8];
        return;
    }
    if (record == nullptr)
        return;
    switch (field) {
    case 0:
        record->time = in.time();
        orderTrusted[indexOf(curve)] = false;
        retimedShared(record, curve);
        break;
    case 1: record->value = in.value(); break;
    case 2: record->tcb.easeFrom = in.ease(); break;
    case 3: record->tcb.tension = in.parameter(); break;
    default: record->bezier.leftSlope = in.parameter(); break;
    }
}

// A save and a load into the other curve (which deletes its records).
void Harness::roundTrip(SplineBase& curve)
{
    SplineBase& target = other(curve);
    endSharing();
    if (in.byte() & 1) {
        FILE* file = std::tmpfile();
        require(file != nullptr, "tmpfile");
        curve.save(file);
        std::rewind(file);
        OneByOne expected;
        for (const PointInfo* point : curve.controlPoints)
            expected.add(*point, point->time);
        target.load(file, 3027u);
        std::fclose(file);
        require(expected.matches(target), "a binary reload gives the list of one-by-one insertion");
        require(target.curveFlag == curve.curveFlag, "a binary reload keeps curveFlag");
    } else {
        {
            std::ofstream out(scratchPath(), std::ios::trunc);
            out.precision(17);
            SplineBase::save(curve, out);
        }
        std::ifstream text(scratchPath());
        SplineBase::load(&target, text);
    }
    afterListRebuilt(target);
}

bool spanIsZero(const SplineBase& curve)
{
    return curve.controlPoints.front()->time == curve.controlPoints.back()->time;
}

void Harness::evaluate(SplineBase& curve)
{
    const int codes[] = {0, 1, 2, 3, 4, 5, -7, std::numeric_limits<int>::max()};
    curve.preExtrapolation = codes[in.byte() % 8];
    curve.postExtrapolation = codes[in.byte() % 8];

    std::vector<double> times;
    for (const PointInfo* p : curve.controlPoints) {
        times.push_back(p->time);
        times.push_back(p->time + 1.0 / 128.0);
        times.push_back(p->time - 3.0);
    }
    for (int i = in.byte() % 4; i > 0; --i)
        times.push_back(in.probeTime());
    times.push_back(1e6);
    times.push_back(-1e6);

    // Sorted, finite and modest data gives finite values for modest times,
    // except cycling with offset over a zero span, which multiplies the
    // rise by an infinite number of periods.
    const int index = indexOf(curve);
    const bool checkFinite = orderTrusted[index] && !hasNaNTime(curve) && modestCurve(curve);
    const bool cyclesWithOffset = curve.postExtrapolation != kv_spline::EXTRAPOLATE_ZERO &&
                                  curve.postExtrapolation != kv_spline::EXTRAPOLATE_CONSTANT &&
                                  curve.postExtrapolation != kv_spline::EXTRAPOLATE_LINEAR &&
                                  curve.postExtrapolation != kv_spline::EXTRAPOLATE_CYCLE;
    const bool zeroSpan = !curve.controlPoints.empty() && spanIsZero(curve);
    std::vector<double> oneByOne;
    for (double t : times) {
        const double value = curve(t);
        oneByOne.push_back(value);
        const bool after = !curve.controlPoints.empty() && t > curve.controlPoints.back()->time;
        if (checkFinite && std::fabs(t) <= 1e7 && !(after && zeroSpan && cyclesWithOffset)) {
            if (!std::isfinite(value)) {
                std::fprintf(stderr, "t=%.17g value=%.17g pre=%d post=%d\n", t, value,
                             curve.preExtrapolation, curve.postExtrapolation);
            }
            require(std::isfinite(value), "finite data evaluates finitely");
        }
    }
    checkBulkSample(curve, times, oneByOne);
    if (in.byte() & 1)
        kept.rebuild(curve);
    else
        kept = exprcurve::CompiledCurve(curve);
    fuzz_support::checkCompiled(kept, times, oneByOne, [&](std::size_t) -> std::size_t {
        const std::uint8_t pick = in.byte();
        return pick < 16 ? SIZE_MAX - pick : pick;
    });
    keptTimes = times;
    keptValues = oneByOne;
}

void Harness::evaluateWithExpression(SplineBase& curve)
{
    const std::uint8_t choice = in.byte();
    if (choice >= 240) {
        rebindTimeKeys(choice);
        return;
    }
    FunctionFloatBase* expression = expressions()[choice % expressionCount].get();
    const double timeScale = in.value();
    std::vector<double> times = {in.probeTime()};
    for (const PointInfo* p : curve.controlPoints)
        times.push_back(p->time + 0.5);
    times.push_back(in.probeTime());
    checkBulkSampleWithExpression(curve, times, expression, timeScale);
    volatile double sink = 0.0;
    for (double t : times)
        sink = sink + curve(t, expression, timeScale);
}

void Harness::queryTangents(const SplineBase& curve)
{
    const std::size_t count = curve.controlPoints.size();
    double ratio = 0.0;
    volatile double sink = 0.0;
    for (unsigned int i = 0; i <= count; ++i) {
        sink = sink + curve.getTangentLeftAtNode(i, ratio) + ratio;
        sink = sink + curve.getTangentRightAtNode(i, ratio) + ratio;
    }
    if (count == 0)
        return;
    const PointInfo* prev = pickRecord(curve);
    const PointInfo* cur = pickRecord(curve);
    const PointInfo* next = pickRecord(curve);
    sink = sink + curve.getLeftTan(prev, cur, next) + curve.getRightTan(prev, cur, next) +
           curve.getBruteLeftTan(prev, cur, next) + curve.getBruteRightTan(prev, cur, next);
    const int index = static_cast<int>(in.byte() % count);
    sink = sink + curve.isLinearInterpolation(index) + curve.isBezierInterpolation(index) +
           curve.isTCBInterpolation(index) + curve.isStepInterpolation(index);
}

// On a sorted list the segment search must agree with its definition.
void Harness::lookUp(const SplineBase& curve)
{
    const double t = in.probeTime();
    const std::vector<PointInfo*>& points = curve.controlPoints;
    const PointInfo* near = curve.findBy(t, in.parameter());
    require(near == nullptr || lists(curve, near), "findBy answers a listed record");
    const PointInfo* next = curve.getNext(t);
    require(next == nullptr || (lists(curve, next) && t < next->time), "getNext answers a later record");
    const PointInfo* prev = curve.getPrev(t);
    require(prev == nullptr || lists(curve, prev), "getPrev answers a listed record");
    if (points.empty())
        return;
    const unsigned int index = curve.findIndex(t);
    const bool interior = curve.isInterior(t);
    require(index <= points.size(), "findIndex stays within the list");
    require(interior == (index != 0 && index != points.size()), "isInterior agrees with findIndex");
    // The scan puts a NaN time in the last segment.
    if (!orderTrusted[indexOf(curve)] || hasNaNTime(curve) || std::isnan(t))
        return;
    if (!(t > points.front()->time)) {
        require(index == 0, "at or before the first point: 0");
    } else if (t > points.back()->time) {
        require(index == points.size(), "after the last point: the count");
    } else if (points.size() > 1) {
        require(points[index - 1]->time < t && t <= points[index]->time, "inside: the segment holding t");
    }
}

void Harness::step()
{
    SplineBase& curve = pickCurve();
    switch (in.byte() % 14) {
    case 0:
    case 1: addPoints(curve); break;
    case 2: removePoint(curve); break;
    case 3: retime(curve); break;
    case 4: copyInto(curve); break;
    case 5: shareInto(curve); break;
    case 6: combineInto(curve); break;
    case 7: forget(curve); break;
    case 8: poke(curve); break;
    case 9: roundTrip(curve); break;
    case 10: evaluate(curve); break;
    case 11: evaluateWithExpression(curve); break;
    case 12: queryTangents(curve); break;
    default: lookUp(curve); break;
    }
    for (SplineBase& each : curves) {
        if (hasNaNTime(each))
            orderTrusted[indexOf(each)] = false;
    }
    sweepGivenBack();
}

void Harness::checkKeptSnapshot() const
{
    for (std::size_t i = 0; i < keptTimes.size(); ++i)
        require(sameResult(kept(keptTimes[i]), keptValues[i]), "a snapshot keeps answering as the curve stood");
}

void Harness::checkInvariants() const
{
    for (int index = 0; index < 2; ++index) {
        const std::vector<PointInfo*>& points = curves[index].controlPoints;
        const std::set<const PointInfo*> distinct(points.begin(), points.end());
        require(distinct.size() == points.size(), "no record is listed twice");
        require(distinct.count(nullptr) == 0, "no null entry");
        if (orderTrusted[index]) {
            for (std::size_t i = 1; i < points.size(); ++i)
                require(points[i - 1]->time <= points[i]->time, "the list is sorted");
        }
    }
    if (sharer < 0) {
        for (const PointInfo* record : curves[0].controlPoints)
            require(!lists(curves[1], record), "unshared curves hold distinct records");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    expressions();
    rebindTimeKeys(0);
    Reader in(data, size);
    Harness harness(in);
    for (int steps = 0; !in.empty() && steps < 400; ++steps) {
        harness.step();
        harness.checkInvariants();
        harness.checkKeptSnapshot();
    }
    return 0;
}
