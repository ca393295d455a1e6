// Cubic Hermite basis used by curve evaluation (internal, not installed).
#ifndef EXPRCURVE_PRIVATE_BEZIERBASE_H
#define EXPRCURVE_PRIVATE_BEZIERBASE_H

#include <cassert>

// The four Hermite weights at s in [0, 1]: h1 and h2 weigh the start and end
// values, h3 and h4 the start and end tangents. The grouping of the
// operations is part of the curve's bit-exact results.
inline void hermiteBasis(const double& s, double& h1, double& h2, double& h3, double& h4)
{
    assert(s >= 0.0 && s <= 1.0);
    const double s2 = s * s;
    const double s3 = s * s2;
    h1 = (s3 + s3) - 3.0 * s2 + 1.0;
    h2 = -2.0 * s3 + 3.0 * s2;
    h3 = (s3 - (s2 + s2)) + s;
    h4 = s3 - s2;
}

#endif  // EXPRCURVE_PRIVATE_BEZIERBASE_H
