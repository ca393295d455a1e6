// Two doubles computed as one: the lane type of bulk curve evaluation
// (internal). Every operation rounds each lane exactly as the scalar
// operation on that lane would, so a formula written once for a double and
// for a LanePair gives each lane the scalar result bit for bit (the build
// never contracts into fused multiply-adds). With SSE2 the pair is one
// register; elsewhere it is two doubles handled one after the other.
#ifndef EXPRCURVE_SRC_CURVE_LANE_PAIR_H
#define EXPRCURVE_SRC_CURVE_LANE_PAIR_H

#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace exprcurve::curves {

#if defined(__SSE2__)

// Per lane all bits set where a comparison holds, clear where it does not.
class LanePairMask {
public:
    explicit LanePairMask(__m128d bits) : bits(bits) {}
    friend LanePairMask operator&(const LanePairMask& a, const LanePairMask& b)
    {
        return LanePairMask(_mm_and_pd(a.bits, b.bits));
    }
    bool both() const { return _mm_movemask_pd(bits) == 3; }
    __m128d bits;
};

class LanePair {
public:
    static constexpr std::size_t width = 2;

    LanePair() = default;
    explicit LanePair(double both) : lanes(_mm_set1_pd(both)) {}

    static LanePair load(const double* from) { return LanePair(_mm_loadu_pd(from)); }
    void store(double* to) const { _mm_storeu_pd(to, lanes); }
    double operator[](std::size_t lane) const
    {
        alignas(16) double values[2];
        _mm_store_pd(values, lanes);
        return values[lane];
    }

    friend LanePair operator+(const LanePair& a, const LanePair& b)
    {
        return LanePair(_mm_add_pd(a.lanes, b.lanes));
    }
    friend LanePair operator-(const LanePair& a, const LanePair& b)
    {
        return LanePair(_mm_sub_pd(a.lanes, b.lanes));
    }
    friend LanePair operator*(const LanePair& a, const LanePair& b)
    {
        return LanePair(_mm_mul_pd(a.lanes, b.lanes));
    }
    friend LanePair operator/(const LanePair& a, const LanePair& b)
    {
        return LanePair(_mm_div_pd(a.lanes, b.lanes));
    }
    friend LanePairMask operator<(const LanePair& a, const LanePair& b)
    {
        return LanePairMask(_mm_cmplt_pd(a.lanes, b.lanes));
    }
    friend LanePairMask operator>(const LanePair& a, const LanePair& b)
    {
        return LanePairMask(_mm_cmpgt_pd(a.lanes, b.lanes));
    }
    friend LanePairMask operator<=(const LanePair& a, const LanePair& b)
    {
        return LanePairMask(_mm_cmple_pd(a.lanes, b.lanes));
    }
    // Bitwise choice: each lane is one of the two, untouched.
    friend LanePair select(const LanePairMask& condition, const LanePair& ifTrue,
                           const LanePair& ifFalse)
    {
        return LanePair(_mm_or_pd(_mm_and_pd(condition.bits, ifTrue.lanes),
                                  _mm_andnot_pd(condition.bits, ifFalse.lanes)));
    }

private:
    explicit LanePair(__m128d lanes) : lanes(lanes) {}

    __m128d lanes;
};

#else

class LanePairMask {
public:
    LanePairMask(bool first, bool second) : holds{first, second} {}
    friend LanePairMask operator&(const LanePairMask& a, const LanePairMask& b)
    {
        return LanePairMask(a.holds[0] && b.holds[0], a.holds[1] && b.holds[1]);
    }
    bool both() const { return holds[0] && holds[1]; }
    bool holds[2];
};

class LanePair {
public:
    static constexpr std::size_t width = 2;

    LanePair() = default;
    explicit LanePair(double both) : lanes{both, both} {}

    static LanePair load(const double* from) { return LanePair(from[0], from[1]); }
    void store(double* to) const
    {
        to[0] = lanes[0];
        to[1] = lanes[1];
    }
    double operator[](std::size_t lane) const { return lanes[lane]; }

    friend LanePair operator+(const LanePair& a, const LanePair& b)
    {
        return LanePair(a.lanes[0] + b.lanes[0], a.lanes[1] + b.lanes[1]);
    }
    friend LanePair operator-(const LanePair& a, const LanePair& b)
    {
        return LanePair(a.lanes[0] - b.lanes[0], a.lanes[1] - b.lanes[1]);
    }
    friend LanePair operator*(const LanePair& a, const LanePair& b)
    {
        return LanePair(a.lanes[0] * b.lanes[0], a.lanes[1] * b.lanes[1]);
    }
    friend LanePair operator/(const LanePair& a, const LanePair& b)
    {
        return LanePair(a.lanes[0] / b.lanes[0], a.lanes[1] / b.lanes[1]);
    }
    friend LanePairMask operator<(const LanePair& a, const LanePair& b)
    {
        return LanePairMask(a.lanes[0] < b.lanes[0], a.lanes[1] < b.lanes[1]);
    }
    friend LanePairMask operator>(const LanePair& a, const LanePair& b)
    {
        return LanePairMask(a.lanes[0] > b.lanes[0], a.lanes[1] > b.lanes[1]);
    }
    friend LanePairMask operator<=(const LanePair& a, const LanePair& b)
    {
        return LanePairMask(a.lanes[0] <= b.lanes[0], a.lanes[1] <= b.lanes[1]);
    }
    friend LanePair select(const LanePairMask& condition, const LanePair& ifTrue,
                           const LanePair& ifFalse)
    {
        return LanePair(condition.holds[0] ? ifTrue.lanes[0] : ifFalse.lanes[0],
                        condition.holds[1] ? ifTrue.lanes[1] : ifFalse.lanes[1]);
    }

private:
    LanePair(double first, double second) : lanes{first, second} {}

    double lanes[2];
};

#endif

}  // namespace exprcurve::curves

#endif  // EXPRCURVE_SRC_CURVE_LANE_PAIR_H
