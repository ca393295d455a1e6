// The hand-made number reader against formatted stream input, bit for bit.
#include <gtest/gtest.h>

#include <cstring>
#include <locale>
#include <random>
#include <sstream>
#include <string>

#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "numberreading.h"

namespace {

void expectReadsAsStream(const std::string& text)
{
    std::istringstream in(text);
    double expected = 0.0;
    in >> expected;
    const double value = exprcurve::numbers::readClassic(text);
    EXPECT_EQ(std::memcmp(&value, &expected, sizeof value), 0) << '"' << text << "\": " << value << " vs " << expected;
}

// A locale whose decimal point is a comma.
struct CommaPoint : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

}  // namespace

TEST(NumberReading, ReadsAsTheStream)
{
    for (const std::string text : {"", "-", "+", ".", "-.", "+.5", "e5", ".e5", "1e", "1e+", "1E-", "1.5.2", "1-2",
                                   "2", "0.1", "-0", "1e5e3", "0x1p3", " 7", "\t-3.5", "1e400", "-1e400", "1e-400",
                                   "4.9406564584124654e-324", "2.4703282292062328e-324", "1.7976931348623159e308",
                                   "9007199254740993", "123456789012345.6"})
        expectReadsAsStream(text);
    expectReadsAsStream(std::string(400, '9'));
    expectReadsAsStream("0." + std::string(400, '0') + "1");

    std::mt19937 random(20240517);
    const std::string alphabet = "0123456789.-+eE x(";
    for (int i = 0; i < 60000; ++i) {
        std::string text;
        for (unsigned length = random() % 24; length > 0; --length)
            text += alphabet[random() % alphabet.size()];
        expectReadsAsStream(text);
    }
    // Long mantissas with exponents past both ends of the range.
    for (int i = 0; i < 30000; ++i) {
        std::string text;
        for (unsigned digits = 1 + random() % 40; digits > 0; --digits)
            text += static_cast<char>('0' + random() % 10);
        if (random() % 2)
            text.insert(random() % (text.size() + 1), ".");
        if (random() % 3)
            text += "e" + std::to_string(static_cast<int>(random() % 800) - 400);
        expectReadsAsStream(text);
    }
}

TEST(NumberReading, FollowsTheStreamUnderAnotherGlobalLocale)
{
    FunctionParserBase parser;
    ParseMessage message{};
    const std::locale previous = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    FunctionFloatBase* root = parser.parseString("1,5", message);
    std::locale::global(previous);
    EXPECT_EQ(root->getConstantRef()->value, 1.5);
    delete root;

    root = parser.parseString("1,5", message);
    EXPECT_EQ(root->getConstantRef()->value, 1.0);
    delete root;
}
