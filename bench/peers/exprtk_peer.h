// ExprTk measured beside exprcurve. Its header is large and slow to compile,
// so it is included by one file only (exprtk_peer.cpp), built when the
// benchmark is configured with EXPRCURVE_EXPRTK_DIR; the rest of the
// benchmark reaches it through these functions.
#ifndef EXPRCURVE_BENCH_EXPRTK_PEER_H
#define EXPRCURVE_BENCH_EXPRTK_PEER_H

#include <benchmark/benchmark.h>

namespace bench {

struct ExprtkExpression;

// An expression bound to the variables a b c d t; null when it does not compile.
ExprtkExpression* makeExprtk(const char* text);
void destroyExprtk(ExprtkExpression* expression);
double evaluateExprtk(const ExprtkExpression* expression);

// The shared timing loops around ExprTk's own evaluation call.
void timeExprtk(benchmark::State& state, const ExprtkExpression* expression);
void timeExprtkRowByRow(benchmark::State& state, const ExprtkExpression* expression);
void timeExprtkParse(benchmark::State& state, const char* text);

}  // namespace bench

#endif  // EXPRCURVE_BENCH_EXPRTK_PEER_H
