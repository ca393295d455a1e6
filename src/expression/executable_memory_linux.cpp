// The shared pool of executable memory, on Linux.
//
// Design: a chunk is one anonymous memory object (memfd) mapped twice. The
// writable view is never executable; the executable view is read-only, with
// its code region readable and executable and its data region readable
// only. So no page is ever writable and executable at once, and the
// constants of a text (which a text chooses freely) never sit in executable
// memory: the code loads them from the data region through displacements
// relative to the instruction pointer.
//
// Images are placed only in fresh space: a chunk's free space is a bump
// pointer, and freed space is never reused. Code that ran once is therefore
// never rewritten in place (nothing for another core or a binary translator
// to hold a stale copy of), and a chunk is unmapped as soon as it holds no
// live block and no longer takes new ones. The cost is that one long-lived
// form keeps its whole chunk (64 KiB) mapped.
//
// Every system call's result is checked. A failure places nothing (the form
// is interpreted) and leaks nothing; an executable view that cannot be
// unmapped is made inaccessible instead and counted. The first failure
// before any chunk was ever made, or any refusal by policy (EPERM, EACCES),
// disables the pool for the process, so a host under such a policy pays no
// system call per compiled form.
#include "executable_memory.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <sys/mman.h>
#include <unistd.h>

namespace exprcurve {
namespace compiled {

struct Chunk {
    std::uint8_t* writable;
    std::uint8_t* executable;
    std::size_t size;
    std::size_t codeLimit;  // code in [0, codeLimit), data in [codeLimit, size)
    std::size_t codeUsed;
    std::size_t dataUsed;
    std::size_t liveBlocks;
};

namespace {

constexpr std::size_t chunkCodeBytes = 48 * 1024;
constexpr std::size_t chunkDataBytes = 16 * 1024;
constexpr std::size_t alignment = 16;
// Displacements are 32-bit; images are kept far below that.
constexpr std::size_t largestImage = 64u << 20;

int createSystemObject(std::size_t size)
{
    const int fd = memfd_create("exprcurve-code", MFD_CLOEXEC);
    if (fd < 0)
        return -1;
    if (ftruncate(fd, static_cast<off_t>(size)) != 0) {
        const int error = errno;
        ::close(fd);
        errno = error;
        return -1;
    }
    return fd;
}

const MemoryCalls systemCalls{createSystemObject, ::mmap, ::mprotect, ::munmap, ::close};

std::size_t roundUp(std::size_t value, std::size_t step) { return (value + step - 1) / step * step; }

struct Placement {
    Chunk* chunk;
    const void* code;
};

class Pool {
public:
    Placement place(const CodeImage& image);
    void release(Chunk* chunk);
    void replaceCalls(const MemoryCalls* replacement);
    PoolStatistics statistics();

private:
    bool fits(const Chunk& chunk, std::size_t code, std::size_t data) const
    {
        return roundUp(chunk.codeUsed, alignment) + code <= chunk.codeLimit &&
               roundUp(chunk.dataUsed, alignment) + data <= chunk.size - chunk.codeLimit;
    }

    Chunk* makeChunk(std::size_t code, std::size_t data);
    void retireCurrent();
    void unmapChunk(Chunk* chunk);
    void noteFailure();

    std::mutex mutex;
    MemoryCalls calls = systemCalls;
    Chunk* current = nullptr;
    std::vector<Chunk*> chunks;  // every mapped chunk, current included
    std::size_t lostBytes = 0;
    bool everMapped = false;
    bool disabled = false;
};

Chunk* Pool::makeChunk(std::size_t code, std::size_t data)
{
    const long page = sysconf(_SC_PAGESIZE);
    if (page <= 0)
        return nullptr;
    const std::size_t pageSize = static_cast<std::size_t>(page);
    const std::size_t codeLimit = roundUp(std::max(code, chunkCodeBytes), pageSize);
    const std::size_t size = codeLimit + roundUp(std::max(data, chunkDataBytes), pageSize);
    const int fd = calls.createObject(size);
    if (fd < 0)
        return nullptr;
    void* writable = calls.map(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    void* executable = writable == MAP_FAILED ? MAP_FAILED : calls.map(nullptr, size, PROT_READ, MAP_SHARED, fd, 0);
    // The mappings keep the object alive; the descriptor is not needed. A
    // failed close leaves nothing mapped or executable behind.
    const int mapError = errno;
    calls.close(fd);
    errno = mapError;
    if (executable == MAP_FAILED || calls.protect(executable, codeLimit, PROT_READ | PROT_EXEC) != 0) {
        const int error = errno;
        if (executable != MAP_FAILED && calls.unmap(executable, size) != 0)
            lostBytes += size;  // read-only, never made executable: nothing to run there
        if (writable != MAP_FAILED)
            calls.unmap(writable, size);
        errno = error;
        return nullptr;
    }
    Chunk* chunk = new Chunk{static_cast<std::uint8_t*>(writable), static_cast<std::uint8_t*>(executable), size,
                             codeLimit, 0, 0, 0};
    chunks.push_back(chunk);
    everMapped = true;
    return chunk;
}

void Pool::noteFailure()
{
    if (!everMapped || errno == EPERM || errno == EACCES)
        disabled = true;
}

void Pool::unmapChunk(Chunk* chunk)
{
    if (calls.unmap(chunk->executable, chunk->size) != 0) {
        // Never leave code runnable that nobody owns any more.
        calls.protect(chunk->executable, chunk->size, PROT_NONE);
        lostBytes += chunk->size;
    }
    if (calls.unmap(chunk->writable, chunk->size) != 0)
        lostBytes += chunk->size;
    chunks.erase(std::find(chunks.begin(), chunks.end(), chunk));
    delete chunk;
}

void Pool::retireCurrent()
{
    Chunk* retired = current;
    current = nullptr;
    if (retired && retired->liveBlocks == 0)
        unmapChunk(retired);
}

Placement Pool::place(const CodeImage& image)
{
    const std::size_t code = roundUp(image.code.size(), alignment);
    const std::size_t data = roundUp(image.data.size(), alignment);
    if (code + data > largestImage)
        return {nullptr, nullptr};
    const std::lock_guard<std::mutex> lock(mutex);
    if (disabled)
        return {nullptr, nullptr};
    if (!current || !fits(*current, code, data)) {
        retireCurrent();
        current = makeChunk(code, data);
        if (!current) {
            noteFailure();
            return {nullptr, nullptr};
        }
    }
    Chunk& chunk = *current;
    const std::size_t codeOffset = roundUp(chunk.codeUsed, alignment);
    const std::size_t dataOffset = chunk.codeLimit + roundUp(chunk.dataUsed, alignment);
    if (!image.data.empty())  // a program of one constant-free instruction has no data
        std::memcpy(chunk.writable + dataOffset, image.data.data(), image.data.size());
    std::memcpy(chunk.writable + codeOffset, image.code.data(), image.code.size());
    for (const CodeImage::DataReference& reference : image.references) {
        const std::int64_t displacement = static_cast<std::int64_t>(dataOffset + reference.dataOffset) -
                                          static_cast<std::int64_t>(codeOffset + reference.end);
        const std::uint32_t bits = static_cast<std::uint32_t>(static_cast<std::int32_t>(displacement));
        std::memcpy(chunk.writable + codeOffset + reference.at, &bits, sizeof bits);
    }
    chunk.codeUsed = codeOffset + image.code.size();
    chunk.dataUsed = dataOffset - chunk.codeLimit + image.data.size();
    ++chunk.liveBlocks;
    return {&chunk, chunk.executable + codeOffset};
}

void Pool::release(Chunk* chunk)
{
    const std::lock_guard<std::mutex> lock(mutex);
    if (--chunk->liveBlocks == 0 && chunk != current)
        unmapChunk(chunk);
}

void Pool::replaceCalls(const MemoryCalls* replacement)
{
    const std::lock_guard<std::mutex> lock(mutex);
    // Every chunk is a real mapping, whatever calls made it.
    calls = systemCalls;
    retireCurrent();
    calls = replacement ? *replacement : systemCalls;
    disabled = false;
    everMapped = false;
}

PoolStatistics Pool::statistics()
{
    const std::lock_guard<std::mutex> lock(mutex);
    PoolStatistics result{chunks.size(), 0, 0, lostBytes, disabled};
    for (const Chunk* chunk : chunks) {
        result.mappedBytes += chunk->size;
        result.usedBytes += chunk->codeUsed + chunk->dataUsed;
    }
    return result;
}

// Never destroyed: forms held in static objects of the host may be freed
// after this file's statics would be.
Pool& pool()
{
    static Pool* const instance = new Pool;
    return *instance;
}

}  // namespace

ExecutableBlock placeCode(const CodeImage& image)
{
    const Placement placement = pool().place(image);
    ExecutableBlock block;
    block.chunk = placement.chunk;
    block.code = placement.code;
    return block;
}

ExecutableBlock::ExecutableBlock(ExecutableBlock&& other) noexcept : chunk(other.chunk), code(other.code)
{
    other.chunk = nullptr;
    other.code = nullptr;
}

ExecutableBlock& ExecutableBlock::operator=(ExecutableBlock&& other) noexcept
{
    if (this != &other) {
        if (chunk)
            pool().release(chunk);
        chunk = other.chunk;
        code = other.code;
        other.chunk = nullptr;
        other.code = nullptr;
    }
    return *this;
}

ExecutableBlock::~ExecutableBlock()
{
    if (chunk)
        pool().release(chunk);
}

void replaceMemoryCalls(const MemoryCalls* calls) { pool().replaceCalls(calls); }

PoolStatistics poolStatistics() { return pool().statistics(); }

}  // namespace compiled
}  // namespace exprcurve
