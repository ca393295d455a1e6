// A curve's duplicate for the C and Python copies: every record, in the
// source's own list order, with its modes, default value and flag.
// SplineBase::copy inserts the records one by one instead, which turns runs
// of points at equal times around; a copy made for a user must not.
#ifndef EXPRCURVE_EXACT_COPY_H
#define EXPRCURVE_EXACT_COPY_H

class SplineBase;

namespace exprcurve {

// `target` must be empty.
void copyExactly(const SplineBase& source, SplineBase& target);

}  // namespace exprcurve

#endif  // EXPRCURVE_EXACT_COPY_H
