// The ordered insertion that every operation adding a point to a curve goes
// through, and the deletion of a curve's records (internal).
#ifndef EXPRCURVE_PRIVATE_CONTROLPOINTS_H
#define EXPRCURVE_PRIVATE_CONTROLPOINTS_H

#include <vector>

struct PointInfo;

namespace exprcurve_detail {

// Inserts `point` in front of the first listed point whose time is not below
// its own (equal, greater, or not comparable), or appends it. A point
// therefore goes before any equal times, and a NaN time goes first. Returns
// the insertion index.
unsigned int insertOrdered(std::vector<PointInfo*>& list, PointInfo* point);

// Deletes every non-null record (nulling each entry first) and empties the
// list.
void deleteAll(std::vector<PointInfo*>& list);

// A new record with every field of `source`, at `time`.
PointInfo* copyOf(const PointInfo& source, double time);

}  // namespace exprcurve_detail

#endif  // EXPRCURVE_PRIVATE_CONTROLPOINTS_H
