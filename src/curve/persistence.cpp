// Saving and loading curves, as text on file streams and as binary elements
// on a FILE*.
//
// Both formats hold the same per-point record; it is written and read in one
// place (writeRecord / readRecord) through a small writer or reader for each
// format, so the item order cannot differ between them.
//
// A load stops at the first read that fails (end of data, a number that does
// not parse) and does nothing after it:
// - a point whose record was not read completely is deleted, never inserted;
//   the points completed before it stay in the curve;
// - a count that cannot be read counts as zero;
// - the out-of-range modes and curveFlag keep the values they had before the
//   load unless their own read succeeds (so does curveFlag when the load
//   stops before the point where an old layout would have cleared it);
// - `modified` is set whatever happens;
// - the stream's fail state, or the FILE's end-of-file or error indicator, is
//   left for the caller to test.
// The count is used only to bound the loop: nothing is reserved from it, so a
// huge count in a short file costs no more than the data that is there.
#include <fstream>
#include <memory>
#include <ostream>

#include "control_points.h"
#include "kv_fileio.h"
#include "splinebase.h"

using exprcurve::curves::deleteAll;
using exprcurve::curves::OrderedBuilder;

namespace {

// The first binary layout with each point's flag item, and the first with
// curveFlag after the modes.
constexpr unsigned int firstVersionWithPointFlag = 3027;
constexpr unsigned int firstVersionWithCurveFlag = 3019;

// ---------------------------------------------------------------- writers

// One item per line, in the stream's own formatting, flushed after each line.
class TextWriter {
public:
    explicit TextWriter(std::ostream& out) : out(out) {}

    template <typename T>
    void write(const T& item)
    {
        out << item << std::endl;
    }

private:
    std::ostream& out;
};

// One element per call of the element I/O layer.
class BinaryWriter {
public:
    explicit BinaryWriter(FILE* file) : file(file) {}

    void write(unsigned int item) { corvane::WriteUInt(&item, 1, file); }
    void write(int item) { corvane::WriteInt(&item, 1, file); }
    void write(double item) { corvane::WriteDouble(&item, 1, file); }
    void write(bool item) { corvane::WriteBool(&item, 1, file); }

private:
    FILE* file;
};

// The value comes before the time, and easeTo before easeFrom.
template <typename Writer>
void writeRecord(Writer& writer, const PointInfo& point)
{
    writer.write(point.value);
    writer.write(point.time);
    writer.write(point.tcb.tension);
    writer.write(point.tcb.continuity);
    writer.write(point.tcb.bias);
    writer.write(point.tcb.easeTo);
    writer.write(point.tcb.easeFrom);
    writer.write(point.bezier.leftSlope);
    writer.write(point.bezier.rightSlope);
    writer.write(static_cast<int>(point.type));
    writer.write(point.flag ? 1 : 0);
}

template <typename Writer>
void writeRecords(Writer& writer, const std::vector<PointInfo*>& points)
{
    for (const PointInfo* point : points)
        writeRecord(writer, *point);
}

unsigned int pointCount(const SplineBase& curve)
{
    return static_cast<unsigned int>(curve.controlPoints.size());
}

// ---------------------------------------------------------------- readers

// Formatted extraction: any whitespace separates items. Each read tells
// whether it succeeded.
class TextReader {
public:
    explicit TextReader(std::istream& in) : in(in) {}

    template <typename T>
    bool read(T& item)
    {
        return static_cast<bool>(in >> item);
    }

private:
    std::istream& in;
};

class BinaryReader {
public:
    explicit BinaryReader(FILE* file) : file(file) {}

    bool read(unsigned int& item) { return corvane::ReadUInt(&item, 1, file) == 1; }
    bool read(int& item) { return corvane::ReadInt(&item, 1, file) == 1; }
    bool read(double& item) { return corvane::ReadDouble(&item, 1, file) == 1; }
    bool read(bool& item) { return corvane::ReadBool(&item, 1, file) == 1; }

private:
    FILE* file;
};

// Reads the items in writeRecord's order. Without the flag item (old binary
// layouts) the point's flag is true. A flag item loads as true only when it
// is exactly 1.
template <typename Reader>
bool readRecord(Reader& reader, PointInfo& point, bool hasFlagItem)
{
    int type = 0;
    if (!(reader.read(point.value) && reader.read(point.time) && reader.read(point.tcb.tension)
          && reader.read(point.tcb.continuity) && reader.read(point.tcb.bias)
          && reader.read(point.tcb.easeTo) && reader.read(point.tcb.easeFrom)
          && reader.read(point.bezier.leftSlope) && reader.read(point.bezier.rightSlope)
          && reader.read(type)))
        return false;
    point.type = static_cast<kv_spline::interpolationType>(type);
    if (!hasFlagItem) {
        point.flag = true;
        return true;
    }
    int flag = 0;
    if (!reader.read(flag))
        return false;
    point.flag = flag == 1;
    return true;
}

// Reads up to `count` records into `list` by the insertion rule. Returns
// false at the first record that cannot be read completely.
template <typename Reader>
bool readRecords(Reader& reader, std::vector<PointInfo*>& list, unsigned int count,
                 bool hasFlagItem)
{
    OrderedBuilder builder(list);
    for (unsigned int i = 0; i < count; ++i) {
        std::unique_ptr<PointInfo> point(new PointInfo());
        if (!readRecord(reader, *point, hasFlagItem))
            return false;
        builder.insert(point.get());
        point.release();
    }
    return true;
}

// Each mode is stored only once it has been read.
template <typename Reader>
bool readModes(Reader& reader, SplineBase& curve)
{
    int mode = 0;
    if (!reader.read(mode))
        return false;
    curve.preExtrapolation = mode;
    if (!reader.read(mode))
        return false;
    curve.postExtrapolation = mode;
    return true;
}

// The count and the modes, then the records. The caller has emptied the
// curve's list.
void readText(SplineBase& curve, std::istream& in)
{
    TextReader reader(in);
    curve.modified = true;
    unsigned int count = 0;
    if (!reader.read(count) || !readModes(reader, curve))
        return;
    readRecords(reader, curve.controlPoints, count, true);
}

}  // namespace

SplineBase* SplineBase::load(std::ifstream& in)
{
    std::unique_ptr<SplineBase> curve(new SplineBase());
    readText(*curve, in);
    return curve.release();
}

// defaultValue and curveFlag are not in the text format and stay as they were.
void SplineBase::load(SplineBase* target, std::ifstream& in)
{
    deleteAll(target->controlPoints);
    readText(*target, in);
}

void SplineBase::save(SplineBase& curve, std::ofstream& out)
{
    TextWriter writer(out);
    writer.write(pointCount(curve));
    writer.write(curve.preExtrapolation);
    writer.write(curve.postExtrapolation);
    writeRecords(writer, curve.controlPoints);
}

// Unlike the text format, the modes follow the points. defaultValue stays as
// it was.
void SplineBase::load(FILE* file, const unsigned int& version)
{
    deleteAll(controlPoints);
    modified = true;
    BinaryReader reader(file);
    unsigned int count = 0;
    if (!reader.read(count)
        || !readRecords(reader, controlPoints, count, version >= firstVersionWithPointFlag)
        || !readModes(reader, *this))
        return;
    if (version < firstVersionWithCurveFlag) {
        curveFlag = false;
        return;
    }
    bool flag = false;
    if (reader.read(flag))
        curveFlag = flag;
}

void SplineBase::save(FILE* file)
{
    BinaryWriter writer(file);
    writer.write(pointCount(*this));
    writeRecords(writer, controlPoints);
    writer.write(preExtrapolation);
    writer.write(postExtrapolation);
    writer.write(curveFlag);
}
