// The parser on hostile input: texts nested or chained far beyond the depth
// limit, run on a 1 MiB thread stack, and many thousands of random texts.
#include <gtest/gtest.h>
#include <pthread.h>

#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "functionparserbase.h"
#include "parservarmapper.h"

namespace {

using Faults = std::vector<std::pair<int, int>>;

struct DeepOutcome {
    std::string text;
    Faults errors{};
    int position = -1, textSize = 0;
    double value = -1.0;
    std::size_t variables = 0;
};

// Parse, evaluate, ask for the variables and delete.
void* parseInto(void* target)
{
    DeepOutcome& outcome = *static_cast<DeepOutcome*>(target);
    double x = 0.5;
    FunctionParserBase parser;
    parser.insertKey("x", &x);
    ParseMessage message{};
    FunctionFloatBase* root = parser.parseString(outcome.text, message);
    outcome.value = (*root)();
    outcome.variables = parser.getAllVars(root).size();
    delete root;
    outcome.errors = message.errors;
    outcome.position = message.position;
    outcome.textSize = static_cast<int>(message.text.size());
    return nullptr;
}

// Runs parseInto on a thread whose stack is 1 MiB.
DeepOutcome parseDeep(const std::string& text)
{
    DeepOutcome outcome{text};
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 1 << 20);
    pthread_t thread;
    EXPECT_TRUE(pthread_create(&thread, &attributes, parseInto, &outcome) == 0 &&
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

constexpr int deep = 100000;
constexpr int limit = FunctionParserBase::maxParseDepth;

TEST(ParserDepth, EnclosingBracketsCostNoDepth)
{
    const DeepOutcome outcome = parseDeep(repeated("(", deep) + "1+x" + repeated(")", deep));
    EXPECT_TRUE(outcome.errors.empty());
    EXPECT_EQ(outcome.position, outcome.textSize);
    EXPECT_EQ(outcome.value, 1.5);
    EXPECT_EQ(outcome.variables, 1u);
}

TEST(ParserDepth, LongOperatorChainIsCutAtTheLimit)
{
    // Level k parses the text from 2 (k - 1); the level at the limit splits
    // its "1+1+..." and both halves are cut, reading 0.
    const std::string text = "x" + repeated("+1", deep - 1);
    const DeepOutcome outcome = parseDeep(text);
    const int lastParsed = 2 * (limit - 1);
    const int size = static_cast<int>(text.size());
    EXPECT_EQ(outcome.errors, (Faults{{lastParsed, 1}, {lastParsed + 2, size - lastParsed - 2}}));
    EXPECT_EQ(outcome.position, size);
    EXPECT_EQ(outcome.value, 0.5 + (limit - 2.0));
    EXPECT_EQ(outcome.variables, 1u);
    // The level at the limit itself still parses.
    EXPECT_TRUE(parseDeep(repeated("-(", limit - 1) + "x" + repeated(")", limit - 1)).errors.empty());
}

TEST(ParserDepth, DeepCallsSignsAndMixedNestingStayWithinTheStack)
{
    // Each level of these scans the rest of the text, so a few times the
    // depth limit shows the cut as well as 100,000 levels would, in a
    // fraction of the time.
    constexpr int deep = 5 * FunctionParserBase::maxParseDepth;
    const std::string texts[] = {
        repeated("sin(", deep) + "x" + repeated(")", deep),    repeated("-", deep) + "x",
        repeated("max(1,", deep) + "x" + repeated(")", deep),  repeated("x^", deep) + "x",
        repeated("if(1,", deep) + "x" + repeated(",2)", deep), repeated("(", deep) + "x",
        repeated("(1+", deep) + "x" + repeated(")*2", deep),
        repeated("{(", deep) + "x" + repeated(")}", deep),
    };
    for (const std::string& text : texts) {
        const DeepOutcome outcome = parseDeep(text);
        EXPECT_EQ(outcome.position, outcome.textSize) << text.substr(0, 20);
        for (const auto& [position, length] : outcome.errors)
            EXPECT_TRUE(position >= 0 && position + length <= outcome.textSize) << text.substr(0, 20);
    }
}

struct NamedLeafMapper : ParserVarMapper {
    FunctionFloatBase* mapVariable(const std::string& name) override
    {
        return name == "m" ? createDoubleVar(&m) : nullptr;
    }
    double m = -2.0;
};

std::string randomText(std::mt19937& random)
{
    static const std::vector<std::string> pieces = {
        "(", ")", "{", "}", "(", ")", ",", "+", "-", "*", "/", "^", "|", "&", "=", ">", "<", ".",
        "0", "1", "2", "9", " ", "\t", "a", "x", "y", "t", "n", "m", "e", "pi", "flag", "weird",
        "epsilon", "sin(", "log10(", "if(", "max(", "min(", "rnd(", "not(", "abs(", "j1(", "X",
        "\x80", "\xff", "\xe9", std::string(1, '\0'), "[", "]", "1e5", "2.5",
    };
    std::uniform_int_distribution<std::size_t> pieceOf(0, pieces.size() - 1);
    std::uniform_int_distribution<int> lengthOf(0, 24);
    std::string text;
    for (int n = lengthOf(random); n > 0; --n)
        text += pieces[pieceOf(random)];
    return text;
}

TEST(ParserRandomTexts, NeverCrashAndReportInsideTheText)
{
    double x = 0.75, t = 0.3;
    float y = 1.5f;
    int n = 3;
    bool flag = true;
    FunctionParserBase parser;
    for (const FunctionParserBase::keyStruct& key :
         {FunctionParserBase::keyStruct{"x", KEY_DOUBLE, &x}, {"y", KEY_FLOAT, &y}, {"n", KEY_INT, &n},
          {"flag", KEY_BOOL, &flag}, {"t", KEY_DOUBLE, &t}, {"weird", 9, &x}})
        parser.insertKey(key);
    NamedLeafMapper mapper;

    std::mt19937 random(77031);
    ParseMessage message{};
    int faultyTexts = 0;
    for (int i = 0; i < 20000; ++i) {
        const std::string text = randomText(random);
        parser.setVarMapper(i % 2 == 0 ? &mapper : nullptr);
        std::unique_ptr<FunctionFloatBase> root(parser.parseString(text, message));
        ASSERT_NE(root, nullptr);
        ASSERT_EQ(message.text, parser.firstParse(text));
        ASSERT_FALSE(message.atStart);
        const int size = static_cast<int>(message.text.size());
        // Each random node reads the one-character "t" beyond its own text.
        int randomNodes = 0;
        for (std::size_t at = 0; (at = message.text.find("rnd", at)) != std::string::npos; ++at)
            ++randomNodes;
        ASSERT_TRUE(randomNodes > 0 || message.position == size) << text;
        for (const auto& [position, length] : message.errors)
            ASSERT_TRUE(position >= 0 && length >= 0 && position + length <= size + randomNodes) << text;
        ASSERT_EQ(message.errors.empty(), message.errorCode == PARSE_OK) << text;
        (*root)();
        for (FunctionParserBase::keyStruct* key : parser.getAllVars(root.get()))
            ASSERT_TRUE(key == nullptr || parser.getKey(key->name) == key) << text;
        faultyTexts += message.errors.empty() ? 0 : 1;
    }
    // The generator produces both sound and faulty texts.
    EXPECT_GT(faultyTexts, 1000);
    EXPECT_LT(faultyTexts, 19000);
}

}  // namespace
