// exprcurve: try expressions and curves from the shell.
//
// Exit status: 0 on success, 1 when the input (an expression or a curve file)
// has faults, 2 on a usage or I/O error.
#include <CLI/CLI.hpp>

#include <iostream>
#include <string>
#include <vector>

#include "curve_commands.h"
#include "demo_command.h"
#include "exprcurve_version.h"
#include "expression_commands.h"
#include "tool_support.h"

namespace {

using namespace tool;

const char* const commandList = "eval, tree, vars, sample, convert, plot, demo";

const char* const footer =
    "Every FILE, OUT or -o argument may be '-': standard input or output (give --format or --output-format "
    "there, as it has no name to tell the format by). An expression may begin with '-' (exprcurve tree "
    "'-x^2'); after '--' nothing is taken for an option (exprcurve eval --set x=2 -- -x).\n"
    "The tool builds at most 1000 rnd(...) nodes per expression (each takes 80 KB); a further rnd call is a "
    "fault.\n"
    "Exit status: 0 on success, 1 when an expression or curve file has faults, 2 on a usage or I/O error.\n";

void addPrecisionOption(CLI::App& command, int& precision)
{
    command.add_option("--precision", precision,
                       "significant digits of the numbers printed (default 0: the shortest form that reads back "
                       "to the same number)")
        ->capture_default_str();
}

void addCurveInputOptions(CLI::App& command, CurveInput& input)
{
    command.add_option("FILE", input.path, "curve file (.curve/.txt text, .kvb/.bin binary, - for standard input)")
        ->required();
    command.add_option("--format", input.format, "format of FILE when its name does not tell")
        ->check(CLI::IsMember({"text", "binary"}));
    command.add_option("--layout", input.layout, "layout version of a binary FILE (3018, 3026 or 3027 and later)")
        ->capture_default_str();
    // The option's former name, kept for scripts; --version alone prints the
    // program's version.
    command.add_option("--version", input.oldLayoutOption)->group("");
}

void addExpressionOptions(CLI::App& command, ExpressionInput& expression)
{
    command.add_option("--expr", expression.expression,
                       "expression of t and f added to the curve, with the out-of-range modes applied to the sum");
    command.add_option("--scale", expression.scale, "f = t * SCALE")->capture_default_str();
}

bool isCommand(const CLI::App& app, const std::string& name)
{
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (command->check_name(name))
            return true;
    }
    return false;
}

// The commands whose positional argument is an expression.
bool takesExpression(const std::string& command)
{
    return command == "eval" || command == "tree" || command == "vars";
}

// An option of `command` as given on the command line ("--set", "--set=a=1",
// "-h"), or null.
const CLI::Option* optionNamed(const CLI::App& command, const std::string& argument)
{
    return command.get_option_no_throw(argument.substr(0, argument.find('=')));
}

// An expression may begin with '-' ("-x^2"), which the option parser would
// take for an option. The first argument of an expression command that
// begins with '-' and is none of the command's options is the expression: it
// is moved behind "--", after which nothing is an option.
std::vector<std::string> withExpressionAfterDashes(std::vector<std::string> arguments, const CLI::App& app)
{
    if (arguments.empty() || !takesExpression(arguments[0]))
        return arguments;
    const CLI::App& command = *app.get_subcommand(arguments[0]);
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--")
            break;
        if (argument.size() < 2 || argument[0] != '-')
            continue;
        if (const CLI::Option* option = optionNamed(command, argument)) {
            if (option->get_items_expected_min() > 0 && argument.find('=') == std::string::npos)
                ++i;  // its value
            continue;
        }
        const std::string expression = argument;
        arguments.erase(arguments.begin() + static_cast<std::ptrdiff_t>(i));
        arguments.push_back("--");
        arguments.push_back(expression);
        break;
    }
    return arguments;
}

// CLI11's own messages get the tool's prefix too.
std::string failureMessage(const CLI::App*, const CLI::Error& error)
{
    return std::string(errorPrefix) + error.what() + "\n" + errorPrefix + "see exprcurve --help\n";
}

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app{"exprcurve: evaluate expressions and animation curves", "exprcurve"};
    app.set_version_flag("--version", std::string("exprcurve ") + EXPRCURVE_VERSION_STRING,
                         "print the program's version and exit");
    app.require_subcommand(1);
    app.footer(footer);
    app.failure_message(failureMessage);
    int status = exitOk;

    EvalOptions eval;
    CLI::App* evalCommand = app.add_subcommand("eval", "evaluate an expression, once or over a range of t");
    evalCommand->add_option("EXPR", eval.expression, "the expression")->required();
    evalCommand->add_option("--set", eval.assignments, "bind NAME to a double variable holding VALUE")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    evalCommand->add_option("--time", eval.timeRange, "bind t and print a table over FROM:TO:STEP")
        ->type_name("FROM:TO:STEP");
    addPrecisionOption(*evalCommand, eval.precision);
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
    addPrecisionOption(*sampleCommand, sample.precision);
    sampleCommand->callback([&] { status = runSample(sample); });

    ConvertOptions convert;
    CLI::App* convertCommand = app.add_subcommand("convert", "convert a curve file between text and binary");
    addCurveInputOptions(*convertCommand, convert.input);
    convertCommand->add_option("OUT", convert.outputPath, "the file to write (- for standard output)")->required();
    convertCommand->add_option("--output-format", convert.outputFormat, "format of OUT when its name does not tell")
        ->check(CLI::IsMember({"text", "binary"}));
    convertCommand->add_option("--precision", convert.precision, "significant digits of the numbers of a text OUT")
        ->capture_default_str();
    convertCommand->callback([&] { status = runConvert(convert); });

    PlotOptions plot;
    CLI::App* plotCommand = app.add_subcommand("plot", "draw a curve as an SVG picture");
    addCurveInputOptions(*plotCommand, plot.input);
    plotCommand->add_option("--from", plot.from, "first time shown");
    plotCommand->add_option("--to", plot.to, "last time shown");
    plotCommand->add_option("-o,--output", plot.outputPath, "the SVG file to write (- for standard output)")
        ->required();
    addExpressionOptions(*plotCommand, plot.expression);
    plotCommand->callback([&] { status = runPlot(plot); });

    std::string demoFolder;
    CLI::App* demoCommand = app.add_subcommand("demo", "write, sample and plot an example curve");
    demoCommand->add_option("DIR", demoFolder, "where to write the files (default: a new temporary folder)");
    demoCommand->callback([&] { status = runDemo(demoFolder); });

    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (!arguments.empty() && arguments[0][0] != '-' && !isCommand(app, arguments[0])) {
        std::cerr << errorPrefix << "unknown command '" << arguments[0] << "' (commands: " << commandList
                  << "; see --help)\n";
        return exitUsage;
    }
    arguments = withExpressionAfterDashes(arguments, app);
    // CLI11 takes the arguments last first.
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::Success& done) {  // --help, --version
        return app.exit(done);
    } catch (const CLI::ParseError& error) {
        app.exit(error);
        return exitUsage;
    } catch (const Failure& failure) {
        std::cerr << errorPrefix << failure.what() << '\n';
        return failure.status;
    }
    return status;
}
