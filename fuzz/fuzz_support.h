// Small pieces the fuzz targets share.
#ifndef EXPRCURVE_FUZZ_SUPPORT_H
#define EXPRCURVE_FUZZ_SUPPORT_H

#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "compiledcurve.h"
#include "splinebase.h"

namespace fuzz_support {

// A broken invariant is a finding: stop with a message libFuzzer records.
inline void require(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

// A scratch file of this process for the stream formats, removed at exit;
// memory-backed where the system has it, since the text save flushes after
// every line.
inline const std::string& scratchPath()
{
    struct Scratch {
        Scratch()
        {
            for (const char* folder : {"/dev/shm", "/tmp"}) {
                std::string name = std::string(folder) + "/exprcurve-fuzz-XXXXXX";
                const int fd = mkstemp(&name[0]);
                if (fd >= 0) {
                    close(fd);
                    path = name;
                    return;
                }
            }
            require(false, "a scratch file can be made");
        }
        ~Scratch() { std::remove(path.c_str()); }
        std::string path;
    };
    static const Scratch scratch;
    return scratch.path;
}

inline bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Bit for bit, except that any NaN equals any NaN: where both operands of an
// addition are NaN, which one's sign and payload survive depends on the
// operand order the compiler picked for that (commutative) instruction, which
// two separately compiled code paths need not share.
inline bool sameResult(double a, double b)
{
    return sameBits(a, b) || (std::isnan(a) && std::isnan(b));
}

inline bool samePoint(const PointInfo& a, const PointInfo& b)
{
    return sameBits(a.time, b.time) && sameBits(a.value, b.value) &&
           sameBits(a.bezier.leftSlope, b.bezier.leftSlope) &&
           sameBits(a.bezier.rightSlope, b.bezier.rightSlope) &&
           sameBits(a.tcb.tension, b.tcb.tension) && sameBits(a.tcb.continuity, b.tcb.continuity) &&
           sameBits(a.tcb.bias, b.tcb.bias) && sameBits(a.tcb.easeFrom, b.tcb.easeFrom) &&
           sameBits(a.tcb.easeTo, b.tcb.easeTo) && a.type == b.type && a.flag == b.flag;
}

// The same records' fields in the same list order.
inline bool sameList(const std::vector<PointInfo*>& a, const std::vector<PointInfo*>& b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (!samePoint(*a[i], *b[i]))
            return false;
    }
    return true;
}

// The runtime form answers every time as the curve did (`curveValues`):
// without a hint, with a hint that follows the times, with any hint
// `anyHint(i)` gives, and in a sample in place.
template <typename AnyHint>
void checkCompiled(const exprcurve::CompiledCurve& compiled, const std::vector<double>& times,
                   const std::vector<double>& curveValues, AnyHint&& anyHint)
{
    std::size_t followed = anyHint(times.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        std::size_t picked = anyHint(i);
        const double values[] = {compiled(times[i]), compiled(times[i], followed),
                                 compiled(times[i], picked)};
        for (const double value : values) {
            if (!sameResult(value, curveValues[i]))
                std::fprintf(stderr, "t=%.17g compiled %.17g curve %.17g\n", times[i], value, curveValues[i]);
            require(sameResult(value, curveValues[i]), "the runtime form answers as the curve");
        }
    }
    std::vector<double> sampled = times;
    compiled.sample(sampled.data(), sampled.data(), sampled.size());
    for (std::size_t i = 0; i < times.size(); ++i)
        require(sameResult(sampled[i], curveValues[i]), "the runtime form's sample answers as the curve");
}

}  // namespace fuzz_support

#endif  // EXPRCURVE_FUZZ_SUPPORT_H
