// The interpreter of compiled programs (internal).
#ifndef EXPRCURVE_EXPRESSION_PROGRAM_INTERPRETER_H
#define EXPRCURVE_EXPRESSION_PROGRAM_INTERPRETER_H

#include "compiled_program.h"

namespace exprcurve {
namespace compiled {

// Picks each instruction's routine (Instruction::handler); a program must
// go through this before it is interpreted, and again after any change.
void chooseHandlers(Program& program);

// The value of the program, computed as the tree computes it.
double interpretProgram(const Program& program);

// The value of a one-operand form: a constant, a variable of any kind as
// its leaf reads it, or the accumulator.
double operand(Form form, const Operand& operand, double accumulator);

}  // namespace compiled
}  // namespace exprcurve

#endif  // EXPRCURVE_EXPRESSION_PROGRAM_INTERPRETER_H
