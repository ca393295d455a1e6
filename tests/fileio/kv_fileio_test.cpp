#include "kv_fileio.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

// Fixed-width little-endian items, doubles read back bit for bit (NaN payloads, -0.0).
TEST(KvFileio, FixedWidthLittleEndianRoundTripsBitForBit)
{
    const std::uint64_t doubleBits[] = {0x3FF0000000000000u, 0x7FF8000000000123u, 0x8000000000000000u, 1u};
    double doubles[4], doublesRead[4] = {};
    std::memcpy(doubles, doubleBits, sizeof doubles);
    unsigned int uint = 0x01020304u;
    int minusTwo = -2;
    bool flags[] = {true, false};
    FILE* file = std::tmpfile();
    EXPECT_EQ(corvane::WriteDouble(doubles, 4, file) + corvane::WriteUInt(&uint, 1, file) +
                  corvane::WriteInt(&minusTwo, 1, file) + corvane::WriteBool(flags, 2, file), 8u);
    Bytes bytes(4 * 8 + 4 + 4 + 2 + 1);
    std::rewind(file);
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 8), (Bytes{0, 0, 0, 0, 0, 0, 0xF0, 0x3F}));
    EXPECT_EQ(Bytes(bytes.begin() + 32, bytes.end()), (Bytes{4, 3, 2, 1, 0xFE, 0xFF, 0xFF, 0xFF, 1, 0}));
    std::rewind(file);
    EXPECT_EQ(corvane::ReadDouble(doublesRead, 4, file), 4u);
    EXPECT_EQ(std::memcmp(doublesRead, doubles, sizeof doubles), 0);
    std::fclose(file);
}

TEST(KvFileio, NonZeroBytesReadAsTrueAndShortReadsCountCompleteElements)
{
    FILE* file = std::tmpfile();
    std::fwrite("\x00\x01\x80\xFF\x2A\x00", 1, 6, file);
    std::rewind(file);
    bool values[4] = {true, false, false, false};
    EXPECT_EQ(corvane::ReadBool(values, 4, file), 4u);
    EXPECT_EQ(std::vector<bool>(values, values + 4), (std::vector<bool>{false, true, true, true}));
    std::rewind(file);
    unsigned int uints[2] = {7u, 99u};
    EXPECT_EQ(corvane::ReadUInt(uints, 2, file), 1u);
    EXPECT_EQ(std::vector<unsigned int>(uints, uints + 2), (std::vector<unsigned int>{0xFF800100u, 99u}));
    EXPECT_NE(std::feof(file), 0);
    std::fclose(file);
}

}  // namespace
