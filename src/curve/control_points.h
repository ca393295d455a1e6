// The ordered insertion that every operation adding a point to a curve goes
// through, the scan behind every lookup by time, and the deletion of a
// curve's records (internal).
#ifndef EXPRCURVE_CURVE_CONTROL_POINTS_H
#define EXPRCURVE_CURVE_CONTROL_POINTS_H

#include <cmath>
#include <cstddef>
#include <vector>

#include "splinebase.h"

namespace exprcurve::curves {

inline double timeOf(const PointInfo* point)
{
    return point->time;
}
inline double timeOf(double time)
{
    return time;
}

// The lowest index in [from, end) whose time is not below t, or `end`, over a
// list of records or of their times. A NaN time never stops the scan.
// findIndex and the segment search of every single-time evaluation walk the
// list through here, so the loop is kept to a load, a compare and a branch
// per point.
template <typename Entry>
inline std::size_t firstNotBelow(const Entry* entries, double t, std::size_t from, std::size_t end)
{
    while (from < end && !(t <= timeOf(entries[from])))
        ++from;
    return from;
}

inline std::size_t firstNotBelow(const std::vector<PointInfo*>& points, double t,
                                 std::size_t from, std::size_t end)
{
    return firstNotBelow(points.data(), t, from, end);
}

// Inserts `point` in front of the first listed point whose time is not below
// its own (equal, greater, or not comparable), or appends it. A point
// therefore goes before any equal times, and a NaN time goes first. Returns
// the insertion index.
unsigned int insertOrdered(std::vector<PointInfo*>& list, PointInfo* point);

// Whether `time` may follow `previous` in a list whose times never decrease
// and hold no NaN: the property under which a list may be searched or
// appended to instead of scanned. The first time of a list follows -inf.
inline bool staysSortedWithoutNaN(double previous, double time)
{
    return !std::isnan(time) && !(previous > time);
}

// Builds a list from empty by the insertion rule above, in O(N log N) for
// any order of the points. The rule puts every point with a time into the
// sorted block in front of the first NaN point of the list (its scan stops
// there at the latest), and every NaN point at the very front, where it ends
// the block the later points go into. So the finished list is the points
// that arrived after the last NaN, then that NaN, then the points between it
// and the NaN before, and so on back to the points before the first NaN;
// each block sorted by time, equal times in the reverse of their arrival
// (each goes in front of those already there). The builder takes the points
// in arrival order and puts the list in that order when it goes out of scope:
// until then the list is not sorted. A list that arrives sorted, without NaN
// and without equal times, is already in order and is left as it is.
class OrderedBuilder {
public:
    // `list` must be empty.
    explicit OrderedBuilder(std::vector<PointInfo*>& list);
    // Puts the list in order, also when the building stops on an exception.
    ~OrderedBuilder();
    OrderedBuilder(const OrderedBuilder&) = delete;
    OrderedBuilder& operator=(const OrderedBuilder&) = delete;

    // Takes `point` into the list. If the list cannot grow (the allocation
    // exception), the point is not taken and stays the caller's.
    void insert(PointInfo* point) { list.push_back(point); }

private:
    std::vector<PointInfo*>& list;
};

// Deletes every non-null record (nulling each entry first) and empties the
// list.
void deleteAll(std::vector<PointInfo*>& list);

// A new record with every field of `source`, at `time`.
PointInfo* copyOf(const PointInfo& source, double time);

}  // namespace exprcurve::curves

#endif  // EXPRCURVE_CURVE_CONTROL_POINTS_H
