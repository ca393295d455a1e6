// Cubic Hermite basis used by curve evaluation (internal, not installed).
#ifndef EXPRCURVE_PRIVATE_BEZIERBASE_H
#define EXPRCURVE_PRIVATE_BEZIERBASE_H

#include <cassert>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// The four Hermite weights at s in [0, 1]: h1 and h2 weigh the start and end
// values, h3 and h4 the start and end tangents. The grouping of the
// operations is part of the curve's bit-exact results.
//
// The assertion on s is part of the curve's definition. Loadable data reaches
// it (an infinite or NaN time or ease value, times whose difference
// overflows, a list out of time order: see SplineBase::operator()), where a
// build without assertions computes NaN weights.
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

#if defined(__SSE2__)
// The weights at two positions at once. Each lane goes through the
// operations of the scalar version above, in the same order and grouping,
// and packed SSE2 arithmetic rounds every lane as the scalar instruction
// does, so each lane's weights are the scalar ones bit for bit. A change to
// one version must be made to the other.
inline void hermiteBasis(const __m128d& positions, __m128d& h1, __m128d& h2, __m128d& h3,
                         __m128d& h4)
{
#ifndef NDEBUG
    alignas(16) double lanes[2];
    _mm_store_pd(lanes, positions);
    for (const double s : lanes)
        assert(s >= 0.0 && s <= 1.0);
#endif
    const __m128d s = positions;
    const __m128d s2 = _mm_mul_pd(s, s);
    const __m128d s3 = _mm_mul_pd(s, s2);
    const __m128d threeS2 = _mm_mul_pd(_mm_set1_pd(3.0), s2);
    h1 = _mm_add_pd(_mm_sub_pd(_mm_add_pd(s3, s3), threeS2), _mm_set1_pd(1.0));
    h2 = _mm_add_pd(_mm_mul_pd(_mm_set1_pd(-2.0), s3), threeS2);
    h3 = _mm_add_pd(_mm_sub_pd(s3, _mm_add_pd(s2, s2)), s);
    h4 = _mm_sub_pd(s3, s2);
}
#endif

#endif  // EXPRCURVE_PRIVATE_BEZIERBASE_H
