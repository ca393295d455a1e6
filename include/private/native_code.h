// Turning a compiled program into machine code (internal, not installed).
#ifndef EXPRCURVE_PRIVATE_NATIVECODE_H
#define EXPRCURVE_PRIVATE_NATIVECODE_H

#include <memory>

#include "compiled_program.h"

namespace exprcurve {
namespace compiled {

// Machine code that computes what interpreting `program` computes, or null
// when this platform has no code generator, the program calls host nodes, or
// executable memory cannot be had.
std::shared_ptr<const CompiledExpression::NativeCode> generateNativeCode(const Program& program);

}  // namespace compiled
}  // namespace exprcurve

#endif  // EXPRCURVE_PRIVATE_NATIVECODE_H
