// exprcurve: try expressions and curves from the shell.
//
// Exit status: 0 on success, 1 when the input (an expression or a curve file)
// has faults, 2 on a usage or I/O error.
#include <CLI/CLI.hpp>

#include <iostream>

#include "curve_commands.h"
#include "demo_command.h"
#include "expression_commands.h"
#include "tool_support.h"

namespace {

using namespace tool;

void addCurveInputOptions(CLI::App& command, CurveInput& input)
{
    command.add_option("FILE", input.path, "curve file (.curve/.txt text, .kvb/.bin binary)")->required();
    command.add_option("--format", input.format, "format of FILE when its name does not tell")
        ->check(CLI::IsMember({"text", "binary"}));
    command.add_option("--version", input.version, "layout version of a binary FILE")
        ->capture_default_str();
}

void addExpressionOptions(CLI::App& command, ExpressionInput& expression)
{
    command.add_option("--expr", expression.expression,
                       "expression of t and f added to the curve, with the out-of-range modes applied to the sum");
    command.add_option("--scale", expression.scale, "f = t * SCALE")->capture_default_str();
}

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app{"exprcurve: evaluate expressions and animation curves"};
    app.require_subcommand(1);
    int status = exitOk;

    EvalOptions eval;
    CLI::App* evalCommand = app.add_subcommand("eval", "evaluate an expression, once or over a range of t");
    evalCommand->add_option("EXPR", eval.expression, "the expression")->required();
    evalCommand->add_option("--set", eval.assignments, "bind NAME to a double variable holding VALUE")
        ->type_name("NAME=VALUE");
    evalCommand->add_option("--time", eval.timeRange, "bind t and print a table over FROM:TO:STEP")
        ->type_name("FROM:TO:STEP");
    bool noWarnings = false;
    const auto addWarningsOption = [&](CLI::App* command) {
        command->add_flag("--no-warnings", noWarnings, "do not warn about texts that read differently here");
    };
    addWarningsOption(evalCommand);
    evalCommand->callback([&] {
        eval.warnings = !noWarnings;
        status = runEval(eval);
    });

    std::string treeExpression;
    CLI::App* treeCommand = app.add_subcommand("tree", "print how the language groups an expression");
    treeCommand->add_option("EXPR", treeExpression, "the expression; free names become variables")->required();
    addWarningsOption(treeCommand);
    treeCommand->callback([&] { status = runTree(treeExpression, !noWarnings); });

    std::string varsExpression;
    CLI::App* varsCommand = app.add_subcommand("vars", "list the variables an expression reads");
    varsCommand->add_option("EXPR", varsExpression, "the expression; free names become variables")->required();
    addWarningsOption(varsCommand);
    varsCommand->callback([&] { status = runVars(varsExpression, !noWarnings); });

    SampleOptions sample;
    CLI::App* sampleCommand = app.add_subcommand("sample", "print a curve's values as CSV");
    addCurveInputOptions(*sampleCommand, sample.input);
    sampleCommand->add_option("--from", sample.from, "first time (default: the first point's)");
    sampleCommand->add_option("--to", sample.to, "last time (default: the last point's)");
    sampleCommand->add_option("--step", sample.step, "time step (default: a twentieth of the range)");
    sampleCommand->add_option("--times", sample.times, "explicit times instead of a range")->type_name("T1,T2,...");
    addExpressionOptions(*sampleCommand, sample.expression);
    sampleCommand->callback([&] { status = runSample(sample); });

    ConvertOptions convert;
    CLI::App* convertCommand = app.add_subcommand("convert", "convert a curve file between text and binary");
    addCurveInputOptions(*convertCommand, convert.input);
    convertCommand->add_option("OUT", convert.outputPath, "the file to write")->required();
    convertCommand->add_option("--to", convert.outputFormat, "format of OUT when its name does not tell")
        ->check(CLI::IsMember({"text", "binary"}));
    convertCommand->add_option("--precision", convert.precision, "significant digits of text output")
        ->capture_default_str();
    convertCommand->callback([&] { status = runConvert(convert); });

    PlotOptions plot;
    CLI::App* plotCommand = app.add_subcommand("plot", "draw a curve as an SVG picture");
    addCurveInputOptions(*plotCommand, plot.input);
    plotCommand->add_option("--from", plot.from, "first time shown");
    plotCommand->add_option("--to", plot.to, "last time shown");
    plotCommand->add_option("-o,--output", plot.outputPath, "the SVG file to write")->required();
    addExpressionOptions(*plotCommand, plot.expression);
    plotCommand->callback([&] { status = runPlot(plot); });

    std::string demoFolder;
    CLI::App* demoCommand = app.add_subcommand("demo", "write, sample and plot an example curve");
    demoCommand->add_option("DIR", demoFolder, "where to write the files (default: a new temporary folder)");
    demoCommand->callback([&] { status = runDemo(demoFolder); });

    if (argc > 1 && argv[1][0] != '-') {
        try {
            app.get_subcommand(argv[1]);
        } catch (const CLI::OptionNotFound&) {
            std::cerr << "exprcurve: unknown command '" << argv[1]
                      << "' (commands: eval, tree, vars, sample, convert, plot, demo; see --help)\n";
            return exitUsage;
        }
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        app.exit(error);
        return exitUsage;
    } catch (const Failure& failure) {
        std::cerr << "exprcurve: " << failure.what() << '\n';
        return failure.status;
    }
    return status;
}
