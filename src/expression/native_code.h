// Turning a compiled program into machine code (internal). The build picks
// one implementation: native_code_x86_64.cpp, or native_code_none.cpp where
// there is no code generator.
#ifndef EXPRCURVE_EXPRESSION_NATIVE_CODE_H
#define EXPRCURVE_EXPRESSION_NATIVE_CODE_H

#include <cstddef>
#include <vector>

#include "compiled_program.h"
#include "executable_memory.h"

namespace exprcurve {
namespace compiled {

using ScalarEntry = double (*)();

// Computes `rows` results from `inputs[k][row]`, the values of the program's
// k-th input (see inputsOf) as doubles; `rows` is a multiple of the kernel's
// lanes.
using BatchEntry = void (*)(const double* const* inputs, std::size_t rows, double* results);

struct BatchCode {
    ExecutableBlock block;  // a BatchEntry, or empty
    std::size_t lanes = 1;  // rows computed at once
};

// Code computing what interpreting `program` computes, or an empty block
// when there is no code generator, the program holds an instruction that
// stays interpreted, or executable memory cannot be had.
ExecutableBlock generateScalarCode(const Program& program);

// The batch kernel of a program that calls nothing through the tree, or an
// empty block. `inputs` is inputsOf(program). Four lanes (AVX) where the
// processor and the system support them, else two (SSE2).
BatchCode generateBatchCode(const Program& program, const std::vector<Input>& inputs);

// For tests: false makes kernels made afterwards use two lanes even where
// four could be had, so that both kinds can be checked on one machine.
void allowWideBatches(bool allowed);

}  // namespace compiled
}  // namespace exprcurve

#endif  // EXPRCURVE_EXPRESSION_NATIVE_CODE_H
