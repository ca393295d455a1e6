// A stream buffer over a FILE whose flush does not reach the file.
//
// The curve text writer flushes after every line, as the format's writer is
// defined to; on a file stream each flush is a system call, so a curve of
// 200,000 points took 2.2 million of them. Given this buffer instead, the
// writer's flushes cost nothing and the bytes go out in large blocks: the
// file is the same.
#ifndef EXPRCURVE_TOOLS_DEFERRED_FLUSH_BUFFER_H
#define EXPRCURVE_TOOLS_DEFERRED_FLUSH_BUFFER_H

#include <array>
#include <cstdio>
#include <streambuf>

namespace tool {

class DeferredFlushBuffer : public std::streambuf {
public:
    explicit DeferredFlushBuffer(std::FILE* file);
    DeferredFlushBuffer(const DeferredFlushBuffer&) = delete;
    DeferredFlushBuffer& operator=(const DeferredFlushBuffer&) = delete;

    // Hands everything held to the file and flushes it; false when a write
    // failed, now or before.
    bool finish();

protected:
    int_type overflow(int_type c) override;
    int sync() override;  // a no-op: the bytes wait for a full block or finish()

private:
    bool writeHeld();

    std::FILE* file;
    bool failed = false;
    std::array<char, 1 << 16> block;
};

}  // namespace tool

#endif  // EXPRCURVE_TOOLS_DEFERRED_FLUSH_BUFFER_H
