// Parsers and expressions behind C handles.
#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "boundary.h"
#include "compiledexpression.h"
#include "diagnostics.h"
#include "exprcurve.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"

using exprcurve::c_api::failWith;
using exprcurve::c_api::guarded;

struct exprcurve_parser {
    FunctionParserBase parser;
};

// The tree is compiled once when parsed: evaluation then runs the compiled
// form, which gives the tree's bits and may run on several threads at once.
struct exprcurve_expression {
    explicit exprcurve_expression(std::unique_ptr<FunctionFloatBase> root)
        : tree(std::move(root)), compiled(tree.get())
    {
    }

    std::unique_ptr<FunctionFloatBase> tree;  // declared first: `compiled` reads it
    exprcurve::CompiledExpression compiled;
    std::string normalisedText;
    std::vector<exprcurve::Diagnostic> faults;
};

namespace {

const char* const nullHandle = "null handle or name";

template <class Variable>
int bind(exprcurve_parser* parser, const char* name, Variable* variable)
{
    return guarded(0, [&] {
        if (parser == nullptr || name == nullptr || variable == nullptr)
            return failWith(0, nullHandle);
        if (!parser->parser.insertKey(name, variable))
            return failWith(0, std::string("'") + name + "' is already bound");
        return 1;
    });
}

}  // namespace

extern "C" {

exprcurve_parser* exprcurve_parser_new(void)
{
    return guarded<exprcurve_parser*>(nullptr, [] { return new exprcurve_parser(); });
}

void exprcurve_parser_free(exprcurve_parser* parser)
{
    delete parser;
}

int exprcurve_parser_bind_double(exprcurve_parser* parser, const char* name, double* variable)
{
    return bind(parser, name, variable);
}

int exprcurve_parser_bind_float(exprcurve_parser* parser, const char* name, float* variable)
{
    return bind(parser, name, variable);
}

int exprcurve_parser_bind_int(exprcurve_parser* parser, const char* name, int* variable)
{
    return bind(parser, name, variable);
}

int exprcurve_parser_bind_bool(exprcurve_parser* parser, const char* name, bool* variable)
{
    return bind(parser, name, variable);
}

int exprcurve_parser_define_function(exprcurve_parser* parser, const char* name,
                                     unsigned int arity, exprcurve_host_function function,
                                     void* context)
{
    return guarded(0, [&] {
        if (parser == nullptr || name == nullptr)
            return failWith(0, nullHandle);
        if (!parser->parser.defineFunction(name, arity, function, context))
            return failWith(0, std::string("cannot define '") + name +
                                   "': a function needs a name of a letter followed by letters, "
                                   "digits or '_' that no built-in call has, at most 8 "
                                   "arguments and a function pointer");
        return 1;
    });
}

int exprcurve_parser_remove_function(exprcurve_parser* parser, const char* name)
{
    return guarded(0, [&] {
        if (parser == nullptr || name == nullptr)
            return failWith(0, nullHandle);
        if (!parser->parser.removeFunction(name))
            return failWith(0, std::string("no function '") + name + "' is defined");
        return 1;
    });
}

int exprcurve_parser_unbind(exprcurve_parser* parser, const char* name)
{
    return guarded(0, [&] {
        if (parser == nullptr || name == nullptr)
            return failWith(0, nullHandle);
        if (!parser->parser.removeKey(name))
            return failWith(0, std::string("'") + name + "' is not bound");
        return 1;
    });
}

exprcurve_expression* exprcurve_parse(exprcurve_parser* parser, const char* text)
{
    return guarded<exprcurve_expression*>(nullptr, [&]() -> exprcurve_expression* {
        if (parser == nullptr || text == nullptr)
            return failWith<exprcurve_expression*>(nullptr, "null parser or text");
        ParseMessage message{};
        std::unique_ptr<FunctionFloatBase> tree(parser->parser.parseString(text, message));
        auto expression = std::make_unique<exprcurve_expression>(std::move(tree));
        expression->faults = exprcurve::describeFaults(text, message);
        expression->normalisedText = std::move(message.text);
        return expression.release();
    });
}

void exprcurve_expression_free(exprcurve_expression* expression)
{
    delete expression;
}

const char* exprcurve_expression_text(const exprcurve_expression* expression)
{
    return expression == nullptr ? "" : expression->normalisedText.c_str();
}

double exprcurve_evaluate(const exprcurve_expression* expression)
{
    if (expression == nullptr)
        return failWith(std::nan(""), nullHandle);
    return expression->compiled();
}

size_t exprcurve_fault_count(const exprcurve_expression* expression)
{
    return expression == nullptr ? 0 : expression->faults.size();
}

const char* exprcurve_fault_message(const exprcurve_expression* expression, size_t index)
{
    if (expression == nullptr || index >= expression->faults.size())
        return nullptr;
    return expression->faults[index].message.c_str();
}

int exprcurve_fault_position(const exprcurve_expression* expression, size_t index)
{
    if (expression == nullptr || index >= expression->faults.size())
        return -1;
    return expression->faults[index].position;
}

int exprcurve_fault_length(const exprcurve_expression* expression, size_t index)
{
    if (expression == nullptr || index >= expression->faults.size())
        return -1;
    return expression->faults[index].length;
}

int exprcurve_evaluate_batch(const exprcurve_expression* expression, size_t rows,
                             const exprcurve_column* columns, size_t column_count,
                             double* results)
{
    return guarded(0, [&] {
        if (expression == nullptr || (rows != 0 && results == nullptr) ||
            (column_count != 0 && columns == nullptr))
            return failWith(0, "null expression, columns or results");
        std::vector<exprcurve::Column> library;
        library.reserve(column_count);
        for (size_t i = 0; i < column_count; ++i)
            library.push_back(exprcurve::Column{columns[i].variable, columns[i].values});
        expression->compiled.evaluate(rows, library.data(), library.size(), results);
        return 1;
    });
}

void exprcurve_set_native_code_allowed(int allowed)
{
    exprcurve::CompiledExpression::setNativeCodeAllowed(allowed != 0);
}

int exprcurve_expression_uses_native_code(const exprcurve_expression* expression)
{
    return expression != nullptr && expression->compiled.usesNativeCode() ? 1 : 0;
}

}  // extern "C"
