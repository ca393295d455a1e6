// The command-line tool, run as a separate process on fixture files.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "splinebase.h"

namespace {

struct ToolRun {
    int status;
    std::string out;
    std::string err;
};

std::string quote(const std::string& arg)
{
    std::string quoted = "'";
    for (char c : arg)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class ToolTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/exprcurve-tool-test-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        folder = pattern;
    }
    void TearDown() override { std::system(("rm -rf " + quote(folder)).c_str()); }

    ToolRun run(const std::vector<std::string>& args) const
    {
        std::string command = quote(EXPRCURVE_TOOL);
        for (const std::string& arg : args)
            command += " " + quote(arg);
        const std::string outPath = folder + "/stdout", errPath = folder + "/stderr";
        const int raw = std::system((command + " >" + quote(outPath) + " 2>" + quote(errPath)).c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, readFile(outPath), readFile(errPath)};
    }

    std::string path(const std::string& name) const { return folder + "/" + name; }

    // Points (0, 0), (1, 2) linear and (3, 1) bezier; cycle after the curve.
    void buildFixture(SplineBase& curve) const
    {
        curve.addPoint(0.0, 0.0);
        curve.addPoint(1.0, 2.0);
        curve.addPoint(3.0, 1.0, PointInfo::BezierData{0.5, 0.0});
        curve.setType(curve.controlPoints[1], kv_spline::LINEAR);
        curve.postExtrapolation = kv_spline::EXTRAPOLATE_CYCLE;
    }

    std::string writeTextFixture(const std::string& name) const
    {
        SplineBase curve;
        buildFixture(curve);
        std::ofstream out(path(name));
        out.precision(17);
        SplineBase::save(curve, out);
        return path(name);
    }

    std::string folder;
};

TEST_F(ToolTest, EvalPrintsValuesAndMarksFaultsUnderTheTypedText)
{
    char expected[40];
    std::snprintf(expected, sizeof expected, "%.17g\n", 1.0 * 3 + 0.1);
    const ToolRun value = run({"eval", "max(a,b)*3+0.1", "--set", "a=1", "--set", "B=0.5"});
    EXPECT_EQ(value.status, 0) << value.err;
    EXPECT_EQ(value.out, expected);
    EXPECT_EQ(value.err, "");  // nothing to warn about
    EXPECT_EQ(run({"eval", "2*t", "--time", "0:1:0.5"}).out, "t,value\n0,0\n0.5,1\n1,2\n");

    const ToolRun names = run({"eval", "Foo +  bar"});
    EXPECT_EQ(names.status, 1);
    EXPECT_EQ(names.out, "");
    EXPECT_NE(names.err.find("error: column 1: unknown name 'foo'\n  Foo +  bar\n  ^~~\n"), std::string::npos)
        << names.err;
    EXPECT_NE(names.err.find("error: column 8: unknown name 'bar'\n  Foo +  bar\n         ^~~\n"), std::string::npos)
        << names.err;

    const ToolRun bracket = run({"eval", "sine(x)", "--set", "x=1"});
    EXPECT_EQ(bracket.status, 1);
    EXPECT_NE(bracket.err.find("error: column 7: unknown function 'sine' (did you mean 'sinh' or 'sin'?)\n"
                               "  sine(x)\n        ^\n"),
              std::string::npos)
        << bracket.err;
}

TEST_F(ToolTest, WarningsComeFromLintUnlessTurnedOff)
{
    const ToolRun warned = run({"eval", "8/4/2 + 1e-5"});
    EXPECT_EQ(warned.status, 0) << warned.err;
    EXPECT_NE(warned.err.find("warning: column 1: '8/4/2' groups to the right here: 8/(4/2); write (8/4)/2"),
              std::string::npos)
        << warned.err;
    EXPECT_NE(warned.err.find("warning: column 9: '1e-5' is no number in exponent notation here"), std::string::npos);
    const ToolRun quiet = run({"eval", "8/4/2 + 1e-5", "--no-warnings"});
    EXPECT_EQ(quiet.out, warned.out);
    EXPECT_EQ(quiet.err, "");
    EXPECT_EQ(run({"tree", "a>=b", "--no-warnings"}).err, "");
    EXPECT_NE(run({"vars", "a>=b"}).err.find("'>=' is '>' then '='"), std::string::npos);
}

TEST_F(ToolTest, AtMostTwentyFaultsAreShown)
{
    std::string text = "f0";
    for (int i = 1; i < 25; ++i)
        text += "+f" + std::to_string(i) + "(1)";
    const ToolRun many = run({"eval", text, "--no-warnings"});
    EXPECT_EQ(many.status, 1);
    std::size_t shown = 0;
    for (std::size_t at = many.err.find("error: "); at != std::string::npos; at = many.err.find("error: ", at + 1))
        ++shown;
    EXPECT_EQ(shown, 20u) << many.err;
    EXPECT_NE(many.err.find("... and 5 more faults"), std::string::npos) << many.err;
}

TEST_F(ToolTest, TreeShowsRightGroupingAndVarsListsFirstAppearance)
{
    const ToolRun tree = run({"tree", "a-b-c"});
    EXPECT_EQ(tree.status, 0) << tree.err;
    EXPECT_EQ(tree.out,
              "normalised: a-b-c\n-\n  a  [double variable]\n  -\n    b  [double variable]\n"
              "    c  [double variable]\n");

    const ToolRun vars = run({"vars", "b*a+sin(b)+pi"});
    EXPECT_EQ(vars.status, 0) << vars.err;
    EXPECT_EQ(vars.out, "b\na\npi\n");

    const ToolRun faulty = run({"tree", "exp"});  // a function name alone stays a fault
    EXPECT_EQ(faulty.status, 1);
    EXPECT_EQ(faulty.out, "normalised: exp\n0\n");
}

TEST_F(ToolTest, SampleMatchesTheLibrary)
{
    const std::string file = writeTextFixture("walk.curve");
    SplineBase curve;
    buildFixture(curve);

    const ToolRun plain = run({"sample", file, "--times", "-1,0.5,2,4.5"});
    EXPECT_EQ(plain.status, 0) << plain.err;
    std::string expected = "time,value\n";
    for (double t : {-1.0, 0.5, 2.0, 4.5}) {
        char line[80];
        std::snprintf(line, sizeof line, "%.17g,%.17g\n", t, curve(t));
        expected += line;
    }
    EXPECT_EQ(plain.out, expected);

    // With an expression: the same as a host that binds "t" and "f" to the
    // time before each call.
    double t = 0.0, f = 0.0;
    FunctionParserBase& parser = FunctionParserBase::instance();
    ASSERT_TRUE(parser.insertKey("t", &t));
    ASSERT_TRUE(parser.insertKey("f", &f));
    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> tree(parser.parseString("t*f", message));
    expected = "time,value\n";
    for (double time : {0.0, 1.5, 5.0}) {
        t = time;
        f = time * 2.0;
        const double value = curve(time, tree.get(), 2.0);
        char line[80];
        std::snprintf(line, sizeof line, "%.17g,%.17g\n", time, value);
        expected += line;
    }
    parser.removeKey("t");
    parser.removeKey("f");
    const ToolRun driven = run({"sample", file, "--times", "0,1.5,5", "--expr", "t*f", "--scale", "2"});
    EXPECT_EQ(driven.status, 0) << driven.err;
    EXPECT_EQ(driven.out, expected);
}

TEST_F(ToolTest, ConvertRoundTripIsExact)
{
    const std::string text = writeTextFixture("walk.curve");
    ASSERT_EQ(run({"convert", text, path("walk.kvb")}).status, 0);
    ASSERT_EQ(run({"convert", path("walk.kvb"), path("again.txt")}).status, 0);
    EXPECT_EQ(readFile(path("again.txt")), readFile(text));
    EXPECT_EQ(readFile(path("walk.kvb")).size(), 4u + 3u * (9 * 8 + 2 * 4) + 4 + 4 + 1);

    // An unknown extension needs the format named.
    EXPECT_EQ(run({"convert", text, path("walk.out")}).status, 2);
    EXPECT_EQ(run({"convert", text, path("walk.out"), "--to", "binary"}).status, 0);
    EXPECT_EQ(readFile(path("walk.out")), readFile(path("walk.kvb")));
}

// The tags of the picture nest properly (the tool writes no comments or
// character data sections, so a tag stack suffices).
bool tagsBalance(const std::string& svg)
{
    std::vector<std::string> open;
    for (std::size_t at = svg.find('<'); at != std::string::npos; at = svg.find('<', at + 1)) {
        const std::size_t end = svg.find('>', at);
        if (end == std::string::npos)
            return false;
        const std::string tag = svg.substr(at + 1, end - at - 1);
        if (tag.empty() || tag[0] == '?' || tag.back() == '/')
            continue;
        const std::string name = tag.substr(tag[0] == '/' ? 1 : 0, tag.find_first_of(" />", 1) - (tag[0] == '/' ? 1 : 0));
        if (tag[0] != '/') {
            open.push_back(name);
        } else if (open.empty() || open.back() != name) {
            return false;
        } else {
            open.pop_back();
        }
    }
    return open.empty();
}

std::size_t count(const std::string& text, const std::string& what)
{
    std::size_t n = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

TEST_F(ToolTest, PlotWritesWellFormedSvg)
{
    const std::string file = writeTextFixture("walk.curve");
    const ToolRun result = run({"plot", file, "-o", path("walk.svg"), "--expr", "0.1*sin(t)"});
    ASSERT_EQ(result.status, 0) << result.err;
    const std::string svg = readFile(path("walk.svg"));
    EXPECT_EQ(svg.rfind("<?xml", 0), 0u);
    EXPECT_TRUE(tagsBalance(svg));
    EXPECT_EQ(count(svg, "class=\"control-point\""), 3u);
    EXPECT_GE(count(svg, "class=\"extrapolated\""), 2u);  // before and after
    EXPECT_GE(count(svg, "class=\"curve\""), 1u);
    EXPECT_NE(svg.find("walk.curve"), std::string::npos);
    EXPECT_NE(svg.find("after: cycle"), std::string::npos);
}

TEST_F(ToolTest, ErrorsGiveTheDocumentedStatusAndNameTheProblem)
{
    std::ofstream(path("broken.curve")) << "2\n1\n1\n0.5\n0\nzero\n";
    std::ofstream(path("short.kvb"), std::ios::binary) << "\x05\x00";
    const struct {
        std::vector<std::string> args;
        int status;
        std::string named;  // what stderr must name
    } cases[] = {
        {{"sample", path("missing.curve")}, 2, path("missing.curve")},
        {{"sample", path("broken.curve")}, 1, "broken.curve"},
        {{"sample", path("short.kvb")}, 1, "short.kvb"},
        {{"sample", path("x.dat")}, 2, "x.dat"},
        {{"eval", "a", "--set", "a=oops"}, 2, "oops"},
        {{"eval", "t", "--time", "0:1"}, 2, "FROM:TO:STEP"},
        {{"eval"}, 2, "EXPR"},
        {{"frobnicate"}, 2, "frobnicate"},
        {{"plot", path("broken.curve")}, 2, "output"},
    };
    for (const auto& c : cases) {
        const ToolRun result = run(c.args);
        EXPECT_EQ(result.status, c.status) << c.args[0] << " " << result.err;
        EXPECT_NE(result.err.find(c.named), std::string::npos) << result.err;
    }
    const ToolRun help = run({"sample", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("--times"), std::string::npos);
}

TEST_F(ToolTest, DemoWritesItsFilesAndTable)
{
    const ToolRun result = run({"demo", path("demo")});
    ASSERT_EQ(result.status, 0) << result.err;
    for (const char* name : {"demo.curve", "demo.kvb", "demo.svg"})
        EXPECT_FALSE(readFile(path("demo/") + name).empty()) << name;
    EXPECT_NE(result.out.find("step"), std::string::npos);
    EXPECT_NE(result.out.find("after the curve"), std::string::npos);
}

}  // namespace
