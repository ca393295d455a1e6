// Fixed-width little-endian element I/O. Bytes are assembled and taken apart
// explicitly so the files are the same whatever the host's byte order.
#include "kv_fileio.h"

#include <cstdint>
#include <cstring>

namespace corvane {
namespace {

template <std::size_t Width>
bool readBytes(unsigned char (&bytes)[Width], FILE* file)
{
    return file != nullptr && std::fread(bytes, 1, Width, file) == Width;
}

template <std::size_t Width>
bool writeBytes(const unsigned char (&bytes)[Width], FILE* file)
{
    return file != nullptr && std::fwrite(bytes, 1, Width, file) == Width;
}

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

template <std::size_t Width, typename T>
size_t readElements(T* values, size_t count, FILE* file)
{
    if (values == nullptr)
        return 0;
    for (size_t i = 0; i < count; ++i) {
        unsigned char bytes[Width];
        if (!readBytes(bytes, file))
            return i;
        fromBits(fromLittleEndian(bytes), values[i]);
    }
    return count;
}

template <std::size_t Width, typename T>
size_t writeElements(const T* values, size_t count, FILE* file)
{
    if (values == nullptr)
        return 0;
    for (size_t i = 0; i < count; ++i) {
        unsigned char bytes[Width];
        toLittleEndian(bitsOf(values[i]), bytes);
        if (!writeBytes(bytes, file))
            return i;
    }
    return count;
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
