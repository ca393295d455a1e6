// The parser on hostile input: texts nested or chained far beyond the depth
// limit, run on a 1 MiB thread stack, and many thousands of random texts.
#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "functionparserbase.h"
#include "parservarmapper.h"

namespace {

using Faults = std::vector<std::pair<int, int>>;

void* runTask(void* task)
{
    (*static_cast<std::function<void()>*>(task))();
    return nullptr;
}

// Runs `task` to completion on a thread whose stack is 1 MiB.
void runOnSmallStack(std::function<void()> task)
{
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 1 << 20), 0);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, runTask, &task), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}

struct DeepOutcome {
    Faults errors;
    int position = -1;
    int textSize = 0;
    double value = -1.0;
    std::size_t variables = 0;
};

// Parse, evaluate, ask for the variables and delete, all on the small stack.
DeepOutcome parseDeep(const std::string& text)
{
    DeepOutcome outcome;
    runOnSmallStack([&] {
        double x = 0.5;
        FunctionParserBase parser;
        parser.insertKey("x", &x);
        ParseMessage message{};
        FunctionFloatBase* root = parser.parseString(text, message);
        outcome.value = (*root)();
        outcome.variables = parser.getAllVars(root).size();
        delete root;
        outcome.errors = message.errors;
        outcome.position = message.position;
        outcome.textSize = static_cast<int>(message.text.size());
    });
    return outcome;
}

std::string repeated(const std::string& piece, int times)
{
    std::string out;
    out.reserve(piece.size() * static_cast<std::size_t>(times));
    for (int i = 0; i < times; ++i)
        out += piece;
    return out;
}

constexpr int deep = 100000;
constexpr int limit = FunctionParserBase::maxParseDepth;

TEST(ParserDepth, EnclosingBracketsCostNoDepth)
{
    const std::string text = repeated("(", deep) + "1+x" + repeated(")", deep);
    const DeepOutcome outcome = parseDeep(text);
    EXPECT_TRUE(outcome.errors.empty());
    EXPECT_EQ(outcome.position, outcome.textSize);
    EXPECT_EQ(outcome.value, 1.5);
    EXPECT_EQ(outcome.variables, 1u);
}

TEST(ParserDepth, NestedRightOperandsAreCutAtTheLimit)
{
    // 1+(1+(1+ ... (1+x) ... )): level k >= 2 is the bracketed text that
    // begins at 2 + 3 (k - 2). The level at the limit splits its "1+(...)"
    // and both halves lie below the limit.
    const std::string text = repeated("1+(", deep - 1) + "1+x" + repeated(")", deep - 1);
    const DeepOutcome outcome = parseDeep(text);
    const int lastParsed = 2 + 3 * (limit - 2) + 1;  // after the stripped "("
    const int rightStart = lastParsed + 2;
    const int closersAfter = limit - 1;  // of levels 2 .. limit
    const int size = static_cast<int>(text.size());
    EXPECT_EQ(outcome.errors, (Faults{{lastParsed, 1}, {rightStart, size - closersAfter - rightStart}}));
    EXPECT_EQ(outcome.position, size);
    EXPECT_EQ(outcome.value, limit - 1.0);  // the cut halves read 0
    EXPECT_EQ(outcome.variables, 0u);
}

TEST(ParserDepth, LongOperatorChainIsCutAtTheLimit)
{
    const std::string text = "1" + repeated("+1", deep - 1);
    const DeepOutcome outcome = parseDeep(text);
    const int lastParsed = 2 * (limit - 1);
    const int size = static_cast<int>(text.size());
    EXPECT_EQ(outcome.errors, (Faults{{lastParsed, 1}, {lastParsed + 2, size - lastParsed - 2}}));
    EXPECT_EQ(outcome.position, size);
    EXPECT_EQ(outcome.value, limit - 1.0);
}

TEST(ParserDepth, DeepCallsSignsAndMixedNestingStayWithinTheStack)
{
    const std::string texts[] = {
        repeated("sin(", deep) + "x" + repeated(")", deep),
        repeated("-", deep) + "x",
        repeated("max(1,", deep) + "x" + repeated(")", deep),
        repeated("if(1,", deep) + "x" + repeated(",2)", deep),
        repeated("(1+", deep) + "x" + repeated(")*2", deep),
        repeated("{(", deep) + "x" + repeated(")}", deep),
        repeated("x^", deep) + "x",
        repeated("(", deep) + "x",  // unclosed
    };
    for (const std::string& text : texts) {
        const DeepOutcome outcome = parseDeep(text);
        EXPECT_EQ(outcome.position, outcome.textSize) << text.substr(0, 20);
        for (const auto& [position, length] : outcome.errors) {
            EXPECT_GE(position, 0);
            EXPECT_LE(position + length, outcome.textSize);
        }
    }
}

TEST(ParserDepth, TheLevelAtTheLimitStillParses)
{
    // limit - 1 brackets around an operand: the operand is the last level.
    const std::string text = repeated("-(", limit - 1) + "x" + repeated(")", limit - 1);
    EXPECT_TRUE(parseDeep(text).errors.empty());
    const std::string deeper = repeated("-(", limit) + "x" + repeated(")", limit);
    EXPECT_EQ(parseDeep(deeper).errors.size(), 2u);
}

// ---------------------------------------------------------------- random texts

class NamedLeafMapper : public ParserVarMapper {
public:
    explicit NamedLeafMapper(const double* address) : address(address) {}
    FunctionFloatBase* mapVariable(const std::string& name) override
    {
        return name == "m" ? createDoubleVar(address) : nullptr;
    }
    const double* address;
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

std::size_t occurrences(const std::string& text, const std::string& word)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1))
        ++count;
    return count;
}

TEST(ParserRandomTexts, NeverCrashAndReportInsideTheText)
{
    double x = 0.75, t = 0.3, m = -2.0;
    float y = 1.5f;
    int n = 3;
    bool flag = true;
    FunctionParserBase parser;
    parser.insertKey("x", &x);
    parser.insertKey("y", &y);
    parser.insertKey("n", &n);
    parser.insertKey("flag", &flag);
    parser.insertKey("t", &t);
    parser.insertKey(FunctionParserBase::keyStruct{"weird", 9, &x});
    NamedLeafMapper mapper(&m);

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
        const int randomNodes = static_cast<int>(occurrences(message.text, "rnd"));
        if (randomNodes == 0) {
            ASSERT_EQ(message.position, size) << text;
        }
        for (const auto& [position, length] : message.errors) {
            ASSERT_GE(position, 0) << text;
            ASSERT_GE(length, 0) << text;
            ASSERT_LE(position + length, size + randomNodes) << text;
        }
        ASSERT_EQ(message.errors.empty(), message.errorCode == PARSE_OK) << text;
        (*root)();
        for (FunctionParserBase::keyStruct* key : parser.getAllVars(root.get())) {
            if (key) {
                ASSERT_EQ(parser.getKey(key->name), key) << text;
            }
        }
        faultyTexts += message.errors.empty() ? 0 : 1;
    }
    // The generator produces both sound and faulty texts.
    EXPECT_GT(faultyTexts, 1000);
    EXPECT_LT(faultyTexts, 19000);
}

}  // namespace
