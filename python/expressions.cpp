// Parsers, variables and expressions for Python.
//
// Variables are doubles owned here, shared between the parser that binds
// them and every expression parsed while they were bound, so that either may
// outlive the other; Python functions likewise.
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
#include "diagnostics.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "host_functions.h"

namespace exprcurve_python {

namespace {

struct Variable {
    std::string name;
    std::shared_ptr<double> storage;
};

using VariableTable = std::map<std::string, std::shared_ptr<double>>;

using Faults = std::vector<exprcurve::Diagnostic>;

class Expression {
public:
    Expression(std::string text, std::unique_ptr<FunctionFloatBase> root, ParseMessage message,
               std::vector<std::string> reads, VariableTable variables, FunctionTable functions)
        : text(std::move(text)),
          normalisedText(message.text),  // a copy: describeFaults reads it next
          faults(exprcurve::describeFaults(this->text, message)),
          reads(std::move(reads)),
          variables(std::move(variables)),
          functions(std::move(functions)),
          tree(std::move(root)),
          compiled(tree.get())
    {
    }

    double operator()() const
    {
        const double value = compiled();
        raisePendingError();
        return value;
    }
    bool usesNativeCode() const { return compiled.usesNativeCode(); }

    py::array_t<double> evaluate(const py::kwargs& arrays) const;

    const std::string text;
    const std::string normalisedText;
    const Faults faults;
    const std::vector<std::string> reads;  // the names of the keys it reads
    const VariableTable variables;         // every variable bound when parsed
    const FunctionTable functions;  // every function defined when parsed

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

// A batch writes nothing to the variables, so it runs without the
// interpreter lock and other Python threads go on meanwhile. One of a text
// parsed while Python functions were defined may call them, and a batch that
// calls back into the tree writes the variables row by row: it keeps the
// lock so that no other thread sees them changed.
py::array_t<double> Expression::evaluate(const py::kwargs& arrays) const
{
    const Inputs in = inputs(arrays);
    std::vector<exprcurve::Column> columns;
    for (std::size_t column = 0; column < in.addresses.size(); ++column)
        columns.push_back(exprcurve::Column{in.addresses[column], in.arrays[column].data()});
    py::array_t<double> results(in.shape);
    double* out = results.mutable_data();
    if (!functions.empty()) {
        compiled.evaluate(in.rows, columns.data(), columns.size(), out);
        raisePendingError();
    } else {
        const py::gil_scoped_release released;
        compiled.evaluate(in.rows, columns.data(), columns.size(), out);
    }
    return results;
}

py::list faultTuples(const Faults& faults)
{
    py::list tuples;
    for (const exprcurve::Diagnostic& fault : faults)
        tuples.append(py::make_tuple(fault.position, fault.length, fault.message));
    return tuples;
}

// exprcurve.ParseError, made when the module is and kept for the process's
// life (a static py::object would be released after the interpreter ends).
py::handle parseErrorType;

[[noreturn]] void raiseParseError(const Expression& expression)
{
    std::string message = "faults in '" + expression.text + "':";
    for (const exprcurve::Diagnostic& fault : expression.faults)
        message += " at " + std::to_string(fault.position) + ": " + fault.message + ";";
    message.pop_back();
    py::object error = parseErrorType(message);
    error.attr("faults") = faultTuples(expression.faults);
    PyErr_SetObject(parseErrorType.ptr(), error.ptr());
    throw py::error_already_set();
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

    std::unique_ptr<Expression> parse(const std::string& text, bool strict)
    {
        ParseMessage message{};
        std::unique_ptr<FunctionFloatBase> root(parser.parseString(text, message));
        std::vector<std::string> reads;
        for (const FunctionParserBase::keyStruct* key : parser.getAllVars(root.get())) {
            if (key != nullptr)
                reads.push_back(key->name);
        }
        auto expression = std::make_unique<Expression>(text, std::move(root), std::move(message),
                                                       std::move(reads), variables, functions);
        if (strict && !expression->faults.empty())
            raiseParseError(*expression);
        return expression;
    }

    void defineFunction(const std::string& name, unsigned int arity, const py::function& callable)
    {
        const std::string key = parser.toLowerString(name);
        auto function = std::make_shared<const PythonFunction>(PythonFunction{callable, arity, key});
        if (!parser.defineFunction(key, arity, &callPython, const_cast<PythonFunction*>(function.get())))
            throw py::value_error("cannot define '" + name +
                                  "': a function needs a name of a letter followed by letters, "
                                  "digits or '_' that no built-in call has, and at most 8 "
                                  "arguments");
        functions[key] = std::move(function);
    }

    void removeFunction(const std::string& name)
    {
        const std::string key = parser.toLowerString(name);
        if (functions.erase(key) == 0)
            throw py::key_error(name);
        parser.removeFunction(key);
    }

    py::dict definedFunctions() const
    {
        py::dict result;
        for (const auto& entry : functions)
            result[py::str(entry.first)] = entry.second->callable;
        return result;
    }

private:
    FunctionParserBase parser;
    VariableTable variables;
    FunctionTable functions;
};

py::list lint(const std::string& text)
{
    return faultTuples(exprcurve::lint(text));
}

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
        .def_property_readonly(
            "variables",
            [](const Expression& expression) { return py::tuple(py::cast(expression.reads)); },
            "The names the expression reads, in the order they first appear (the constants "
            "pi, e and epsilon included).")
        .def_property_readonly(
            "faults", [](const Expression& expression) { return faultTuples(expression.faults); },
            "The text's faults as (position, length, message), the range in the text as given "
            "to parse(); empty for a sound text.")
        .def("__call__", &Expression::operator(),
             "Evaluates the expression with the variables' current values. An exception raised "
             "by a Python function it calls is raised here.")
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
            if (!expression.faults.empty())
                text += ", faults=" + std::to_string(expression.faults.size());
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
        .def("parse", &Parser::parse, py::arg("text"), py::arg("strict") = false,
             "Parses `text` into an Expression. A faulty text still gives an expression, which "
             "reads 0 for each faulty part and lists the faults, unless `strict`: then it raises "
             "ParseError (a ValueError) with the faults.")
        .def("define_function", &Parser::defineFunction, py::arg("name"), py::arg("arity"),
             py::arg("function"),
             "Makes `name(x1,...,xn)` in later texts call `function` with n floats; it must "
             "return a number. Defining a name again replaces it for later texts only. What the "
             "function raises comes out of the evaluation that called it.")
        .def("remove_function", &Parser::removeFunction, py::arg("name"),
             "Forgets a function for later texts.")
        .def_property_readonly("functions", &Parser::definedFunctions,
                               "The defined functions by name.")
        .def_static("lint", &lint, py::arg("text"),
                    "Warnings about a text the language reads differently from most others, "
                    "as (position, length, message).")
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
    parseErrorType = PyErr_NewExceptionWithDoc(
        "exprcurve.ParseError",
        "A text with faults, parsed strictly. `faults` lists them as (position, length, "
        "message).",
        PyExc_ValueError, nullptr);
    if (!parseErrorType)
        throw py::error_already_set();
    module.add_object("ParseError", py::reinterpret_borrow<py::object>(parseErrorType));
    module.def("lint", &lint, py::arg("text"),
               "Warnings about a text the language reads differently from most others (1e-5, "
               ">=, a-b-c, 2^-1, ...), as (position, length, message).");
    bindVariable(module);
    bindExpression(module);
    bindParser(module);
}

}  // namespace exprcurve_python
