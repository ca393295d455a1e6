// The parser on hostile input: texts nested or chained far beyond the depth
// limit, run on a small thread stack, and random texts.
#include <gtest/gtest.h>
#include <pthread.h>

#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "functionfloatbase.h"
#include "functionparserbase.h"

namespace {

using Faults = std::vector<std::pair<int, int>>;

struct Outcome {
    const std::string text;
    ParseMessage message{};
    double value = -1.0;
    std::size_t variables = 0;
};

// AddressSanitizer gives every local variable of every frame a guard zone, so
// frames there are several times larger than in the plain build.
#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t testStackSize = std::size_t{4} << 20;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr std::size_t testStackSize = std::size_t{4} << 20;
#else
constexpr std::size_t testStackSize = std::size_t{1} << 20;
#endif
#else
constexpr std::size_t testStackSize = std::size_t{1} << 20;
#endif

// Parse, evaluate, ask for the variables and delete, on a small stack.
Outcome parseDeep(const std::string& text)
{
    const auto run = [](void* target) -> void* {
        Outcome& outcome = *static_cast<Outcome*>(target);
        double x = 0.5;
        FunctionParserBase parser;
        parser.insertKey("x", &x);
        const std::unique_ptr<FunctionFloatBase> root(parser.parseString(outcome.text, outcome.message));
        outcome.value = (*root)();
        outcome.variables = parser.getAllVars(root.get()).size();
        return nullptr;
    };
    Outcome outcome{text};
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, testStackSize);
    pthread_t thread;
    EXPECT_TRUE(pthread_create(&thread, &attributes, run, &outcome) == 0 &&
                pthread_join(thread, nullptr) == 0);
    pthread_attr_destroy(&attributes);
    return outcome;
}

std::string repeated(const std::string& piece, int times)
{
    std::string out;
    while (times-- > 0)
        out += piece;
    return out;
}

constexpr int deep = 100000, limit = FunctionParserBase::maxParseDepth, fiveLimits = 5 * limit;

// Enclosing brackets cost no depth. Level k of a chain parses the text from
// 2 (k - 1); the level at the limit would need more than leaves below it, so
// all of its text is cut as one piece.
TEST(ParserDepth, DeepBracketsParseAndLongChainsAreCutAtTheLimit)
{
    const auto summary = [](const Outcome& outcome) {
        return std::tie(outcome.message.errors, outcome.message.position, outcome.value, outcome.variables);
    };
    const int size = 2 * deep - 1, lastLevel = 2 * (limit - 1);
    EXPECT_EQ(summary(parseDeep(repeated("(", deep) + "1+x" + repeated(")", deep))),
              std::make_tuple(Faults{}, 2 * deep + 3, 1.5, std::size_t{1}));
    EXPECT_EQ(
        summary(parseDeep("x" + repeated("+1", deep - 1))),
        std::make_tuple(Faults{{lastLevel, size - lastLevel}}, size, 0.5 + (limit - 2.0), std::size_t{1}));
    EXPECT_TRUE(parseDeep(repeated("-(", limit - 1) + "x" + repeated(")", limit - 1)).message.errors.empty());
}

// A chain of limit + 1 operands is the longest that parses whole; one more
// operand cuts the last three as one piece.
TEST(ParserDepth, TheLongestChainThatParsesWhole)
{
    const Outcome whole = parseDeep("x" + repeated("+x", limit));
    EXPECT_TRUE(whole.message.errors.empty());
    EXPECT_EQ(whole.value, 0.5 * (limit + 1));
    const Outcome cut = parseDeep("x" + repeated("+x", limit + 1));
    EXPECT_EQ(cut.message.errors, (Faults{{2 * (limit - 1), 5}}));
    EXPECT_EQ(cut.value, 0.5 * (limit - 1));
}

// Whatever the shape, the level at the limit is one constant 0 and one fault
// over all of its text. Level k of these texts starts at `step` (k - 1) and
// ends before the closing parts of the levels above it.
TEST(ParserDepth, EveryShapeIsCutAsOnePiece)
{
    const struct {
        const char* name;
        std::string open, close;
        int step;
        double value;
    } shapes[] = {
        {"chain", "x+", "", 2, 0.5 * (limit - 1)},         {"signs", "-", "", 1, 0.0},
        {"one-argument calls", "sin(", ")", 4, 0.0}, {"two-argument calls", "max(1,", ")", 6, 1.0},
        {"if", "if(1,", ",2)", 5, 0.0},
    };
    for (const auto& shape : shapes) {
        const Outcome outcome =
            parseDeep(repeated(shape.open, fiveLimits) + "x" + repeated(shape.close, fiveLimits));
        const int start = shape.step * (limit - 1);
        const int end = static_cast<int>(outcome.message.text.size() - shape.close.size() * (limit - 1));
        EXPECT_EQ(outcome.message.errors, (Faults{{start, end - start}})) << shape.name;
        EXPECT_EQ(outcome.message.errorCode, PARSE_BAD_OPERAND) << shape.name;
        EXPECT_EQ(outcome.value, shape.value) << shape.name;
    }
}

// Each level of these scans the rest of the text, so five times the depth
// limit shows the cut as well as 100,000 levels would, far sooner.
TEST(ParserDepth, DeepCallsSignsAndMixedNestingStayWithinTheStack)
{
    for (const std::string& text :
         {repeated("sin(", fiveLimits) + "x" + repeated(")", fiveLimits), repeated("-", fiveLimits) + "x",
          repeated("max(1,", fiveLimits) + "x" + repeated(")", fiveLimits), repeated("x^", fiveLimits) + "x",
          repeated("if(1,", fiveLimits) + "x" + repeated(",2)", fiveLimits), repeated("(", fiveLimits) + "x",
          repeated("(1+", fiveLimits) + "x" + repeated(")*2", fiveLimits),
          repeated("{(", fiveLimits) + "x" + repeated(")}", fiveLimits),
          repeated("max(x+1,", fiveLimits) + "x" + repeated(")", fiveLimits)}) {
        const ParseMessage message = parseDeep(text).message;
        EXPECT_EQ(message.position, static_cast<int>(message.text.size())) << text.substr(0, 20);
        EXPECT_LE(message.errors.size(), 1u) << text.substr(0, 20);
        for (const auto& [position, length] : message.errors)
            EXPECT_TRUE(position >= 0 && position + length <= message.position) << text.substr(0, 20);
    }
}

TEST(ParserRandomTexts, NeverCrashAndReportInsideTheText)
{
    const std::vector<std::string> pieces = {
        "(", ")", "{", "}", "(", ")", ",", "+", "-", "*", "/", "^", "|", "&", "=", ">", "<", ".", "0", "9",
        " ", "a", "x", "pi", "sin(", "if(", "max(", "not(", "X", "\xff", std::string(1, '\0')};
    double x = 0.75;
    FunctionParserBase parser;
    parser.insertKey("x", &x);
    std::mt19937 random(77031);
    ParseMessage message{};
    for (int i = 0; i < 2000; ++i) {
        std::string text;
        for (int length = random() % 25; length > 0; --length)
            text += pieces[random() % pieces.size()];
        const std::unique_ptr<FunctionFloatBase> root(parser.parseString(text, message));
        ASSERT_EQ(message.text, parser.firstParse(text));
        ASSERT_EQ(message.position, static_cast<int>(message.text.size())) << text;
        for (const auto& [position, length] : message.errors)
            ASSERT_TRUE(position >= 0 && length >= 0 && position + length <= message.position) << text;
        ASSERT_EQ(message.errors.empty(), message.errorCode == PARSE_OK) << text;
        (*root)();
    }
}

}  // namespace
