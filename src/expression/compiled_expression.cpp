// The compiled form of an expression tree: the program (program_compiler.cpp),
// its interpreter (program_interpreter.cpp), native code where the platform
// allows (native_code.h), and evaluation over batches of rows.
#include "compiledexpression.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cstring>
#include <mutex>
#include <utility>
#include <vector>

#include "compiled_program.h"
#include "functionfloatbase.h"
#include "functionparserbase.h"
#include "native_code.h"
#include "program_compiler.h"
#include "program_interpreter.h"
#include "variable_leaves.h"

namespace exprcurve {
namespace compiled {

// Everything a compiled form owns; copies of a CompiledExpression share it.
struct State {
    Program program;
    bool callsTree = false;      // holds a node evaluated through the tree
    // For a form that calls back into the tree: every variable the tree
    // reads, those under the nodes it calls included, which a batch writes.
    std::vector<Input> treeInputs;
    bool nativeAllowed = false;  // native code was allowed when the form was made
    ExecutableBlock scalar;
    mutable std::once_flag batchMade;
    mutable BatchCode batch;  // made on the first batch

    // `inputs` is inputsOf(program), kept by no form (it is cheap to find
    // again and would cost every form memory).
    const BatchCode& batchCode(const std::vector<Input>& inputs) const
    {
        std::call_once(batchMade, [&] {
            if (nativeAllowed)
                batch = generateBatchCode(program, inputs);
        });
        return batch;
    }
};

namespace {

std::atomic<bool> nativeCodeAllowed{true};

// The variables a tree reads, as the inputs of a program reading them.
std::vector<Input> inputsOfTree(const FunctionFloatBase& root)
{
    std::vector<Input> inputs;
    for (const variables::Binding& binding : variables::distinctBindings(&root)) {
        Form kind = Form::Variable;
        if (binding.type == KEY_FLOAT)
            kind = Form::FloatVariable;
        else if (binding.type == KEY_INT)
            kind = Form::IntVariable;
        else if (binding.type == KEY_BOOL)
            kind = Form::BoolVariable;
        inputs.push_back(Input{binding.address, kind});
    }
    return inputs;
}

// ---------------------------------------------------------------- batches

std::size_t valueSize(Form kind)
{
    switch (kind) {
    case Form::Variable:
        return sizeof(double);
    case Form::FloatVariable:
        return sizeof(float);
    case Form::IntVariable:
        return sizeof(int);
    default:
        return 1;  // a bool, read as its byte
    }
}

// The value a leaf of `kind` reads from the `row`-th element of `values`.
double valueAt(const void* values, Form kind, std::size_t row)
{
    Operand at{};
    at.boolByte = static_cast<const unsigned char*>(values) + row * valueSize(kind);
    return operand(kind, at, 0.0);
}

// The column listing an input's variable, or null.
const Column* columnOf(const Input& input, const Column* columns, std::size_t columnCount)
{
    for (std::size_t index = 0; index < columnCount; ++index) {
        if (columns[index].variable == input.address)
            return &columns[index];
    }
    return nullptr;
}

// Feeds a batch to a kernel in blocks of rows: every input becomes an array
// of doubles (a double column is used in place; other columns are widened as
// their leaves widen them; an unlisted variable is read once and repeated),
// and a last block is padded to whole lanes.
class BatchFeeder {
public:
    static constexpr std::size_t blockRows = 256;

    BatchFeeder(const std::vector<Input>& inputs, const Column* columns, std::size_t columnCount)
        : inputs(inputs), buffers(inputs.size() * blockRows), table(inputs.size())
    {
        for (const Input& input : inputs)
            sources.push_back(columnOf(input, columns, columnCount));
        for (std::size_t index = 0; index < inputs.size(); ++index) {
            if (!sources[index])
                std::fill_n(buffer(index), blockRows, valueAt(inputs[index].address, inputs[index].kind, 0));
        }
    }

    // Calls run(table, count, out) over every block; `lanes` divides blockRows.
    template <typename Run>
    void feed(std::size_t rows, double* results, std::size_t lanes, Run run)
    {
        double padded[blockRows];
        for (std::size_t start = 0; start < rows; start += blockRows) {
            const std::size_t count = std::min(blockRows, rows - start);
            const std::size_t whole = (count + lanes - 1) / lanes * lanes;
            for (std::size_t index = 0; index < inputs.size(); ++index)
                table[index] = block(index, start, count, whole);
            if (whole == count) {
                run(table.data(), count, results + start);
            } else {
                run(table.data(), whole, padded);
                std::copy_n(padded, count, results + start);
            }
        }
    }

private:
    double* buffer(std::size_t index) { return buffers.data() + index * blockRows; }

    const double* block(std::size_t index, std::size_t start, std::size_t count, std::size_t whole)
    {
        const Column* column = sources[index];
        if (!column)
            return buffer(index);
        const Form kind = inputs[index].kind;
        if (kind == Form::Variable && whole == count)
            return static_cast<const double*>(column->values) + start;
        double* converted = buffer(index);
        for (std::size_t row = 0; row < count; ++row)
            converted[row] = valueAt(column->values, kind, start + row);
        std::fill(converted + count, converted + whole, converted[count - 1]);  // lanes nobody reads
        return converted;
    }

    const std::vector<Input>& inputs;
    std::vector<const Column*> sources;
    std::vector<double> buffers;
    std::vector<const double*> table;
};

// The program with every input read from `image[k]` instead of the host.
Program readingFrom(const Program& program, const std::vector<Input>& inputs, const double* image)
{
    Program copy = program;
    for (Instruction& instruction : copy) {
        for (const bool second : {false, true}) {
            Input input;
            if (!readsInput(instruction, second, &input))
                continue;
            const auto found = std::find_if(inputs.begin(), inputs.end(), [&](const Input& known) {
                return known.address == input.address && known.kind == input.kind;
            });
            Operand& operand = second ? instruction.second : instruction.first;
            operand.variable = image + (found - inputs.begin());
            if (instruction.step == Step::Load || instruction.step == Step::Unary)
                instruction.form = Form::Variable;
        }
    }
    chooseHandlers(copy);
    return copy;
}

// Writes the listed variables of the host, row after row, and puts the
// original values back when done (or when a node throws).
class HostVariableWriter {
public:
    HostVariableWriter(const std::vector<Input>& inputs, const Column* columns, std::size_t columnCount)
    {
        for (std::size_t index = 0; index < columnCount; ++index) {
            const auto input = std::find_if(inputs.begin(), inputs.end(), [&](const Input& known) {
                return known.address == columns[index].variable;
            });
            // A variable no leaf reads has no known type: nothing to write.
            if (input == inputs.end())
                continue;
            Written written{static_cast<unsigned char*>(const_cast<void*>(input->address)),
                            static_cast<const unsigned char*>(columns[index].values), valueSize(input->kind), {}};
            std::memcpy(written.original, written.variable, written.size);
            variables.push_back(written);
        }
    }

    ~HostVariableWriter()
    {
        for (const Written& written : variables)
            std::memcpy(written.variable, written.original, written.size);
    }

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
}  // namespace compiled

// ---------------------------------------------------------------- the class

CompiledExpression::CompiledExpression(const FunctionFloatBase* root, Backend backend)
{
    assert(root);
    auto made = std::make_shared<compiled::State>();
    made->program = compiled::compileProgram(*root);
    made->program.shrink_to_fit();  // kept for the life of the form
    compiled::chooseHandlers(made->program);
    made->callsTree = std::any_of(made->program.begin(), made->program.end(), [](const compiled::Instruction& step) {
        return step.step == compiled::Step::CallNode;
    });
    if (made->callsTree)
        made->treeInputs = compiled::inputsOfTree(*root);
    made->nativeAllowed = backend == Backend::Automatic && compiled::nativeCodeAllowed.load();
    if (made->nativeAllowed)
        made->scalar = compiled::generateScalarCode(made->program);
    nativeEntry = reinterpret_cast<double (*)()>(const_cast<void*>(made->scalar.entry()));
    state = std::move(made);
}

CompiledExpression::~CompiledExpression() = default;
CompiledExpression::CompiledExpression(const CompiledExpression& other) = default;
CompiledExpression& CompiledExpression::operator=(const CompiledExpression& other) = default;

CompiledExpression::CompiledExpression(CompiledExpression&& other) noexcept
    : state(std::move(other.state)), nativeEntry(std::exchange(other.nativeEntry, nullptr))
{
}

CompiledExpression& CompiledExpression::operator=(CompiledExpression&& other) noexcept
{
    state = std::move(other.state);
    nativeEntry = std::exchange(other.nativeEntry, nullptr);
    return *this;
}

void CompiledExpression::setNativeCodeAllowed(bool allowed) { compiled::nativeCodeAllowed.store(allowed); }

// A moved-from form has no state and evaluates to 0.0.
double CompiledExpression::interpret() const { return state ? compiled::interpretProgram(state->program) : 0.0; }

void CompiledExpression::evaluate(std::size_t rows, const Column* columns, std::size_t columnCount,
                                  double* results) const
{
    using namespace compiled;
    if (rows == 0)
        return;
    if (!state) {
        std::fill_n(results, rows, 0.0);
        return;
    }
    if (state->callsTree) {
        const HostVariableWriter writer(state->treeInputs, columns, columnCount);
        for (std::size_t row = 0; row < rows; ++row) {
            writer.writeRow(row);
            results[row] = (*this)();
        }
        return;
    }
    const std::vector<Input> inputs = inputsOf(state->program);
    BatchFeeder feeder(inputs, columns, columnCount);
    const BatchCode& batch = state->batchCode(inputs);
    if (batch.block)
        return feeder.feed(rows, results, batch.lanes,
                           reinterpret_cast<BatchEntry>(const_cast<void*>(batch.block.entry())));
    // No kernel (host calls, the random node, or no native code): row after
    // row, each row's values copied into an image the program reads. Where
    // native code is allowed and the batch is long enough to repay making it
    // (a few microseconds, about a hundred interpreted rows), that program
    // runs as native code made for this call, about three times faster.
    constexpr std::size_t rowsWorthNativeCode = 128;
    std::vector<double> image(inputs.size());
    const Program program = readingFrom(state->program, inputs, image.data());
    const ExecutableBlock rowCode = state->nativeAllowed && rows >= rowsWorthNativeCode
                                        ? generateScalarCode(program)
                                        : ExecutableBlock();
    const auto native = reinterpret_cast<double (*)()>(const_cast<void*>(rowCode.entry()));
    feeder.feed(rows, results, 1, [&](const double* const* table, std::size_t count, double* out) {
        for (std::size_t row = 0; row < count; ++row) {
            for (std::size_t index = 0; index < image.size(); ++index)
                image[index] = table[index][row];
            out[row] = native ? native() : interpretProgram(program);
        }
    });
}

}  // namespace exprcurve
