// Platforms without a code generator: every program is interpreted, and no
// executable memory is ever asked for.
#include "native_code.h"

namespace exprcurve {
namespace compiled {

ExecutableBlock::ExecutableBlock(ExecutableBlock&&) noexcept {}
ExecutableBlock& ExecutableBlock::operator=(ExecutableBlock&&) noexcept { return *this; }
ExecutableBlock::~ExecutableBlock() = default;

ExecutableBlock generateScalarCode(const Program&) { return ExecutableBlock(); }
BatchCode generateBatchCode(const Program&, const std::vector<Input>&) { return BatchCode{}; }
void allowWideBatches(bool) {}

void replaceMemoryCalls(const MemoryCalls*) {}
PoolStatistics poolStatistics() { return PoolStatistics{0, 0, 0, 0, true}; }

}  // namespace compiled
}  // namespace exprcurve
