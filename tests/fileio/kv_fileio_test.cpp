#include "kv_fileio.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

// A scratch FILE* that closes itself.
class ScratchFile {
public:
    ScratchFile() : file(std::tmpfile()) {}
    ~ScratchFile()
    {
        if (file != nullptr)
            std::fclose(file);
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    FILE* get() const { return file; }

    // Every byte written so far; leaves the position at the start.
    Bytes contents() const
    {
        std::rewind(file);
        Bytes bytes;
        for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file))
            bytes.push_back(static_cast<unsigned char>(c));
        std::rewind(file);
        return bytes;
    }

    // Replaces the contents with `bytes` and rewinds.
    static void fill(FILE* file, const Bytes& bytes)
    {
        if (!bytes.empty())
            std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::rewind(file);
    }

private:
    FILE* file;
};

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

double doubleFromBits(std::uint64_t bits)
{
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

TEST(KvFileio, WritesFixedWidthLittleEndianBytes)
{
    ScratchFile scratch;
    ASSERT_NE(scratch.get(), nullptr);
    unsigned int u = 0x01020304u;
    int i = -2;
    double d = 1.0;  // 0x3FF0000000000000
    bool t = true;
    bool f = false;
    EXPECT_EQ(corvane::WriteUInt(&u, 1, scratch.get()), 1u);
    EXPECT_EQ(corvane::WriteInt(&i, 1, scratch.get()), 1u);
    EXPECT_EQ(corvane::WriteDouble(&d, 1, scratch.get()), 1u);
    EXPECT_EQ(corvane::WriteBool(&t, 1, scratch.get()), 1u);
    EXPECT_EQ(corvane::WriteBool(&f, 1, scratch.get()), 1u);

    const Bytes expected = {0x04, 0x03, 0x02, 0x01,                          // unsigned int
                            0xFE, 0xFF, 0xFF, 0xFF,                          // int
                            0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F,  // double
                            0x01, 0x00};                                     // two bools
    EXPECT_EQ(scratch.contents(), expected);
}

TEST(KvFileio, ExtremeValuesRoundTripBitForBit)
{
    const std::vector<std::uint64_t> doubleBits = {
        0x7FF8000000000123u,  // quiet NaN with a payload
        0xFFF0000000000001u,  // negative signalling NaN
        0x8000000000000000u,  // -0.0
        0x0000000000000001u,  // smallest subnormal
        0x7FF0000000000000u,  // infinity
        0x7FEFFFFFFFFFFFFFu,  // largest finite
    };
    const std::vector<int> ints = {INT_MIN, -1, 0, INT_MAX};
    const std::vector<unsigned int> uints = {0u, 1u, 0x80000000u, UINT_MAX};

    ScratchFile scratch;
    ASSERT_NE(scratch.get(), nullptr);
    for (std::uint64_t bits : doubleBits) {
        double d = doubleFromBits(bits);
        corvane::WriteDouble(&d, 1, scratch.get());
    }
    for (int i : ints)
        corvane::WriteInt(&i, 1, scratch.get());
    for (unsigned int u : uints)
        corvane::WriteUInt(&u, 1, scratch.get());
    std::rewind(scratch.get());

    for (std::uint64_t bits : doubleBits) {
        double d = 0.0;
        ASSERT_EQ(corvane::ReadDouble(&d, 1, scratch.get()), 1u);
        EXPECT_EQ(bitsOf(d), bits);
    }
    for (int expected : ints) {
        int i = 7;
        ASSERT_EQ(corvane::ReadInt(&i, 1, scratch.get()), 1u);
        EXPECT_EQ(i, expected);
    }
    for (unsigned int expected : uints) {
        unsigned int u = 7;
        ASSERT_EQ(corvane::ReadUInt(&u, 1, scratch.get()), 1u);
        EXPECT_EQ(u, expected);
    }
    unsigned char extra = 0;
    EXPECT_EQ(std::fread(&extra, 1, 1, scratch.get()), 0u);  // nothing more was written
}

TEST(KvFileio, AnyNonZeroByteReadsAsTrue)
{
    ScratchFile scratch;
    ASSERT_NE(scratch.get(), nullptr);
    ScratchFile::fill(scratch.get(), {0x00, 0x01, 0x02, 0x80, 0xFF});
    bool values[5] = {true, false, false, false, false};
    EXPECT_EQ(corvane::ReadBool(values, 5, scratch.get()), 5u);
    EXPECT_FALSE(values[0]);
    for (int i = 1; i < 5; ++i)
        EXPECT_TRUE(values[i]) << "byte " << i;
}

TEST(KvFileio, ShortReadCountsCompleteElementsAndSetsEof)
{
    ScratchFile scratch;
    ASSERT_NE(scratch.get(), nullptr);
    // One whole unsigned int and two bytes of the next.
    ScratchFile::fill(scratch.get(), {0x2A, 0x00, 0x00, 0x00, 0xFF, 0xFF});
    unsigned int values[2] = {0u, 99u};
    EXPECT_EQ(corvane::ReadUInt(values, 2, scratch.get()), 1u);
    EXPECT_EQ(values[0], 42u);
    EXPECT_EQ(values[1], 99u);  // the incomplete element is left alone
    EXPECT_NE(std::feof(scratch.get()), 0);

    std::rewind(scratch.get());
    double d = 3.5;
    EXPECT_EQ(corvane::ReadDouble(&d, 1, scratch.get()), 0u);  // six bytes of eight
    EXPECT_EQ(d, 3.5);
    EXPECT_NE(std::feof(scratch.get()), 0);

    bool b = true;
    EXPECT_EQ(corvane::ReadBool(&b, 1, scratch.get()), 0u);  // at the end already
    EXPECT_TRUE(b);
}

TEST(KvFileio, CountsAboveOneTransferEveryElementInOrder)
{
    ScratchFile scratch;
    ASSERT_NE(scratch.get(), nullptr);
    int written[3] = {1, -256, 0x7F000001};
    double doubles[2] = {0.5, -2.0};
    EXPECT_EQ(corvane::WriteInt(written, 3, scratch.get()), 3u);
    EXPECT_EQ(corvane::WriteDouble(doubles, 2, scratch.get()), 2u);

    const Bytes bytes = scratch.contents();
    ASSERT_EQ(bytes.size(), 3u * 4u + 2u * 8u);
    const Bytes ints(bytes.begin(), bytes.begin() + 12);
    EXPECT_EQ(ints, (Bytes{0x01, 0, 0, 0, 0x00, 0xFF, 0xFF, 0xFF, 0x01, 0, 0, 0x7F}));

    int read[3] = {};
    double readDoubles[2] = {};
    EXPECT_EQ(corvane::ReadInt(read, 3, scratch.get()), 3u);
    EXPECT_EQ(corvane::ReadDouble(readDoubles, 2, scratch.get()), 2u);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(read[i], written[i]);
    EXPECT_EQ(readDoubles[0], 0.5);
    EXPECT_EQ(readDoubles[1], -2.0);
}

TEST(KvFileio, NullFileTransfersNothing)
{
    int i = 5;
    EXPECT_EQ(corvane::WriteInt(&i, 1, nullptr), 0u);
    EXPECT_EQ(corvane::ReadInt(&i, 1, nullptr), 0u);
    EXPECT_EQ(i, 5);
}

}  // namespace
