// The command-line tool, run as a separate process on fixture files.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "exprcurve_version.h"
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

// The numbers of a CSV table after its header line.
std::vector<double> numbersOf(const std::string& table)
{
    std::vector<double> numbers;
    std::istringstream lines(table.substr(table.find('\n') + 1));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        for (std::string field; std::getline(fields, field, ',');)
            numbers.push_back(std::strtod(field.c_str(), nullptr));
    }
    return numbers;
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

    // `input`: a file for standard input; none when empty.
    ToolRun run(const std::vector<std::string>& args, const std::string& input = "") const
    {
        std::string command = quote(EXPRCURVE_TOOL);
        for (const std::string& arg : args)
            command += " " + quote(arg);
        const std::string outPath = folder + "/stdout", errPath = folder + "/stderr";
        const std::string in = input.empty() ? std::string(" </dev/null") : " <" + quote(input);
        const int raw = std::system((command + in + " >" + quote(outPath) + " 2>" + quote(errPath)).c_str());
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

    std::string writeBinary(const std::string& name, SplineBase& curve) const
    {
        FILE* file = std::fopen(path(name).c_str(), "wb");
        curve.save(file);
        std::fclose(file);
        return path(name);
    }

    std::string folder;
};

TEST_F(ToolTest, EvalPrintsValuesAndMarksFaultsUnderTheTypedText)
{
    const ToolRun value = run({"eval", "max(a,b)*3+0.1", "--set", "a=1", "--set", "B=0.5"});
    EXPECT_EQ(value.status, 0) << value.err;
    EXPECT_EQ(std::strtod(value.out.c_str(), nullptr), 1.0 * 3 + 0.1) << value.out;
    EXPECT_EQ(value.err, "");  // nothing to warn about
    EXPECT_EQ(run({"eval", "2*t", "--time", "0:1:0.5"}).out, "t,value\n0,0\n0.5,1\n1,2\n");

    const ToolRun names = run({"eval", "Foo +  bar"});
    EXPECT_EQ(names.status, 1);
    EXPECT_EQ(names.out, "");
    EXPECT_NE(names.err.find("exprcurve: error: column 1: unknown name 'foo'\n"
                             "exprcurve:   Foo +  bar\nexprcurve:   ^~~\n"),
              std::string::npos)
        << names.err;
    EXPECT_NE(names.err.find("exprcurve: error: column 8: unknown name 'bar'\n"
                             "exprcurve:   Foo +  bar\nexprcurve:          ^~~\n"),
              std::string::npos)
        << names.err;

    const ToolRun bracket = run({"eval", "sine(x)", "--set", "x=1"});
    EXPECT_EQ(bracket.status, 1);
    EXPECT_NE(bracket.err.find(
                  "exprcurve: error: column 7: unknown function 'sine' (did you mean 'sinh' or 'sin'?)\n"
                  "exprcurve:   sine(x)\nexprcurve:         ^\n"),
              std::string::npos)
        << bracket.err;
}

TEST_F(ToolTest, WarningsComeFromLintUnlessTurnedOff)
{
    const ToolRun warned = run({"eval", "8/4/2 + 1e-5"});
    EXPECT_EQ(warned.status, 0) << warned.err;
    EXPECT_NE(warned.err.find(
                  "exprcurve: warning: column 1: '8/4/2' groups to the right here: 8/(4/2); write (8/4)/2"),
              std::string::npos)
        << warned.err;
    EXPECT_NE(warned.err.find("warning: column 9: '1e-5' is no number in exponent notation here"),
              std::string::npos);
    const ToolRun quiet = run({"eval", "8/4/2 + 1e-5", "--no-warnings"});
    EXPECT_EQ(quiet.out, warned.out);
    EXPECT_EQ(quiet.err, "");
    EXPECT_EQ(run({"tree", "a>=b", "--no-warnings"}).err, "");
    EXPECT_NE(run({"vars", "a>=b"}).err.find("'>=' is '>' then '='"), std::string::npos);
}

// Every line of a report starts with the tool's name, and a long one shows
// the first faults, then a count.
TEST_F(ToolTest, AtMostTwentyFaultsAreShown)
{
    std::string text = "f0";
    for (int i = 1; i < 25; ++i)
        text += "+f" + std::to_string(i) + "(1)";
    const ToolRun many = run({"eval", text, "--no-warnings"});
    EXPECT_EQ(many.status, 1);
    std::size_t shown = 0;
    for (std::size_t at = many.err.find("error: "); at != std::string::npos;
         at = many.err.find("error: ", at + 1))
        ++shown;
    EXPECT_EQ(shown, 20u) << many.err;
    EXPECT_NE(many.err.find("exprcurve: ... and 5 more faults"), std::string::npos) << many.err;
    std::istringstream lines(many.err);
    for (std::string line; std::getline(lines, line);)
        EXPECT_EQ(line.rfind("exprcurve: ", 0), 0u) << line;
}

// The shortest text that reads back to the same double, or a fixed number of
// significant digits; NaN without a sign.
TEST_F(ToolTest, NumbersPrintInTheirShortestExactForm)
{
    const struct {
        std::vector<std::string> args;
        std::string out;
    } cases[] = {
        {{"eval", "0.3"}, "0.3\n"},
        {{"eval", "0.1+0.2"}, "0.30000000000000004\n"},
        {{"eval", "1/3", "--precision", "3"}, "0.333\n"},
        {{"eval", "sqrt(0-1)"}, "nan\n"},
        {{"eval", "1/0"}, "inf\n"},
        {{"eval", "t/10", "--time", "0:0.2:0.1"}, "t,value\n0,0\n0.1,0.01\n0.2,0.02\n"},
    };
    for (const auto& c : cases) {
        const ToolRun result = run(c.args);
        EXPECT_EQ(result.status, 0) << c.args[1] << result.err;
        EXPECT_EQ(result.out, c.out) << c.args[1];
    }
}

// Ranges need finite ends and a positive finite step.
TEST_F(ToolTest, TimeRangesAreValidated)
{
    for (const char* range : {"inf:inf:1", "-inf:-inf:1", "0:inf:1", "nan:1:1", "0:1:inf", "0:1:nan", "0:1:0",
                              "0:1:-1", "1:0:1", "-1e308:1e308:1e-300"}) {
        const ToolRun result = run({"eval", "1", "--time", range});
        EXPECT_EQ(result.status, 2) << range << " " << result.out;
        EXPECT_EQ(result.out, "") << range;
        EXPECT_EQ(result.err.rfind("exprcurve: ", 0), 0u) << range << " " << result.err;
    }
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
    EXPECT_EQ(vars.out, "b\na\npi  (built-in constant)\n");

    const ToolRun faulty = run({"tree", "exp"});  // a function name alone stays a fault
    EXPECT_EQ(faulty.status, 1);
    EXPECT_EQ(faulty.out, "normalised: exp\n0\n");
}

// The built-in constants are the library's, not variables of the host.
TEST_F(ToolTest, BuiltInConstantsAreMarkedApart)
{
    const ToolRun vars = run({"vars", "e*x+pi+epsilon"});
    EXPECT_EQ(vars.status, 0) << vars.err;
    EXPECT_EQ(vars.out, "e  (built-in constant)\nx\npi  (built-in constant)\nepsilon  (built-in constant)\n");
    const ToolRun tree = run({"tree", "2pi"});
    EXPECT_EQ(tree.status, 0) << tree.err;
    EXPECT_EQ(tree.out, "normalised: 2*pi\n*\n  2\n  pi  [constant 3.1415927410125732]\n");
    EXPECT_EQ(run({"eval", "pi", "--set", "pi=3"}).status, 2);
}

// An expression may begin with "-"; "--" ends the options.
TEST_F(ToolTest, ExpressionsMayBeginWithAMinus)
{
    const ToolRun tree = run({"tree", "-x^2"});
    EXPECT_EQ(tree.status, 0) << tree.err;
    EXPECT_EQ(tree.out.rfind("normalised: -x^2\n-\n  0\n  ^\n", 0), 0u) << tree.out;
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"eval", "-x", "--set", "x=2"}, {"eval", "--set", "x=2", "-x"},
          {"eval", "--set=x=2", "--", "-x"}}) {
        const ToolRun result = run(args);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, "-2\n");
    }
    EXPECT_EQ(run({"eval", "2", "--time", "-1:0:1"}).out, "t,value\n-1,2\n0,2\n");
    EXPECT_NE(run({"--help"}).out.find("after '--'"), std::string::npos);
}

TEST_F(ToolTest, VersionAndTheLayoutOption)
{
    const ToolRun version = run({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, std::string("exprcurve ") + EXPRCURVE_VERSION_STRING + "\n");
    char numbers[32];
    std::snprintf(numbers, sizeof numbers, "%d.%d.%d", EXPRCURVE_VERSION_MAJOR, EXPRCURVE_VERSION_MINOR,
                  EXPRCURVE_VERSION_PATCH);
    EXPECT_STREQ(numbers, EXPRCURVE_VERSION_STRING);

    SplineBase curve;
    buildFixture(curve);
    const std::string binary = writeBinary("walk.kvb", curve);
    const ToolRun byLayout = run({"sample", binary, "--layout", "3027", "--times", "2"});
    EXPECT_EQ(byLayout.status, 0) << byLayout.err;
    const ToolRun byFormerName = run({"sample", binary, "--version", "3027", "--times", "2"});
    EXPECT_EQ(byFormerName.status, 0) << byFormerName.err;
    EXPECT_EQ(byFormerName.out, byLayout.out);
    EXPECT_EQ(run({"sample", binary, "--version", "3018", "--layout", "3026"}).status, 2);
}

TEST_F(ToolTest, SampleMatchesTheLibrary)
{
    const std::string file = writeTextFixture("walk.curve");
    SplineBase curve;
    buildFixture(curve);

    const ToolRun plain = run({"sample", file, "--times", "-1, 0.5,2,  4.5"});
    EXPECT_EQ(plain.status, 0) << plain.err;
    std::vector<double> expected;
    for (double t : {-1.0, 0.5, 2.0, 4.5})
        expected.insert(expected.end(), {t, curve(t)});
    EXPECT_EQ(numbersOf(plain.out), expected);

    // With an expression: the same as a host that binds "t" and "f" to the
    // time before each call.
    double t = 0.0, f = 0.0;
    FunctionParserBase& parser = FunctionParserBase::instance();
    ASSERT_TRUE(parser.insertKey("t", &t));
    ASSERT_TRUE(parser.insertKey("f", &f));
    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> tree(parser.parseString("t*f", message));
    expected.clear();
    for (double time : {0.0, 1.5, 5.0}) {
        t = time;
        f = time * 2.0;
        expected.insert(expected.end(), {time, curve(time, tree.get(), 2.0)});
    }
    parser.removeKey("t");
    parser.removeKey("f");
    const ToolRun driven = run({"sample", file, "--times", "0,1.5,5", "--expr", "t*f", "--scale", "2"});
    EXPECT_EQ(driven.status, 0) << driven.err;
    EXPECT_EQ(numbersOf(driven.out), expected);

    // From standard input, with the format named.
    const ToolRun piped = run({"sample", "-", "--format", "text", "--times", "-1,0.5,2,4.5"}, file);
    EXPECT_EQ(piped.status, 0) << piped.err;
    EXPECT_EQ(piped.out, plain.out);
    EXPECT_EQ(run({"sample", "-", "--times", "1"}, file).status, 2);  // no name to tell the format by
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
    EXPECT_EQ(run({"convert", text, path("walk.out"), "--output-format", "binary"}).status, 0);
    EXPECT_EQ(readFile(path("walk.out")), readFile(path("walk.kvb")));

    // "-" on both sides: the same bytes.
    const ToolRun toStandardOutput = run({"convert", path("walk.kvb"), "-", "--output-format", "text"});
    EXPECT_EQ(toStandardOutput.status, 0) << toStandardOutput.err;
    EXPECT_EQ(toStandardOutput.out, readFile(text));
    const ToolRun both =
        run({"convert", "-", "-", "--format", "binary", "--output-format", "binary"}, path("walk.kvb"));
    EXPECT_EQ(both.out, readFile(path("walk.kvb")));
}

// A text file cannot hold an infinite or NaN number: it would not load back.
TEST_F(ToolTest, ConvertRefusesNumbersTheTextFormatCannotHold)
{
    SplineBase curve;
    buildFixture(curve);
    curve.controlPoints[1]->bezier.rightSlope = NAN;
    curve.controlPoints[2]->time = INFINITY;
    const std::string binary = writeBinary("odd.kvb", curve);
    const ToolRun result = run({"convert", binary, path("odd.curve")});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("point 2 of 3 has right slope nan"), std::string::npos) << result.err;
    EXPECT_FALSE(std::ifstream(path("odd.curve")).good());
    EXPECT_EQ(run({"convert", binary, path("again.kvb")}).status, 0);
    EXPECT_EQ(readFile(path("again.kvb")), readFile(binary));
}

// Bytes left over after a binary load mean the layout was wrong; the
// message names the layout that reads the file whole.
TEST_F(ToolTest, AWrongLayoutIsNamedAndTheRightOneProposed)
{
    SplineBase curve;
    buildFixture(curve);
    const std::string binary = writeBinary("walk.kvb", curve);
    for (const char* layout : {"3018", "3026"}) {
        const ToolRun result = run({"sample", binary, "--layout", layout});
        EXPECT_EQ(result.status, 1) << layout;
        EXPECT_NE(result.err.find("left unread"), std::string::npos) << result.err;
        EXPECT_NE(result.err.find("--layout 3027 (3027 and later) reads it whole"), std::string::npos)
            << result.err;
    }
    std::ofstream(path("junk.kvb"), std::ios::binary) << std::string(7, '\x01');
    const ToolRun junk = run({"sample", path("junk.kvb")});
    EXPECT_EQ(junk.status, 1);
    EXPECT_NE(junk.err.find("no layout reads it whole"), std::string::npos) << junk.err;
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
        const std::string name =
            tag.substr(tag[0] == '/' ? 1 : 0, tag.find_first_of(" />", 1) - (tag[0] == '/' ? 1 : 0));
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

// The text of `attribute` in the element that starts at `at`.
std::string attributeText(const std::string& svg, std::size_t at, const std::string& attribute)
{
    const std::size_t begin = svg.find(" " + attribute + "=\"", at) + attribute.size() + 3;
    return svg.substr(begin, svg.find('"', begin) - begin);
}

// The number in `attribute` of the first element that starts with `element`.
double attributeOf(const std::string& svg, const std::string& element, const std::string& attribute)
{
    return std::strtod(attributeText(svg, svg.find(element), attribute).c_str(), nullptr);
}

// The "x,y" pairs of every polyline.
std::vector<std::string> polylineVertices(const std::string& svg)
{
    std::vector<std::string> vertices;
    for (std::size_t at = svg.find("<polyline"); at != std::string::npos;
         at = svg.find("<polyline", at + 1)) {
        const std::size_t begin = svg.find("points=\"", at) + 8;
        std::istringstream points(svg.substr(begin, svg.find('"', begin) - begin));
        for (std::string vertex; points >> vertex;)
            vertices.push_back(vertex);
    }
    return vertices;
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
    const ToolRun piped = run({"plot", "-", "--format", "text", "-o", "-", "--expr", "0.1*sin(t)"}, file);
    EXPECT_EQ(piped.status, 0) << piped.err;
    EXPECT_EQ(count(piped.out, "class=\"control-point\""), 3u);
}

// The legend sits below the plot, so it covers nothing; the line passes
// exactly through the control points; only markers in the window are drawn.
TEST_F(ToolTest, PlotLegendCoversNoDataAndMarkersStayInTheWindow)
{
    const std::string file = writeTextFixture("walk.curve");
    ASSERT_EQ(run({"plot", file, "-o", path("walk.svg")}).status, 0);
    const std::string svg = readFile(path("walk.svg"));
    const double areaBottom =
        attributeOf(svg, "<rect x=\"70\"", "y") + attributeOf(svg, "<rect x=\"70\"", "height");
    EXPECT_GT(attributeOf(svg, "<g class=\"legend\"", "y"), areaBottom);
    const std::vector<std::string> vertices = polylineVertices(svg);
    for (std::size_t at = svg.find("class=\"control-point\""); at != std::string::npos;
         at = svg.find("class=\"control-point\"", at + 1)) {
        const std::string centre = attributeText(svg, at, "cx") + "," + attributeText(svg, at, "cy");
        EXPECT_NE(std::find(vertices.begin(), vertices.end(), centre), vertices.end()) << centre;
    }
    EXPECT_NE(svg.find("class=\"legend-control-point\""), std::string::npos);

    ASSERT_EQ(run({"plot", file, "-o", path("part.svg"), "--from", "0.5", "--to", "2"}).status, 0);
    const std::string part = readFile(path("part.svg"));
    EXPECT_EQ(count(part, "class=\"control-point\""), 1u);  // only (1, 2)
    EXPECT_NE(part.find("2 control points outside the view"), std::string::npos);
}

// 20,000 points: no markers (they would merge), a line reduced to the pixel
// grid, and the legend says why there are no markers.
TEST_F(ToolTest, PlotOfADenseCurveStaysSmall)
{
    SplineBase curve;
    for (int i = 0; i < 20000; ++i)
        curve.addPoint(i * 0.01, (i % 7) * 0.1);
    for (PointInfo* point : curve.controlPoints)
        point->type = kv_spline::LINEAR;
    const std::string binary = writeBinary("dense.kvb", curve);
    ASSERT_EQ(run({"plot", binary, "-o", path("dense.svg")}).status, 0);
    const std::string svg = readFile(path("dense.svg"));
    EXPECT_TRUE(tagsBalance(svg));
    EXPECT_EQ(count(svg, "<circle"), 0u);
    EXPECT_LT(polylineVertices(svg).size(), 4 * 800u);
    EXPECT_LT(svg.size(), 100000u);
    EXPECT_NE(svg.find("too many to mark"), std::string::npos);
    EXPECT_EQ(svg.find("control point</text>"), std::string::npos);  // not in the legend either
}

// A curve without points is its default value; points that are not finite
// are left out, and no coordinate is NaN or infinite.
TEST_F(ToolTest, PlotOfEmptyAndNonFiniteCurves)
{
    SplineBase empty;
    empty.defaultValue = 0.25;
    ASSERT_EQ(run({"plot", writeBinary("empty.kvb", empty), "-o", path("empty.svg")}).status, 0);
    const std::string emptySvg = readFile(path("empty.svg"));
    EXPECT_GE(count(emptySvg, "class=\"default-value\""), 1u);
    EXPECT_EQ(count(emptySvg, "class=\"curve\""), 0u);
    EXPECT_EQ(emptySvg.find("between the control points"), std::string::npos);
    EXPECT_EQ(emptySvg.find("extrapolated"), std::string::npos);

    // (An infinite first time would stop a build with assertions: see
    // docs/reliability.md.)
    SplineBase odd;
    buildFixture(odd);
    odd.controlPoints[1]->value = NAN;
    odd.controlPoints[2]->time = INFINITY;
    ASSERT_EQ(run({"plot", writeBinary("odd.kvb", odd), "-o", path("odd.svg")}).status, 0);
    const std::string oddSvg = readFile(path("odd.svg"));
    EXPECT_TRUE(tagsBalance(oddSvg));
    EXPECT_EQ(oddSvg.find("nan"), std::string::npos);
    EXPECT_EQ(oddSvg.find("inf"), std::string::npos);
    EXPECT_EQ(count(oddSvg, "class=\"control-point\""), 1u);
    EXPECT_NE(oddSvg.find("2 control points with a time or value that is not finite are not drawn"),
              std::string::npos);
}

TEST_F(ToolTest, ErrorsGiveTheDocumentedStatusAndNameTheProblem)
{
    std::ofstream(path("broken.curve")) << "2\n1\n1\n0.5\n0\nzero\n";
    const std::string good = writeTextFixture("good.curve");
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
        {{"sample", folder, "--format", "text"}, 2, "is a directory"},
        {{"sample", folder, "--format", "binary"}, 2, "is a directory"},
        {{"convert", good, folder, "--output-format", "text"}, 2, folder},
        {{"sample", path("broken.curve"), "--bogus"}, 2, "--bogus"},
        {{"convert", path("short.kvb"), path("x.curve"), "--to", "text"}, 2, "--to"},
        {{"sample", good, "--from", "inf"}, 2, "--from"},
    };
    for (const auto& c : cases) {
        const ToolRun result = run(c.args);
        EXPECT_EQ(result.status, c.status) << c.args[0] << " " << result.err;
        EXPECT_NE(result.err.find(c.named), std::string::npos) << result.err;
        std::istringstream lines(result.err);
        for (std::string line; std::getline(lines, line);)
            EXPECT_EQ(line.rfind("exprcurve: ", 0), 0u) << line;
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

// Without a folder the demo makes an owner-only one under TMPDIR; a file
// where the folder should be is refused before anything is written.
TEST_F(ToolTest, DemoMakesAPrivateTemporaryFolderAndRefusesAFileAsItsFolder)
{
    namespace fs = std::filesystem;
    const char* const previous = std::getenv("TMPDIR");
    const std::string previousValue = previous != nullptr ? previous : "";
    ::setenv("TMPDIR", folder.c_str(), 1);
    const ToolRun temporary = run({"demo"});
    if (previous != nullptr)
        ::setenv("TMPDIR", previousValue.c_str(), 1);
    else
        ::unsetenv("TMPDIR");
    ASSERT_EQ(temporary.status, 0) << temporary.err;
    std::vector<fs::path> made;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.path().filename().string().rfind("exprcurve-demo-", 0) == 0)
            made.push_back(entry.path());
    }
    ASSERT_EQ(made.size(), 1u);
    EXPECT_EQ(fs::status(made[0]).permissions(), fs::perms::owner_all);
    EXPECT_FALSE(readFile((made[0] / "demo.kvb").string()).empty());
    EXPECT_NE(temporary.out.find(made[0].string()), std::string::npos);

    std::ofstream(path("taken")) << "not a folder";
    const ToolRun refused = run({"demo", path("taken")});
    EXPECT_EQ(refused.status, 2);
    EXPECT_NE(refused.err.find("cannot create the folder"), std::string::npos) << refused.err;
    EXPECT_EQ(readFile(path("taken")), "not a folder");
}

}  // namespace
