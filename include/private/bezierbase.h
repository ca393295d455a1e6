// Cubic Hermite basis used by curve evaluation (internal, not installed).
#ifndef EXPRCURVE_PRIVATE_BEZIERBASE_H
#define EXPRCURVE_PRIVATE_BEZIERBASE_H

#include <cassert>
#include <cstddef>

// The four Hermite weights at s: h1 and h2 weigh the start and end values, h3
// and h4 the start and end tangents. The grouping of the operations is part
// of the curve's bit-exact results. `Lane` is a double or a group of doubles
// whose every operation rounds each lane as the scalar operation would, so
// that every lane's weights are the scalar ones bit for bit.
template <typename Lane>
inline void hermiteWeights(const Lane& s, Lane& h1, Lane& h2, Lane& h3, Lane& h4)
{
    const Lane s2 = s * s;
    const Lane s3 = s * s2;
    h1 = (s3 + s3) - Lane(3.0) * s2 + Lane(1.0);
    h2 = Lane(-2.0) * s3 + Lane(3.0) * s2;
    h3 = (s3 - (s2 + s2)) + s;
    h4 = s3 - s2;
}

// The weights at s in [0, 1].
//
// The assertion on s is part of the curve's definition. Loadable data reaches
// it (an infinite or NaN time or ease value, times whose difference
// overflows, a list out of time order: see SplineBase::operator()), where a
// build without assertions computes NaN weights.
inline void hermiteBasis(const double& s, double& h1, double& h2, double& h3, double& h4)
{
    assert(s >= 0.0 && s <= 1.0);
    hermiteWeights(s, h1, h2, h3, h4);
}

// The weights at several positions at once, each in [0, 1].
template <typename Lanes>
inline void hermiteBasis(const Lanes& positions, Lanes& h1, Lanes& h2, Lanes& h3, Lanes& h4)
{
#ifndef NDEBUG
    for (std::size_t lane = 0; lane < Lanes::width; ++lane) {
        const double s = positions[lane];
        assert(s >= 0.0 && s <= 1.0);
    }
#endif
    hermiteWeights(positions, h1, h2, h3, h4);
}

#endif  // EXPRCURVE_PRIVATE_BEZIERBASE_H
