#include "kv_fileio.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

struct ScratchFile {
    explicit ScratchFile(const Bytes& bytes = {}) : file(std::tmpfile())
    {
        if (!bytes.empty())  // fwrite must not see the null data() of an empty vector
            std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::rewind(file);
    }
    ~ScratchFile() { std::fclose(file); }
    FILE* file;
};

TEST(KvFileio, FixedWidthLittleEndianRoundTripsBitForBit)
{
    const std::uint64_t doubleBits[] = {0x3FF0000000000000u,   // 1.0
                                        0x7FF8000000000123u,   // quiet NaN with a payload
                                        0xFFF0000000000001u,   // negative signalling NaN
                                        0x8000000000000000u,   // -0.0
                                        0x0000000000000001u};  // smallest subnormal
    double doubles[5];
    std::memcpy(doubles, doubleBits, sizeof doubles);
    int ints[] = {-2, INT_MIN, INT_MAX};
    unsigned int uints[] = {0x01020304u, UINT_MAX};
    bool bools[] = {true, false};
    ScratchFile scratch;
    EXPECT_EQ(corvane::WriteDouble(doubles, 5, scratch.file), 5u);
    EXPECT_EQ(corvane::WriteUInt(uints, 2, scratch.file), 2u);
    EXPECT_EQ(corvane::WriteInt(ints, 3, scratch.file), 3u);
    EXPECT_EQ(corvane::WriteBool(bools, 2, scratch.file), 2u);

    Bytes bytes(5 * 8 + 2 * 4 + 3 * 4 + 2);
    std::rewind(scratch.file);
    ASSERT_EQ(std::fread(bytes.data(), 1, bytes.size() + 1, scratch.file), bytes.size());
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 8), (Bytes{0, 0, 0, 0, 0, 0, 0xF0, 0x3F}));
    EXPECT_EQ(Bytes(bytes.begin() + 40, bytes.begin() + 52),
              (Bytes{0x04, 0x03, 0x02, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(Bytes(bytes.end() - 2, bytes.end()), (Bytes{0x01, 0x00}));

    std::rewind(scratch.file);
    unsigned int uintsRead[2] = {};
    int intsRead[3] = {};
    double doublesRead[5] = {};
    bool boolsRead[2] = {false, true};
    EXPECT_EQ(corvane::ReadDouble(doublesRead, 5, scratch.file), 5u);
    EXPECT_EQ(corvane::ReadUInt(uintsRead, 2, scratch.file), 2u);
    EXPECT_EQ(corvane::ReadInt(intsRead, 3, scratch.file), 3u);
    EXPECT_EQ(corvane::ReadBool(boolsRead, 2, scratch.file), 2u);
    EXPECT_EQ(std::memcmp(uintsRead, uints, sizeof uints), 0);
    EXPECT_EQ(std::memcmp(intsRead, ints, sizeof ints), 0);
    EXPECT_EQ(std::memcmp(doublesRead, doubles, sizeof doubles), 0);
    EXPECT_TRUE(boolsRead[0]);
    EXPECT_FALSE(boolsRead[1]);
}

TEST(KvFileio, AnyNonZeroByteReadsAsTrue)
{
    ScratchFile scratch({0x00, 0x01, 0x02, 0x80, 0xFF});
    bool values[5] = {true, false, false, false, false};
    EXPECT_EQ(corvane::ReadBool(values, 5, scratch.file), 5u);
    EXPECT_EQ(std::vector<bool>(values, values + 5), (std::vector<bool>{false, true, true, true, true}));
}

TEST(KvFileio, ShortReadCountsCompleteElementsAndSetsEof)
{
    ScratchFile scratch({0x2A, 0x00, 0x00, 0x00, 0xFF, 0xFF});  // one uint and two bytes
    unsigned int values[2] = {0u, 99u};
    EXPECT_EQ(corvane::ReadUInt(values, 2, scratch.file), 1u);
    EXPECT_EQ(values[0], 42u);
    EXPECT_EQ(values[1], 99u);  // the incomplete element is left alone
    EXPECT_NE(std::feof(scratch.file), 0);

    std::rewind(scratch.file);
    double d = 3.5;
    EXPECT_EQ(corvane::ReadDouble(&d, 1, scratch.file), 0u);  // six bytes of eight
    EXPECT_EQ(d, 3.5);
    int i = 5;
    EXPECT_EQ(corvane::WriteInt(&i, 1, nullptr), 0u);
    EXPECT_EQ(corvane::ReadInt(&i, 1, nullptr), 0u);
}

}  // namespace
