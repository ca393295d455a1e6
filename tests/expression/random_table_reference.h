// An independent rewrite of the random node's sample generator, used by the
// tests as the reference a node's table is checked against.
#ifndef EXPRCURVE_TESTS_RANDOM_TABLE_REFERENCE_H
#define EXPRCURVE_TESTS_RANDOM_TABLE_REFERENCE_H

#include <cstdint>
#include <vector>

namespace random_reference {

constexpr int tableSize = 10000;

inline std::uint32_t carryStep(std::uint32_t q)
{
    return (q >> 16) + (q & 0xFFFFu) * 30903u;
}

inline double toUnit(std::uint32_t word)
{
    return word / 4294967296.0;
}

// The first sample only: cheap enough to scan every seed.
inline double firstSample(std::uint32_t seed)
{
    return toUnit(carryStep(seed | 1u) + (8u * seed + 3u) * (2u * seed + 1u));
}

inline std::vector<double> table(std::uint32_t seed)
{
    std::vector<double> samples;
    std::uint32_t older = 8u * seed + 3u;
    std::uint32_t newer = 2u * seed + 1u;
    std::uint32_t carry = seed | 1u;
    for (int n = 0; n < tableSize; ++n) {
        const std::uint32_t product = older * newer;
        carry = carryStep(carry);
        samples.push_back(toUnit(carry + product));
        older = newer;
        newer = product;
    }
    return samples;
}

// The seed whose table is `samples`, or -1 when no seed produces it.
inline int seedOf(const std::vector<double>& samples)
{
    if (samples.empty()) {
        return -1;
    }
    for (std::uint32_t seed = 0; seed < static_cast<std::uint32_t>(tableSize); ++seed) {
        if (firstSample(seed) == samples[0] && table(seed) == samples) {
            return static_cast<int>(seed);
        }
    }
    return -1;
}

}  // namespace random_reference

#endif  // EXPRCURVE_TESTS_RANDOM_TABLE_REFERENCE_H
