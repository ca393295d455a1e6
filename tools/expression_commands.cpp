#include "expression_commands.h"

#include <cctype>
#include <cstdio>
#include <iostream>
#include <memory>
#include <set>

#include "builtinoperations.h"
#include "functionfloatbase.h"
#include "parservarmapper.h"
#include "tool_support.h"
#include "variable_table.h"

namespace tool {
namespace {

using Tree = std::unique_ptr<FunctionFloatBase>;

// Reports the faults of a parse, and the warnings unless they are off; true
// when there were faults.
bool hasFaults(const std::string& expression, const ParseMessage& message, bool warnings)
{
    if (warnings)
        reportWarnings(expression);
    if (message.errors.empty())
        return false;
    std::cerr << errorPrefix << "the expression has " << message.errors.size()
              << (message.errors.size() == 1 ? " fault:\n" : " faults:\n");
    reportFaults(expression, message);
    return true;
}

// Asked about every operand during a first parse; remembers the ones that
// look like names (a letter first) and that no key answers, so that `tree`
// and `vars` can show an expression's structure without the user declaring
// each variable.
class NameCollector : public ParserVarMapper {
public:
    explicit NameCollector(FunctionParserBase& parser) : parser_(parser) {}
    FunctionFloatBase* mapVariable(const std::string& name) override
    {
        if (!name.empty() && std::isalpha(static_cast<unsigned char>(name[0])) &&
            parser_.findIndex(name) != 0 && isNameLike(name) && !isFunctionName(name))
            names.insert(name);
        return nullptr;
    }
    std::set<std::string> names;

private:
    // A function name without its brackets stays a fault, as the parser
    // reports it.
    static bool isFunctionName(const std::string& name)
    {
        return exprcurve::findBuiltinFunction(name) != nullptr;
    }
    static bool isNameLike(const std::string& name)
    {
        for (unsigned char c : name) {
            if (!std::isalnum(c) && c != '_' && c != '.')
                return false;
        }
        return true;
    }
    FunctionParserBase& parser_;
};

// A parser as the tool's commands use it: the tool reads text from anyone.
void boundRandomNodes(FunctionParserBase& parser)
{
    parser.maxRandomNodes = maxRandomNodes;
}

// Parses with every free name bound to a double variable of value 0.
Tree parseWithFreeNames(FunctionParserBase& parser, VariableTable& variables,
                        const std::string& expression, ParseMessage& message)
{
    boundRandomNodes(parser);
    NameCollector collector(parser);
    parser.setVarMapper(&collector);
    Tree probe(parser.parseString(expression, message));
    parser.setVarMapper(nullptr);
    for (const std::string& name : collector.names)
        variables.bind(name, 0.0);
    return Tree(parser.parseString(expression, message));
}

std::string nodeLabel(const FunctionFloatBase& node)
{
    if (const FunctionFloatConstant* constant = node.getConstantRef())
        return formatNumber(constant->value);
    const char* kind = node.isVariableDouble() ? "double"
                     : node.isVariableFloat()  ? "float"
                     : node.isVariableInt()    ? "int"
                     : node.isVariableBool()   ? "bool"
                                               : nullptr;
    if (kind != nullptr) {
        FunctionFloatBase& leaf = const_cast<FunctionFloatBase&>(node);
        const std::string name = leaf.getString();
        const FunctionFloatVariableFloat* constant = node.getVariableFloatRef();
        if (constant != nullptr && isBuiltInConstantAddress(constant->control))
            return name + "  [constant " + formatNumber(node()) + "]";
        return (name.empty() ? std::string("(unnamed)") : name) + "  [" + kind + " variable]";
    }
    if (const exprcurve::BuiltinOperation* row = exprcurve::builtinOperationOf(node))
        return row->name;
    if (const FunctionFloatHostCall* call = node.getHostCallRef())
        return call->name + "  [host function]";
    return "node";
}

// One node per line, children indented below their parent. Walks with an
// explicit stack: parsed trees can be a thousand levels deep.
void printTree(const FunctionFloatBase* root)
{
    std::vector<std::pair<const FunctionFloatBase*, std::size_t>> pending{{root, 0}};
    while (!pending.empty()) {
        const auto [node, depth] = pending.back();
        pending.pop_back();
        std::cout << std::string(2 * depth, ' ');
        if (node == nullptr) {
            std::cout << "(missing)\n";
            continue;
        }
        std::cout << nodeLabel(*node) << '\n';
        std::vector<const FunctionFloatBase*> children;
        if (const FunctionFloatUnary* u = node->getUnaryRef())
            children = {u->arg};
        else if (const FunctionFloatBinary* b = node->getBinaryRef())
            children = {b->arg1, b->arg2};
        else if (const FunctionFloatTernary* t = node->getTernaryRef())
            children = {t->arg1, t->arg2, t->arg3};
        else if (const FunctionFloatHostCall* call = node->getHostCallRef())
            children.assign(call->arguments, call->arguments + call->arity);
        for (auto child = children.rbegin(); child != children.rend(); ++child)
            pending.emplace_back(*child, depth + 1);
    }
}

}  // namespace

int runEval(const EvalOptions& options)
{
    checkPrecision(options.precision);
    FunctionParserBase parser;
    boundRandomNodes(parser);
    VariableTable variables(parser);
    for (const std::string& assignment : options.assignments)
        variables.bindAssignment(assignment);
    std::vector<double> times;
    double* time = nullptr;
    if (!options.timeRange.empty()) {
        times = parseTimeRange(options.timeRange);
        time = &variables.bind("t", times.front());
    }

    ParseMessage message{};
    Tree tree(parser.parseString(options.expression, message));
    if (hasFaults(options.expression, message, options.warnings))
        return exitInputFaults;

    if (time == nullptr) {
        std::cout << formatNumber((*tree)(), options.precision) << '\n';
        return exitOk;
    }
    std::cout << "t,value\n";
    for (double t : times) {
        *time = t;
        std::cout << formatNumber(t, options.precision) << ',' << formatNumber((*tree)(), options.precision) << '\n';
    }
    return exitOk;
}

int runTree(const std::string& expression, bool warnings)
{
    FunctionParserBase parser;
    VariableTable variables(parser);
    ParseMessage message{};
    Tree tree = parseWithFreeNames(parser, variables, expression, message);
    std::cout << "normalised: " << message.text << '\n';
    printTree(tree.get());
    return hasFaults(expression, message, warnings) ? exitInputFaults : exitOk;
}

int runVars(const std::string& expression, bool warnings)
{
    FunctionParserBase parser;
    VariableTable variables(parser);
    ParseMessage message{};
    Tree tree = parseWithFreeNames(parser, variables, expression, message);
    for (const FunctionParserBase::keyStruct* key : parser.getAllVars(tree.get())) {
        if (key == nullptr)
            std::cout << "(unregistered)\n";
        else
            std::cout << key->name << (isBuiltInConstant(*key) ? "  (built-in constant)" : "") << '\n';
    }
    return hasFaults(expression, message, warnings) ? exitInputFaults : exitOk;
}

}  // namespace tool
