// Filling a curve's list from another curve: whole, shifted, shared, by
// selection, or merged into the points already there.
//
// The source may be this curve itself. Every operation then reads the list
// as it was before the call: the operations that replace the list take the
// old records out first, build the new list from them and delete them only
// at the end, so nothing is read after it is freed and nothing is freed
// twice. The same order serves a different source too; the old records are
// never needed by it, they merely live until the new list is built.
#include <algorithm>
#include <functional>
#include <memory>

#include "control_points.h"
#include "splinebase.h"

using exprcurve::curves::copyOf;
using exprcurve::curves::deleteAll;
using exprcurve::curves::insertOrdered;
using exprcurve::curves::OrderedBuilder;

namespace {

// The records a list held, taken out of it (which leaves it empty) and
// deleted when this goes out of scope, also on an allocation failure.
class DetachedRecords {
public:
    explicit DetachedRecords(std::vector<PointInfo*>& list) { records.swap(list); }
    ~DetachedRecords() { deleteAll(records); }
    DetachedRecords(const DetachedRecords&) = delete;
    DetachedRecords& operator=(const DetachedRecords&) = delete;

    const std::vector<PointInfo*>& list() const { return records; }

private:
    std::vector<PointInfo*> records;
};

// The source's points as they were before the call: for this curve itself,
// the records just taken out of its list.
const std::vector<PointInfo*>& sourcePoints(const SplineBase& source, const SplineBase& target,
                                            const DetachedRecords& previous)
{
    return &source == &target ? previous.list() : source.controlPoints;
}

std::unique_ptr<PointInfo> newCopy(const PointInfo& point, double time)
{
    return std::unique_ptr<PointInfo>(copyOf(point, time));
}

void insertCopy(OrderedBuilder& builder, const PointInfo& point, double time)
{
    std::unique_ptr<PointInfo> copy = newCopy(point, time);
    builder.insert(copy.get());
    copy.release();
}

void takeModes(SplineBase& target, const SplineBase& source)
{
    target.preExtrapolation = source.preExtrapolation;
    target.postExtrapolation = source.postExtrapolation;
}

// The selection's addresses in order, so that each source point is looked up
// in O(log S) instead of by a walk through the whole selection.
class Selection {
public:
    explicit Selection(const std::vector<const PointInfo*>& entries) : sorted(entries)
    {
        std::sort(sorted.begin(), sorted.end(), std::less<const PointInfo*>());
    }

    bool names(const PointInfo* point) const
    {
        return std::binary_search(sorted.begin(), sorted.end(), point,
                                  std::less<const PointInfo*>());
    }

private:
    std::vector<const PointInfo*> sorted;
};

}  // namespace

void SplineBase::copy(const SplineBase& source)
{
    copyDup(source, 0.0);
    curveFlag = source.curveFlag;
}

void SplineBase::copyDup(const SplineBase& source, const double& offset)
{
    const DetachedRecords previous(controlPoints);
    modified = true;
    OrderedBuilder builder(controlPoints);
    for (const PointInfo* point : sourcePoints(source, *this, previous))
        insertCopy(builder, *point, point->time + offset);
    takeModes(*this, source);
}

// The previous records are forgotten, not deleted: they may belong to another
// curve. A curve asked to share its own records already does; its list is
// left exactly as it is.
void SplineBase::copyRefs(const SplineBase& source)
{
    modified = true;
    if (&source == this)
        return;
    controlPoints.clear();
    {
        OrderedBuilder builder(controlPoints);
        for (PointInfo* point : source.controlPoints)
            builder.insert(point);
    }
    takeModes(*this, source);
}

// Selection entries are matched by address against the source's records, so
// entries naming no source point are ignored and a repeated entry still
// yields one copy.
void SplineBase::copySelected(const SplineBase& source,
                              const std::vector<const PointInfo*>& selection)
{
    const Selection selected(selection);
    const DetachedRecords previous(controlPoints);
    modified = true;
    OrderedBuilder builder(controlPoints);
    for (const PointInfo* point : sourcePoints(source, *this, previous)) {
        if (selected.names(point))
            insertCopy(builder, *point, point->time);
    }
    takeModes(*this, source);
}

// The target's own points stay, in whatever order they are, so each copy goes
// through the front-to-back insertion.
std::vector<const PointInfo*> SplineBase::combine(const SplineBase& source, const double& offset)
{
    // For this curve itself, the list before the first insertion.
    const std::vector<PointInfo*> sourceList = source.controlPoints;
    std::vector<const PointInfo*> added;
    added.reserve(sourceList.size());
    for (const PointInfo* point : sourceList) {
        std::unique_ptr<PointInfo> copy = newCopy(*point, point->time + offset);
        insertOrdered(controlPoints, copy.get());
        added.push_back(copy.release());
    }
    modified = true;
    return added;
}
