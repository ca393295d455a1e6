// Fixed-width little-endian element I/O. Bytes are assembled and taken apart
// explicitly so the files are the same whatever the host's byte order.
#include "kv_fileio.h"

#include <cstdint>
#include <cstring>

namespace corvane {
namespace {

template <std::size_t Width>
std::uint64_t fromLittleEndian(const unsigned char (&bytes)[Width])
{
    std::uint64_t bits = 0;
    for (std::size_t i = Width; i-- > 0;)
        bits = (bits << 8) | bytes[i];
    return bits;
}

template <std::size_t Width>
void toLittleEndian(std::uint64_t bits, unsigned char (&bytes)[Width])
{
    for (std::size_t i = 0; i < Width; ++i, bits >>= 8)
        bytes[i] = static_cast<unsigned char>(bits & 0xFFu);
}

// Element <-> bit pattern of its fixed width.
std::uint64_t bitsOf(unsigned int v) { return v; }
std::uint64_t bitsOf(int v) { return static_cast<std::uint32_t>(v); }
std::uint64_t bitsOf(bool v) { return v ? 1u : 0u; }
std::uint64_t bitsOf(double v)
{
    std::uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return bits;
}

void fromBits(std::uint64_t bits, unsigned int& v) { v = static_cast<std::uint32_t>(bits); }
void fromBits(std::uint64_t bits, int& v)
{
    const auto u = static_cast<std::uint32_t>(bits);
    std::int32_t s;
    std::memcpy(&s, &u, sizeof s);
    v = s;
}
void fromBits(std::uint64_t bits, bool& v) { v = bits != 0; }
void fromBits(std::uint64_t bits, double& v) { std::memcpy(&v, &bits, sizeof v); }

// Elements move through a small byte buffer, one fread or fwrite per
// chunk rather than per element: the FILE is locked (where the C library
// locks at all) once per chunk. fread and fwrite count whole elements, and
// a short read has consumed the bytes that were there and set the
// end-of-file or error indicator, exactly as reading element by element
// would; an element that could not be completed is not stored.
constexpr size_t chunkBytes = 512;

template <std::size_t Width, typename T>
size_t readElements(T* values, size_t count, FILE* file)
{
    if (values == nullptr || file == nullptr)
        return 0;
    constexpr size_t chunkElements = chunkBytes / Width;
    unsigned char buffer[chunkElements][Width];
    size_t done = 0;
    while (done < count) {
        const size_t wanted = count - done < chunkElements ? count - done : chunkElements;
        const size_t got = std::fread(buffer, Width, wanted, file);
        for (size_t i = 0; i < got; ++i)
            fromBits(fromLittleEndian(buffer[i]), values[done + i]);
        done += got;
        if (got < wanted)
            break;
    }
    return done;
}

template <std::size_t Width, typename T>
size_t writeElements(const T* values, size_t count, FILE* file)
{
    if (values == nullptr || file == nullptr)
        return 0;
    constexpr size_t chunkElements = chunkBytes / Width;
    unsigned char buffer[chunkElements][Width];
    size_t done = 0;
    while (done < count) {
        const size_t wanted = count - done < chunkElements ? count - done : chunkElements;
        for (size_t i = 0; i < wanted; ++i)
            toLittleEndian(bitsOf(values[done + i]), buffer[i]);
        const size_t put = std::fwrite(buffer, Width, wanted, file);
        done += put;
        if (put < wanted)
            break;
    }
    return done;
}

}  // namespace

size_t ReadUInt(unsigned int* values, size_t count, FILE* file) { return readElements<4>(values, count, file); }
size_t WriteUInt(unsigned int* values, size_t count, FILE* file) { return writeElements<4>(values, count, file); }
size_t ReadInt(int* values, size_t count, FILE* file) { return readElements<4>(values, count, file); }
size_t WriteInt(int* values, size_t count, FILE* file) { return writeElements<4>(values, count, file); }
size_t ReadDouble(double* values, size_t count, FILE* file) { return readElements<8>(values, count, file); }
size_t WriteDouble(double* values, size_t count, FILE* file) { return writeElements<8>(values, count, file); }
size_t ReadBool(bool* values, size_t count, FILE* file) { return readElements<1>(values, count, file); }
size_t WriteBool(bool* values, size_t count, FILE* file) { return writeElements<1>(values, count, file); }

}  // namespace corvane
