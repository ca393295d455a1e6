// Small pieces every fuzz target uses.
#ifndef EXPRCURVE_FUZZ_SUPPORT_H
#define EXPRCURVE_FUZZ_SUPPORT_H

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

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

}  // namespace fuzz_support

#endif  // EXPRCURVE_FUZZ_SUPPORT_H
