// Faults described for people, at the bytes they typed, and the warnings of
// lint: each normalisation step mapped back, one message per kind of fault,
// each surprise warned about once, and ordinary texts left alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "diagnostics.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"

namespace {

double lerp(const double* v, void*) { return v[0] + (v[1] - v[0]) * v[2]; }

struct Diagnostics : ::testing::Test {
    Diagnostics()
    {
        for (const char* name : {"x", "y", "a", "b"})
            parser.insertKey(name, &value);
        parser.defineFunction("lerp", 3, lerp);
    }

    std::vector<exprcurve::Diagnostic> faultsOf(const std::string& typed)
    {
        ParseMessage message{};
        std::unique_ptr<FunctionFloatBase> tree(parser.parseString(typed, message));
        std::vector<exprcurve::Diagnostic> described = exprcurve::describeFaults(typed, message);
        EXPECT_EQ(described.size(), message.errors.size()) << typed;
        return described;
    }

    double value = 1;
    FunctionParserBase parser;
};

TEST_F(Diagnostics, RangesAreInTheTypedText)
{
    const struct {
        const char* typed;
        int position, length;
    } cases[] = {
        {"Sin (X) + foo", 10, 3},   // white space dropped before the fault
        {"x +\tFOO", 4, 3},          // a tab dropped, letters lowered
        {"2foo", 1, 3},              // '2*foo': the inserted '*' has no byte
        {"(a) foo", 4, 3},           // '(a)*foo'
        {"max (a )", 7, 1},          // the stray ')' after a dropped space
        {"  lerp( 1 , 2 ) ", 2, 13},  // a call with the wrong count, spaces inside
        {"", 0, 0},
    };
    for (const auto& c : cases) {
        const std::vector<exprcurve::Diagnostic> described = faultsOf(c.typed);
        if (c.length == 0) {
            EXPECT_TRUE(described.empty()) << c.typed;
            continue;
        }
        ASSERT_EQ(described.size(), 1u) << c.typed;
        EXPECT_EQ(described[0].position, c.position) << c.typed;
        EXPECT_EQ(described[0].length, c.length) << c.typed;
    }
}

TEST_F(Diagnostics, OneMessagePerKindOfFault)
{
    const struct {
        const char* typed;
        const char* message;
    } cases[] = {
        {"x+foo", "unknown name 'foo'"},
        {"x+pie", "unknown name 'pie' (did you mean 'pi'?)"},
        {"exp", "'exp' is a function: write exp(...)"},
        {"sine(x)", "unknown function 'sine' (did you mean 'sinh' or 'sin'?)"},
        {"flor(x)", "unknown function 'flor' (did you mean 'floor'?)"},
        {"zzz(x)", "unknown function 'zzz'"},
        {"max(a)", "'max' takes 2 arguments, not 1"},
        {"if(a,b)", "'if' takes 3 arguments, not 2"},
        {"max(,b)", "'max' has an empty first argument"},
        {"sin{x}", "'sin' takes its argument in round brackets: sin(...)"},
        {"max(a,b,y)", "too many arguments: 'max' takes 2 arguments, so 'b,y' is read as one"},
        {"a,b", "a ',' outside the brackets of a call: 'a,b' is not one operand"},
        {"lerp(1,2)",
         "wrong number of arguments for 'lerp': it is called with 2 but defined with another number"},
        {"sin(x))", "unmatched ')': no bracket opens it"},
        {"2*(3", "unmatched '(': no bracket closes it"},
        {"{x)", "'{' is closed by ')'"},
        {"a!", "unexpected character '!' in 'a!'"},
        {"2_3", "'2_3' is neither a number nor a name"},
    };
    for (const auto& c : cases) {
        const std::vector<exprcurve::Diagnostic> described = faultsOf(c.typed);
        ASSERT_EQ(described.size(), 1u) << c.typed;
        EXPECT_EQ(described[0].message, c.message) << c.typed;
    }
}

TEST_F(Diagnostics, TheRestOfATextCutAtTheDepthLimit)
{
    std::string deep;
    for (int i = 0; i < 1200; ++i)
        deep += "x+";
    deep += "x";
    const std::vector<exprcurve::Diagnostic> described = faultsOf(deep);
    ASSERT_EQ(described.size(), 1u);
    EXPECT_NE(described[0].message.find("too deeply"), std::string::npos) << described[0].message;
    EXPECT_EQ(described[0].position + described[0].length, static_cast<int>(deep.size()));

    const std::vector<exprcurve::Diagnostic> noTime = faultsOf("rnd(1) + 2");
    ASSERT_EQ(noTime.size(), 1u);
    EXPECT_EQ(noTime[0].message, "'rnd' follows the variable 't', which this host does not define");
    EXPECT_EQ(faultsOf("rnd(1)")[0].position, 6);

    parser.insertKey("t", &value);
    parser.maxRandomNodes = 1;
    const std::vector<exprcurve::Diagnostic> bounded = faultsOf("rnd(1)+rnd(2)");
    ASSERT_EQ(bounded.size(), 1u);
    EXPECT_EQ(bounded[0].message, "more calls of 'rnd' than this parser allows (see maxRandomNodes)");
    EXPECT_EQ(bounded[0].position, 7);
    // Each random node's "t" counts as one more character in the parser's
    // positions; the typed positions do not have it.
    parser.maxRandomNodes = 10;
    const std::vector<exprcurve::Diagnostic> after = faultsOf("rnd(rnd(1)) + rnd(2) + foo");
    ASSERT_EQ(after.size(), 1u);
    EXPECT_EQ(after[0].position, 23);
}

// The positions of the faults of a text with random nodes, by the plain
// rule: a reported position lies one further on per built random node whose
// call ends before it, and a call inside a fault built nothing.
std::vector<int> plainFaultPositions(const ParseMessage& message)
{
    const std::string& s = message.text;
    std::vector<std::size_t> ends;
    for (std::size_t at = s.find("rnd("); at != std::string::npos; at = s.find("rnd(", at + 1)) {
        if (at > 0 && (std::isalnum(static_cast<unsigned char>(s[at - 1])) || s[at - 1] == '_'))
            continue;
        std::size_t end = s.size();
        for (std::size_t i = at + 3, depth = 0; i < s.size(); ++i) {
            depth += s[i] == '(' ? 1 : s[i] == ')' ? -1 : 0;
            if (depth == 0) {
                end = i + 1;
                break;
            }
        }
        ends.push_back(end);
    }
    std::sort(ends.begin(), ends.end());
    std::vector<int> positions;
    for (const auto& [reported, length] : message.errors) {
        int before = 0;
        for (std::size_t j = 0; j < ends.size(); ++j)
            before += static_cast<int>(ends[j] + j) < reported;
        const int position = reported - before;
        positions.push_back(position);
        ends.erase(std::remove_if(ends.begin(), ends.end(),
                                  [&](std::size_t end) {
                                      return static_cast<int>(end) > position &&
                                             static_cast<int>(end) <= position + length;
                                  }),
                   ends.end());
    }
    return positions;
}

TEST_F(Diagnostics, ManyRandomNodesAndFaultsGiveThePlainRulesPositions)
{
    parser.insertKey("t", &value);
    const char* const pieces[] = {"rnd(x)", "rnd(rnd(y))", "foo", "rnd(", ")",
                                  "x", "1.2.3", "max(x)", "rnd(a+)"};
    std::mt19937 random(77);
    int compared = 0;
    for (int round = 0; round < 400; ++round) {
        parser.maxRandomNodes = static_cast<int>(random() % 8);
        std::string text = pieces[random() % std::size(pieces)];
        for (int count = static_cast<int>(random() % 40); count > 0; --count)
            text += std::string(random() % 2 ? "+" : "*") + pieces[random() % std::size(pieces)];
        ParseMessage message{};
        std::unique_ptr<FunctionFloatBase> tree(parser.parseString(text, message));
        if (message.text != text)
            continue;  // normalisation moved something: the typed positions differ
        const std::vector<exprcurve::Diagnostic> described = exprcurve::describeFaults(text, message);
        const std::vector<int> expected = plainFaultPositions(message);
        ASSERT_EQ(described.size(), expected.size()) << text;
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_EQ(described[i].position, std::min(expected[i], static_cast<int>(text.size()))) << text;
        compared += !expected.empty();
    }
    EXPECT_GT(compared, 200);
}

// Ranges that the message does not cover (another text than the parsed one)
// still stay within the given text.
TEST_F(Diagnostics, RangesStayWithinTheGivenText)
{
    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> tree(parser.parseString("foo + barbaz + qux", message));
    for (const std::string other : {"", "f", "foo+bar"}) {
        for (const exprcurve::Diagnostic& d : exprcurve::describeFaults(other, message)) {
            EXPECT_GE(d.position, 0);
            EXPECT_GE(d.length, 0);
            EXPECT_LE(d.position + d.length, static_cast<int>(other.size()));
        }
    }
}

TEST(Lint, EachSurpriseOnceWhereItWasTyped)
{
    const struct {
        const char* typed;
        int position, length;
        const char* start;  // the message begins so
    } cases[] = {
        {"x + 1e-5", 4, 4,
         "'1e-5' is no number in exponent notation here: it is 1*e-5 with the constant e; write 0.00001"},
        {"2.5E3", 0, 5,
         "'2.5E3' is no number in exponent notation here: it is 2.5*e3 with the constant e; write 2500"},
        {"a >= b", 2, 2, "'>=' is '>' then '='"},
        {"a<=b", 1, 2, "'<=' is '<' then '='"},
        {"a==b", 1, 2, "'==' is '=' twice"},
        {"a!=b", 1, 2, "'!=' is no operator here"},
        {"a&&b", 1, 2, "'&&' is '&' twice"},
        {"a||b", 1, 2, "'||' is '|' twice"},
        {"a**2", 1, 2, "'**' is '*' twice"},
        {"a - b - c", 0, 9, "'a-b-c' groups to the right here: a-(b-c); write (a-b)-c"},
        {"8/4/2", 0, 5, "'8/4/2' groups to the right here: 8/(4/2); write (8/4)/2"},
        {"2^3^2", 0, 5, "'2^3^2' groups to the right here: 2^(3^2); write (2^3)^2"},
        {"-x-y", 0, 4, "'-x-y' groups to the right here: -(x-y)"},
        {"2^-1", 1, 2, "'^-' is not a sign here: '-' splits first, so '2^-1' is (2^0)-1; write 2^(-1)"},
        {"2 * -3", 2, 3, "'*-' is not a sign here"},
        {"1/2x", 0, 4, "'1/2*x' is (1/2)*x here; write 1/(2*x)"},
        {"a/2 sin(x)", 0, 10, "'a/2*sin(x)' is (a/2)*sin(x) here; write a/(2*sin(x))"},
        {"a+", 1, 1, "nothing follows '+'"},
        {"*b", 0, 1, "nothing stands before '*'"},
        {"1.2.3", 0, 5, "'1.2.3' is not one number"},
        {"x*()", 2, 2, "empty brackets read as 0"},
        {"max(a, )", 7, 0, "an empty argument of 'max' reads as 0"},
    };
    for (const auto& c : cases) {
        const std::vector<exprcurve::Diagnostic> warnings = exprcurve::lint(c.typed);
        ASSERT_EQ(warnings.size(), 1u) << c.typed << ": " << (warnings.empty() ? "" : warnings[1].message);
        EXPECT_EQ(warnings[0].position, c.position) << c.typed;
        EXPECT_EQ(warnings[0].length, c.length) << c.typed;
        EXPECT_EQ(warnings[0].message.rfind(c.start, 0), 0u) << c.typed << ": " << warnings[0].message;
    }
}

TEST(Lint, OrdinaryTextsAreLeftAlone)
{
    for (const char* typed : {"", "x", "a+b*c", "a-b+c", "a*b/c", "(a-b)-c", "a-(b-c)", "-x", "+x", "a--b",
                              "2*x^2 + 3x - 1", "sin(x)^2 + cos(x)^2", "if(a>b, a, b)", "max(a, -1)", "2pi",
                              "x2y", "e^2", "not(a<b)", "1.5", ".5", "a>-1", "lerp(1,2,3)", "seed()",
                              "(a)(b)"})
        EXPECT_TRUE(exprcurve::lint(typed).empty()) << typed << ": " << exprcurve::lint(typed)[0].message;
}

}  // namespace
