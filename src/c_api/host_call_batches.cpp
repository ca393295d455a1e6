#include "host_call_batches.h"

#include <algorithm>
#include <cstring>

#include "functionfloatbase.h"

namespace exprcurve {

namespace {

// The variable a leaf reads, asked in the order the library asks it.
bool leafOf(const FunctionFloatBase& node, TreeInputs::Leaf& leaf)
{
    if (node.isVariableBool())
        leaf = {node.getVariableBoolRef()->control, sizeof(bool)};
    else if (node.isVariableInt())
        leaf = {node.getVariableIntRef()->control, sizeof(int)};
    else if (node.isVariableFloat())
        leaf = {node.getVariableFloatRef()->control, sizeof(float)};
    else if (node.isVariableDouble())
        leaf = {node.getVariableDoubleRef()->control, sizeof(double)};
    else
        return false;
    return true;
}

// Children of every node kind, pushed for a walk with a stack of its own
// (trees may be a thousand levels deep).
void pushChildren(const FunctionFloatBase& node, std::vector<const FunctionFloatBase*>& pending)
{
    if (node.isUnary()) {
        pending.push_back(node.getUnaryRef()->arg);
    } else if (node.isBinary()) {
        pending.push_back(node.getBinaryRef()->arg1);
        pending.push_back(node.getBinaryRef()->arg2);
    } else if (node.isTernary()) {
        pending.push_back(node.getTernaryRef()->arg1);
        pending.push_back(node.getTernaryRef()->arg2);
        pending.push_back(node.getTernaryRef()->arg3);
    } else if (node.isHostCall()) {
        const FunctionFloatHostCall& call = *node.getHostCallRef();
        pending.insert(pending.end(), call.arguments, call.arguments + call.arity);
    }
}

// Writes each listed variable per row and puts the original values back when
// it goes, also when memory runs out partway.
class VariableWriter {
public:
    VariableWriter(const TreeInputs& inputs, const Column* columns, std::size_t columnCount)
    {
        for (std::size_t index = 0; index < columnCount; ++index) {
            const auto leaf = std::find_if(inputs.leaves.begin(), inputs.leaves.end(),
                                           [&](const TreeInputs::Leaf& known) {
                                               return known.address == columns[index].variable;
                                           });
            if (leaf == inputs.leaves.end())
                continue;  // the tree does not read it
            Written written{static_cast<unsigned char*>(const_cast<void*>(leaf->address)),
                            static_cast<const unsigned char*>(columns[index].values), leaf->size,
                            {}};
            std::memcpy(written.original, written.variable, written.size);
            variables.push_back(written);
        }
    }
    ~VariableWriter()
    {
        for (const Written& written : variables)
            std::memcpy(written.variable, written.original, written.size);
    }
    VariableWriter(const VariableWriter&) = delete;
    VariableWriter& operator=(const VariableWriter&) = delete;

    void writeRow(std::size_t row) const
    {
        for (const Written& written : variables)
            std::memcpy(written.variable, written.values + row * written.size, written.size);
    }

private:
    struct Written {
        unsigned char* variable;
        const unsigned char* values;
        std::size_t size;
        unsigned char original[sizeof(double)];
    };
    std::vector<Written> variables;
};

}  // namespace

TreeInputs treeInputs(const FunctionFloatBase* root)
{
    TreeInputs inputs;
    std::vector<const FunctionFloatBase*> pending{root};
    while (!pending.empty()) {
        const FunctionFloatBase* node = pending.back();
        pending.pop_back();
        if (node == nullptr)
            continue;
        inputs.callsHost = inputs.callsHost || node->isHostCall();
        TreeInputs::Leaf leaf{};
        if (leafOf(*node, leaf)) {
            const bool known = std::any_of(inputs.leaves.begin(), inputs.leaves.end(),
                                           [&](const TreeInputs::Leaf& seen) {
                                               return seen.address == leaf.address;
                                           });
            if (!known)
                inputs.leaves.push_back(leaf);
        }
        pushChildren(*node, pending);
    }
    return inputs;
}

void evaluateRowByRow(const CompiledExpression& compiled, const TreeInputs& inputs,
                      std::size_t rows, const Column* columns, std::size_t columnCount,
                      double* results)
{
    const VariableWriter writer(inputs, columns, columnCount);
    for (std::size_t row = 0; row < rows; ++row) {
        writer.writeRow(row);
        results[row] = compiled();
    }
}

}  // namespace exprcurve
