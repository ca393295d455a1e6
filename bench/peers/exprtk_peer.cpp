// ExprTk behind the small interface of exprtk_peer.h. The timing loops are
// instantiated here, so ExprTk's value() is inlined into them exactly as
// exprcurve's call operator is inlined into its own.
#include "exprtk_peer.h"

#include <memory>

#include "bench_common.h"
#include "exprtk.hpp"

namespace bench {

struct ExprtkExpression {
    exprtk::expression<double> expression;
};

namespace {

void bindVariables(exprtk::symbol_table<double>& symbols)
{
    symbols.add_variable("a", variables.a);
    symbols.add_variable("b", variables.b);
    symbols.add_variable("c", variables.c);
    symbols.add_variable("d", variables.d);
    symbols.add_variable("t", variables.t);
}

// One symbol table for every expression, as a host would keep it, so that
// the memory of a form is the expression's own.
exprtk::symbol_table<double>& sharedSymbols()
{
    static exprtk::symbol_table<double> symbols = [] {
        exprtk::symbol_table<double> made;
        bindVariables(made);
        return made;
    }();
    return symbols;
}

exprtk::parser<double>& sharedParser()
{
    static exprtk::parser<double> parser;
    return parser;
}

}  // namespace

ExprtkExpression* makeExprtk(const char* text)
{
    auto made = std::make_unique<ExprtkExpression>();
    made->expression.register_symbol_table(sharedSymbols());
    if (!sharedParser().compile(text, made->expression))
        return nullptr;
    return made.release();
}

void destroyExprtk(ExprtkExpression* expression) { delete expression; }

double evaluateExprtk(const ExprtkExpression* expression) { return expression->expression.value(); }

void timeExprtk(benchmark::State& state, const ExprtkExpression* expression)
{
    const exprtk::expression<double>& compiled = expression->expression;
    timeEvaluations(state, [&compiled] { return compiled.value(); });
}

void timeExprtkRowByRow(benchmark::State& state, const ExprtkExpression* expression)
{
    const exprtk::expression<double>& compiled = expression->expression;
    timeRowByRow(state, [&compiled] { return compiled.value(); });
}

void timeExprtkParse(benchmark::State& state, const char* text)
{
    for (auto _ : state) {
        exprtk::expression<double> expression;
        expression.register_symbol_table(sharedSymbols());
        benchmark::DoNotOptimize(sharedParser().compile(text, expression));
    }
}

}  // namespace bench
