// Executable memory for compiled expressions (internal): one shared pool that
// places the machine code of many compiled forms on the same pages.
#ifndef EXPRCURVE_EXPRESSION_EXECUTABLE_MEMORY_H
#define EXPRCURVE_EXPRESSION_EXECUTABLE_MEMORY_H

#include <cstddef>
#include <cstdint>
#include <sys/types.h>
#include <vector>

namespace exprcurve {
namespace compiled {

// Machine code and the read-only data it reads, before placing. The code
// reaches its data only through 32-bit displacements relative to the
// instruction pointer, patched when the two are placed.
struct CodeImage {
    struct DataReference {
        std::size_t at;          // of the displacement in `code`
        std::size_t end;         // of its instruction, which the displacement is relative to
        std::size_t dataOffset;  // of the value in `data`
    };
    std::vector<std::uint8_t> code;
    std::vector<std::uint8_t> data;  // entries aligned to 16 bytes within it
    std::vector<DataReference> references;
};

struct Chunk;

// A placed image: its code runs at `entry()` until the block is destroyed.
class ExecutableBlock {
public:
    ExecutableBlock() = default;
    ExecutableBlock(ExecutableBlock&& other) noexcept;
    ExecutableBlock& operator=(ExecutableBlock&& other) noexcept;
    ExecutableBlock(const ExecutableBlock&) = delete;
    ExecutableBlock& operator=(const ExecutableBlock&) = delete;
    ~ExecutableBlock();

    const void* entry() const { return code; }
    explicit operator bool() const { return code != nullptr; }

private:
    friend ExecutableBlock placeCode(const CodeImage& image);
    Chunk* chunk = nullptr;
    const void* code = nullptr;
};

// The image placed in executable memory, or an empty block when none can be
// had (the probe failed once, the system refuses a mapping, the image is
// too large). Thread-safe.
ExecutableBlock placeCode(const CodeImage& image);

// ---------------------------------------------------------------- test seam

// The system calls the pool makes, replaceable so that tests can make any of
// them fail. `createObject` returns a file descriptor of `size` bytes.
struct MemoryCalls {
    int (*createObject)(std::size_t size);
    void* (*map)(void* address, std::size_t length, int protection, int flags, int fd, off_t offset);
    int (*protect)(void* address, std::size_t length, int protection);
    int (*unmap)(void* address, std::size_t length);
    int (*close)(int fd);
};

// Null restores the system's calls. Either way the pool starts a fresh
// chunk for the next image and forgets a failed probe.
void replaceMemoryCalls(const MemoryCalls* calls);

struct PoolStatistics {
    std::size_t chunks;       // mapped now
    std::size_t mappedBytes;  // of memory objects mapped now (each is mapped twice)
    std::size_t usedBytes;    // of code and data in live blocks
    std::size_t lostBytes;    // executable views that could not be unmapped (made inaccessible)
    bool disabled;            // a probe failed: no executable memory for this process
};

PoolStatistics poolStatistics();

}  // namespace compiled
}  // namespace exprcurve

#endif  // EXPRCURVE_EXPRESSION_EXECUTABLE_MEMORY_H
