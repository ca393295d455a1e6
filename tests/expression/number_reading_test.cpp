// The hand-made number reader against formatted stream input, bit for bit.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <locale>
#include <random>
#include <sstream>
#include <string>

#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "numberreading.h"

namespace {

double streamValue(const std::string& text)
{
    std::istringstream in(text);
    double value = 0.0;
    in >> value;
    return value;
}

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

void expectReadsAsStream(const std::string& text)
{
    EXPECT_EQ(bitsOf(exprcurve::numbers::readClassic(text)), bitsOf(streamValue(text))) << '"' << text << '"';
}

std::string randomDigits(std::mt19937& random, int count)
{
    std::string digits;
    for (int i = 0; i < count; ++i)
        digits += static_cast<char>('0' + random() % 10);
    return digits;
}

}  // namespace

TEST(NumberReading, ReadsAsTheStreamOnChosenTexts)
{
    const std::string chosen[] = {"", "-", "+", ".", "-.", "+.5", "e5", ".e5", "1e", "1e+", "1E-", "1.5.2", "1-2",
                                  "2", "0.1", "007", "-0", "1e5e3", "0x1p3", " 7", "\t-3.5", "1e400", "-1e400",
                                  "1e-400", "4.9406564584124654e-324", "2.4703282292062328e-324",
                                  "2.2250738585072011e-308", "1.7976931348623157e308", "1.7976931348623159e308",
                                  "9007199254740993", "123456789012345.6", "0.000000000000001",
                                  std::string(400, '9'), "0." + std::string(400, '0') + "1"};
    for (const std::string& text : chosen)
        expectReadsAsStream(text);
}

TEST(NumberReading, ReadsAsTheStreamOnRandomTexts)
{
    std::mt19937 random(20240517);
    const std::string alphabet = "0123456789.-+eE x(";
    for (int i = 0; i < 60000; ++i) {
        std::string text;
        for (unsigned length = random() % 24; length > 0; --length)
            text += alphabet[random() % alphabet.size()];
        expectReadsAsStream(text);
    }
    // Long mantissas with exponents reaching past both ends of the range,
    // denormals and overflow included.
    for (int i = 0; i < 30000; ++i) {
        std::string text = randomDigits(random, 1 + static_cast<int>(random() % 40));
        if (random() % 2)
            text.insert(random() % (text.size() + 1), ".");
        if (random() % 3)
            text += "e" + std::to_string(static_cast<int>(random() % 800) - 400);
        expectReadsAsStream(text);
    }
}

namespace {

// A locale whose decimal point is a comma.
struct CommaPoint : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

}  // namespace

TEST(NumberReading, FollowsTheStreamUnderAnotherGlobalLocale)
{
    FunctionParserBase parser;
    ParseMessage message{};
    const std::locale previous = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    FunctionFloatBase* root = parser.parseString("1,5", message);
    std::locale::global(previous);
    ASSERT_TRUE(root->isConstant());
    EXPECT_EQ(root->getConstantRef()->value, 1.5);
    delete root;

    root = parser.parseString("1,5", message);
    EXPECT_EQ(root->getConstantRef()->value, 1.0);
    delete root;
}
