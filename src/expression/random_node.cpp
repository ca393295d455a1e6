// The random node: a table of samples per node, drawn at construction from a
// process-wide generator, read back by linear interpolation.
#include "functionfloatbase.h"
#include "random_noise.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace {

constexpr std::size_t randomTableSize = 10000;
constexpr double twoToMinus32 = 2.3283064365386963e-10;

// The process-wide generator state that seeds each new node. w3 only
// receives each new product; nothing reads it.
struct RandomSeeds {
    std::uint32_t w0;
    std::uint32_t w1;
    std::uint32_t w2;
    std::uint32_t w3;
};

// One multiply-with-carry step on the low and high halves of a word.
std::uint32_t multiplyWithCarry(std::uint32_t q)
{
    return (q >> 16) + (q & 0xFFFFu) * 30903u;
}

// Advances the shared state once and returns the seed of the new node, in
// 0..9999.
std::uint32_t nextSeed(RandomSeeds& seeds)
{
    const std::uint32_t m = seeds.w0 * seeds.w1;
    seeds.w3 = m;
    seeds.w0 = seeds.w1;
    seeds.w1 = m;
    seeds.w2 = multiplyWithCarry(seeds.w2);
    const std::uint32_t mixed = seeds.w2 + m;
    return static_cast<std::uint32_t>(static_cast<double>(mixed) * twoToMinus32 * 10000.0);
}

// Appends randomTableSize samples in [0, 1) of the generator seeded by k.
void fillRandomTable(std::uint32_t k, std::vector<double>& table)
{
    std::uint32_t p1 = 8u * k + 3u;
    std::uint32_t p2 = 2u * k + 1u;
    std::uint32_t q = k | 1u;
    if (table.capacity() < randomTableSize) {
        table.reserve(randomTableSize);
    }
    for (std::size_t n = 0; n < randomTableSize; ++n) {
        const std::uint32_t p = p1 * p2;
        q = multiplyWithCarry(q);
        const std::uint32_t sample = q + p;
        table.push_back(static_cast<double>(sample) * twoToMinus32);
        p1 = p2;
        p2 = p;
    }
}

// The step number of a position: s * 1000 truncated toward zero. Where that
// is NaN or does not fit in a signed 64-bit integer we answer INT64_MIN, the
// value the x86-64 truncating conversion produces there; the step then reads
// sample 0, and the fraction, like the position, is out of any useful range.
std::int64_t stepNumber(double scaled)
{
    constexpr double twoTo63 = 9223372036854775808.0;
    if (!(scaled > -twoTo63 && scaled < twoTo63)) {
        return std::numeric_limits<std::int64_t>::min();
    }
    return static_cast<std::int64_t>(scaled);
}

// i * 1000 as the signed 64-bit product wrapped modulo 2^64: the wrap is done
// in unsigned arithmetic, where it is defined.
double stepStart(std::int64_t i)
{
    const std::uint64_t product = static_cast<std::uint64_t>(i) * 1000u;
    return static_cast<double>(static_cast<std::int64_t>(product));
}

}  // namespace

FunctionFloatRnd::FunctionFloatRnd()
{
    static RandomSeeds seedsRnd{34859u, 8715u, 4357u, 0u};
    fillRandomTable(nextSeed(seedsRnd), randomTable);
}

// Interpolates linearly between two neighbouring samples inside each step of
// 0.001 of |t|; the pair is chosen by the square of the step number. A table
// the host has emptied gives no noise (0.0) instead of reading past its end.
double exprcurve::randomNoise(const std::vector<double>& table, double position)
{
    const double s = std::fabs(position);
    const std::int64_t i = stepNumber(s * 1000.0);
    const double f = (s * 1000000.0 - stepStart(i)) / 1000.0;
    const std::size_t n = table.size();
    if (n == 0)
        return 0.0;
    const std::uint64_t square = static_cast<std::uint64_t>(i) * static_cast<std::uint64_t>(i);
    const std::size_t k1 = static_cast<std::size_t>(square % n);
    const std::size_t k2 = (k1 + 1) % n;
    return (table[k2] - table[k1]) * f + table[k1];
}

double FunctionFloatRnd::operator()() const
{
    const double r = exprcurve::randomNoise(randomTable, (*arg2)());
    return (*arg1)() * r;
}
