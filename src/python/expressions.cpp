// Parsers, variables and expressions for Python.
//
// Variables are doubles owned here, shared between the parser that binds
// them and every expression parsed while they were bound, so that either may
// outlive the other.
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include "bindings.h"
#include "compiledexpression.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"

namespace exprcurve_python {

namespace {

struct Variable {
    std::string name;
    std::shared_ptr<double> storage;
};

using VariableTable = std::map<std::string, std::shared_ptr<double>>;

class Expression {
public:
    Expression(std::string text, std::unique_ptr<FunctionFloatBase> root, ParseMessage message,
               VariableTable variables)
        : text(std::move(text)),
          normalisedText(std::move(message.text)),
          faultRanges(std::move(message.errors)),
          variables(std::move(variables)),
          tree(std::move(root)),
          compiled(tree.get())
    {
    }

    double operator()() const { return compiled(); }
    bool usesNativeCode() const { return compiled.usesNativeCode(); }

    py::array_t<double> evaluate(const py::kwargs& arrays) const;

    const std::string text;
    const std::string normalisedText;
    const std::vector<std::pair<int, int>> faultRanges;
    const VariableTable variables;  // every variable bound when parsed

private:
    struct Inputs {
        std::vector<py::array_t<double>> arrays;  // contiguous, in the result's shape
        std::vector<double*> addresses;           // the variable each array feeds
        std::vector<py::ssize_t> shape;
        std::size_t rows = 1;
    };
    Inputs inputs(const py::kwargs& arrays) const;

    std::unique_ptr<FunctionFloatBase> tree;  // before `compiled`, which reads it
    exprcurve::CompiledExpression compiled;
};

using ContiguousDoubles = py::array_t<double, py::array::c_style | py::array::forcecast>;

Expression::Inputs Expression::inputs(const py::kwargs& arrays) const
{
    Inputs in;
    std::vector<ContiguousDoubles> given;
    py::list shapes;
    for (const auto& item : arrays) {
        const std::string name = item.first.cast<std::string>();
        const auto found = variables.find(name);
        if (found == variables.end())
            throw py::value_error("'" + name + "' is not a variable bound when '" + text +
                                  "' was parsed");
        in.addresses.push_back(found->second.get());
        given.push_back(ContiguousDoubles::ensure(item.second));
        if (!given.back())
            throw py::type_error("'" + name + "' is not an array of numbers");
        shapes.append(given.back().attr("shape"));
    }
    // Arrays of different shapes are broadcast against each other, as NumPy's
    // own arithmetic does; copies are made only for arrays that need it.
    const py::module_ numpy = py::module_::import("numpy");
    const py::object shape = numpy.attr("broadcast_shapes")(*shapes);
    for (const auto& extent : shape) {
        in.shape.push_back(extent.cast<py::ssize_t>());
        in.rows *= static_cast<std::size_t>(in.shape.back());
    }
    for (const ContiguousDoubles& array : given) {
        if (py::object(array.attr("shape")).equal(shape))
            in.arrays.push_back(array);
        else
            in.arrays.push_back(ContiguousDoubles::ensure(numpy.attr("broadcast_to")(array, shape)));
    }
    return in;
}

// The batch writes nothing to the variables, so it runs without the
// interpreter lock and other Python threads go on meanwhile.
py::array_t<double> Expression::evaluate(const py::kwargs& arrays) const
{
    const Inputs in = inputs(arrays);
    std::vector<exprcurve::Column> columns;
    for (std::size_t column = 0; column < in.addresses.size(); ++column)
        columns.push_back(exprcurve::Column{in.addresses[column], in.arrays[column].data()});
    py::array_t<double> results(in.shape);
    double* out = results.mutable_data();
    {
        const py::gil_scoped_release released;
        compiled.evaluate(in.rows, columns.data(), columns.size(), out);
    }
    return results;
}

class Parser {
public:
    Variable bind(const std::string& name, double value)
    {
        const std::string key = parser.toLowerString(name);
        if (key.empty())
            throw py::value_error("a variable needs a name");
        auto found = variables.find(key);
        if (found == variables.end()) {
            auto storage = std::make_shared<double>(value);
            if (!parser.insertKey(key, storage.get()))
                throw py::value_error("'" + key + "' is a name of the parser's own");
            found = variables.emplace(key, std::move(storage)).first;
        }
        *found->second = value;
        return Variable{key, found->second};
    }

    void unbind(const std::string& name)
    {
        const std::string key = parser.toLowerString(name);
        if (variables.erase(key) == 0)
            throw py::key_error(name);
        parser.removeKey(key);
    }

    std::map<std::string, Variable> boundVariables() const
    {
        std::map<std::string, Variable> result;
        for (const auto& entry : variables)
            result.emplace(entry.first, Variable{entry.first, entry.second});
        return result;
    }

    std::unique_ptr<Expression> parse(const std::string& text)
    {
        ParseMessage message{};
        std::unique_ptr<FunctionFloatBase> root(parser.parseString(text, message));
        return std::make_unique<Expression>(text, std::move(root), std::move(message), variables);
    }

private:
    FunctionParserBase parser;
    VariableTable variables;
};

std::string quoted(const std::string& text)
{
    return py::repr(py::str(text)).cast<std::string>();
}

std::string formatNumber(double value)
{
    return py::repr(py::float_(value)).cast<std::string>();
}

void bindVariable(py::module_& module)
{
    py::class_<Variable>(module, "Variable",
                         "A double bound to a name in a Parser. Expressions read it at every "
                         "evaluation; it lives as long as the parser or any such expression.")
        .def_readonly("name", &Variable::name, "The name, in lower case.")
        .def_property(
            "value", [](const Variable& variable) { return *variable.storage; },
            [](const Variable& variable, double value) { *variable.storage = value; },
            "The current value; assigning it changes what expressions read.")
        .def("__float__", [](const Variable& variable) { return *variable.storage; })
        .def("__repr__", [](const Variable& variable) {
            return "Variable(" + quoted(variable.name) + ", " + formatNumber(*variable.storage) +
                   ")";
        });
}

void bindExpression(py::module_& module)
{
    py::class_<Expression>(module, "Expression",
                           "A parsed expression. It keeps the variables it was parsed with "
                           "alive and does not need its parser any more.")
        .def_readonly("text", &Expression::text, "The text as it was given to parse().")
        .def_readonly("normalized_text", &Expression::normalisedText,
                      "The text as the parser reads it: lower case, no blanks, implicit "
                      "multiplications written out ('2x' is '2*x').")
        .def("__call__", &Expression::operator(),
             "Evaluates the expression with the variables' current values.")
        .def("evaluate", &Expression::evaluate,
             "evaluate(**arrays) -> numpy.ndarray\n\n"
             "Evaluates the expression once per element, with each named variable taking its "
             "value from its array (any numeric dtype, converted to float64; arrays are "
             "broadcast together). Variables not named keep their current value, and no "
             "variable is left changed. The result has the broadcast shape and the bits of "
             "calling the expression row by row. Other Python threads run meanwhile.")
        .def_property_readonly(
            "uses_native_code",
            &Expression::usesNativeCode,
            "True when evaluation runs machine code generated for this expression.")
        .def("__repr__", [](const Expression& expression) {
            std::string text = "Expression(" + quoted(expression.text);
            if (!expression.faultRanges.empty())
                text += ", faults=" + std::to_string(expression.faultRanges.size());
            return text + ")";
        });
}

void bindParser(py::module_& module)
{
    py::class_<Parser>(module, "Parser",
                       "Parses expression texts against the variables bound to it. Every parser "
                       "knows the constants pi, e and epsilon.")
        .def(py::init<>())
        .def("bind", &Parser::bind, py::arg("name"), py::arg("value") = 0.0,
             "Binds a double variable under `name` (lower-cased) and returns it. Binding a name "
             "again sets the existing variable's value and returns it.")
        .def("unbind", &Parser::unbind, py::arg("name"),
             "Forgets a variable: later texts no longer know the name; expressions already "
             "parsed keep reading it.")
        .def_property_readonly("variables", &Parser::boundVariables,
                               "The bound variables by name.")
        .def("parse", &Parser::parse, py::arg("text"),
             "Parses `text` into an Expression. A faulty text still gives an expression, "
             "which reads 0 for each faulty part.")
        .def("__repr__", [](const Parser& parser) {
            std::string names;
            for (const auto& entry : parser.boundVariables())
                names += (names.empty() ? "" : ", ") + quoted(entry.first);
            return "Parser(variables=[" + names + "])";
        });
}

}  // namespace

void bindExpressions(py::module_& module)
{
    module.def("set_native_code_allowed", &exprcurve::CompiledExpression::setNativeCodeAllowed,
               py::arg("allowed"),
               "Whether expressions parsed from now on may run machine code generated for "
               "them (true at start); without it they are interpreted, with the same results.");
    bindVariable(module);
    bindExpression(module);
    bindParser(module);
}

}  // namespace exprcurve_python
