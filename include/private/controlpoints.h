// The ordered insertion that every operation adding a point to a curve goes
// through, the scan behind every lookup by time, and the deletion of a
// curve's records (internal).
#ifndef EXPRCURVE_PRIVATE_CONTROLPOINTS_H
#define EXPRCURVE_PRIVATE_CONTROLPOINTS_H

#include <cmath>
#include <cstddef>
#include <vector>

#include "splinebase.h"

namespace exprcurve_detail {

// The lowest index in [from, end) whose time is not below t, or `end`. A NaN
// time never stops the scan. findIndex and the segment search of every
// single-time evaluation walk the list through here, so the loop is kept to
// a load, a compare and a branch per point.
inline std::size_t firstNotBelow(const std::vector<PointInfo*>& points, const double& t,
                                 std::size_t from, const std::size_t end)
{
    const double time = t;
    PointInfo* const* const data = points.data();
    while (from < end && !(time <= data[from]->time))
        ++from;
    return from;
}

// Inserts `point` in front of the first listed point whose time is not below
// its own (equal, greater, or not comparable), or appends it. A point
// therefore goes before any equal times, and a NaN time goes first. Returns
// the insertion index.
unsigned int insertOrdered(std::vector<PointInfo*>& list, PointInfo* point);

// Whether `time` may follow `previous` in a list whose times never decrease
// and hold no NaN: the property under which a list may be searched or
// appended to instead of scanned. The first time of a list follows -inf.
inline bool staysSortedWithoutNaN(const double& previous, const double& time)
{
    return !std::isnan(time) && !(previous > time);
}

// Builds a list by the insertion rule above, in constant time per point in
// the common case. While the list is sorted and holds no NaN time, a point
// whose time lies strictly beyond the last one is where insertOrdered would
// end up after scanning the whole list, so it is appended directly; every
// other point goes through insertOrdered. A NaN time ends the fast path for
// good, since insertOrdered puts it at the front and the list is no longer
// sorted. The result is the list that insertOrdered alone would build.
class OrderedBuilder {
public:
    // Checks `list` once; an empty list starts on the fast path.
    explicit OrderedBuilder(std::vector<PointInfo*>& list);

    // Takes `point` into the list. If the list cannot grow (the allocation
    // exception), the point is not inserted and stays the caller's.
    void insert(PointInfo* point);

private:
    std::vector<PointInfo*>& list;
    bool sortedWithoutNaN;
};

// Deletes every non-null record (nulling each entry first) and empties the
// list.
void deleteAll(std::vector<PointInfo*>& list);

// A new record with every field of `source`, at `time`.
PointInfo* copyOf(const PointInfo& source, double time);

}  // namespace exprcurve_detail

#endif  // EXPRCURVE_PRIVATE_CONTROLPOINTS_H
