// The noise of the random node (internal): the node and the compiled form
// both compute it here, so the two cannot differ.
#ifndef EXPRCURVE_EXPRESSION_RANDOM_NOISE_H
#define EXPRCURVE_EXPRESSION_RANDOM_NOISE_H

#include <vector>

namespace exprcurve {

// The factor the random node multiplies its amplitude by at `position`.
double randomNoise(const std::vector<double>& table, double position);

}  // namespace exprcurve

#endif  // EXPRCURVE_EXPRESSION_RANDOM_NOISE_H
