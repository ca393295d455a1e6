// Turning an expression tree into a compiled program (internal).
#ifndef EXPRCURVE_EXPRESSION_PROGRAM_COMPILER_H
#define EXPRCURVE_EXPRESSION_PROGRAM_COMPILER_H

#include "compiled_program.h"

namespace exprcurve {
namespace compiled {

// The program that computes what `root` computes. The walk keeps its own
// work lists on the heap, so any tree the parser can build compiles within
// a small, fixed amount of machine stack.
Program compileProgram(const FunctionFloatBase& root);

}  // namespace compiled
}  // namespace exprcurve

#endif  // EXPRCURVE_EXPRESSION_PROGRAM_COMPILER_H
