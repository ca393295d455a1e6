#include "kv_fileio.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

// Fixed-width little-endian items that read back bit for bit, NaN payloads and -0.0 included.
TEST(KvFileio, FixedWidthLittleEndianRoundTripsBitForBit)
{
    const std::uint64_t doubleBits[] = {0x3FF0000000000000u, 0x7FF8000000000123u, 0x8000000000000000u, 1u};
    double doubles[4], doublesRead[4] = {};
    std::memcpy(doubles, doubleBits, sizeof doubles);
    int ints[] = {-2, INT_MIN, INT_MAX}, intsRead[3] = {};
    unsigned int uints[] = {0x01020304u}, uintsRead[1] = {};
    bool bools[] = {true, false}, boolsRead[2] = {false, true};
    FILE* file = std::tmpfile();
    EXPECT_EQ(corvane::WriteDouble(doubles, 4, file) + corvane::WriteUInt(uints, 1, file) +
                  corvane::WriteInt(ints, 3, file) + corvane::WriteBool(bools, 2, file), 10u);
    Bytes bytes(4 * 8 + 4 + 3 * 4 + 2 + 1);
    std::rewind(file);
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    const Bytes one = {0, 0, 0, 0, 0, 0, 0xF0, 0x3F}, uintThenMinusTwo = {4, 3, 2, 1, 0xFE, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 8), one);
    EXPECT_EQ(Bytes(bytes.begin() + 32, bytes.begin() + 40), uintThenMinusTwo);
    EXPECT_EQ(Bytes(bytes.begin() + 48, bytes.end()), (Bytes{1, 0}));
    std::rewind(file);
    EXPECT_EQ(corvane::ReadDouble(doublesRead, 4, file) + corvane::ReadUInt(uintsRead, 1, file) +
                  corvane::ReadInt(intsRead, 3, file) + corvane::ReadBool(boolsRead, 2, file), 10u);
    EXPECT_EQ(std::memcmp(doublesRead, doubles, sizeof doubles), 0);
    EXPECT_EQ(std::memcmp(intsRead, ints, sizeof ints), 0);
    EXPECT_TRUE(uintsRead[0] == uints[0] && boolsRead[0] && !boolsRead[1]);
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
    int i = 5;
    EXPECT_EQ(corvane::WriteInt(&i, 1, nullptr) + corvane::ReadInt(&i, 1, nullptr), 0u);
    std::fclose(file);
}

}  // namespace
