// The tool's output buffer: the curve text writer's flushes after every line
// must not reach the file, and what reaches it must be what a file stream
// writes.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "deferred_flush_buffer.h"
#include "splinebase.h"

namespace {

long sizeOf(std::FILE* file)
{
    struct stat status {};
    fstat(fileno(file), &status);
    return static_cast<long>(status.st_size);
}

std::string contentsOf(std::FILE* file)
{
    std::rewind(file);
    std::string text;
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file))
        text += static_cast<char>(c);
    return text;
}

TEST(DeferredFlushBuffer, FlushesStayInTheBufferUntilItFills)
{
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    tool::DeferredFlushBuffer buffer(file);
    std::ofstream out;
    static_cast<std::ostream&>(out).rdbuf(&buffer);
    std::ostringstream expected;
    for (int line = 0; line < 2000; ++line) {
        out << line * 0.5 << std::endl;
        expected << line * 0.5 << '\n';
    }
    EXPECT_EQ(sizeOf(file), 0);  // 2000 flushes, not one write
    for (int line = 0; line < 20000; ++line) {
        out << line << std::endl;
        expected << line << '\n';
    }
    EXPECT_GT(sizeOf(file), 0);  // full blocks went out
    EXPECT_TRUE(buffer.finish());
    EXPECT_EQ(contentsOf(file), expected.str());
    std::fclose(file);
}

// The curve text writer gives the same bytes through it as through a file.
TEST(DeferredFlushBuffer, CurveTextIsTheSameAsThroughAFileStream)
{
    SplineBase curve;
    for (int i = 0; i < 3000; ++i)
        curve.addPoint(i * 0.1, i % 5 * 0.3);
    const std::string reference = testing::TempDir() + "deferred_flush_reference.curve";
    {
        std::ofstream out(reference);
        out.precision(17);
        SplineBase::save(curve, out);
    }
    std::FILE* file = std::tmpfile();
    tool::DeferredFlushBuffer buffer(file);
    std::ofstream out;
    static_cast<std::ostream&>(out).rdbuf(&buffer);
    out.precision(17);
    SplineBase::save(curve, out);
    EXPECT_TRUE(out.good());
    EXPECT_TRUE(buffer.finish());
    std::ifstream in(reference);
    std::ostringstream expected;
    expected << in.rdbuf();
    EXPECT_EQ(contentsOf(file), expected.str());
    std::fclose(file);
    std::remove(reference.c_str());
}

}  // namespace
