// Machine code for compiled programs on x86-64 (System V calling convention).
//
// Scalar code keeps the interpreter's machine: the accumulator lives in
// xmm0, xmm1 is scratch, and the first 14 stack slots live in xmm2..xmm15
// (deeper ones in the frame on the machine stack). Every instruction becomes
// the same IEEE operation on the same operands in the same order: addsd,
// subsd, mulsd and divsd for the four arithmetic operators; maxsd and minsd,
// which return their second operand unless the first is strictly greater
// (smaller), exactly as `a > b ? a : b` does; ucomisd with "above" for ">"
// and "<", which is false for unordered operands as the C++ comparison is.
// Everything else calls the operation table's function, the very code the
// interpreter runs, so the bits cannot differ. A call clobbers every xmm
// register, so the slots held in registers are saved to the frame around it.
// A host function is called with its arguments where the frame keeps the
// stack's slots, through a routine of the library's that is noexcept: an
// exception escaping the function ends the program there (std::terminate)
// rather than unwinding into generated frames, which have no unwind tables.
//
// The batch kernel runs the same program over rows, four at a time in the
// lanes of AVX registers where the processor has them (chosen when the
// kernel is made), else two at a time in SSE2 registers: addpd, mulpd,
// maxpd and the others round each lane exactly as their scalar forms do; comparisons become masks
// (cmppd) and-ed with 1.0; calls are made lane by lane. "if" computes both
// branches, which the library's own nodes allow (they have no effects), and
// selects per lane by the exact test against zero. Programs with host calls
// have no batch kernel: their rows run one after the other, so every row
// makes the calls operator() makes, in the same order.
#include "native_code.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <vector>

#include "functionfloatbase.h"
#include "functionfloatoperations.h"
#include "x86_64_assembler.h"

namespace exprcurve {
namespace compiled {
namespace {

using namespace x86_64;

std::atomic<bool> wideBatchesAllowed{true};

double callHostFunction(const double* arguments, const FunctionFloatHostCall* call) noexcept
{
    return call->function(arguments, call->context);
}

constexpr Xmm accumulator{0};
constexpr Xmm scratch{1};

bool isInlineScalar(Operation operation)
{
    switch (operation) {
    case Operation::Add:
    case Operation::Sub:
    case Operation::Mul:
    case Operation::Div:
    case Operation::Max:
    case Operation::Min:
    case Operation::Grt:
    case Operation::Lss:
        return true;
    default:
        return false;
    }
}

// What the scalar and the batch generator share: the assembler, and where
// a binary instruction finds its operands.
class Generator {
public:
    Assembler code;

protected:
    virtual ~Generator() = default;
    virtual void load(Xmm to, Form form, const Operand& operand) = 0;
    virtual void pushAccumulator() = 0;
    virtual void pop(Xmm to) = 0;

    // Puts the left operand in the accumulator and the right one in scratch.
    void placeOperands(const Instruction& step)
    {
        if (step.pushFirst)
            pushAccumulator();
        switch (step.form) {
        case Form::StackAcc:
            code.movapd(scratch, accumulator);
            pop(accumulator);
            break;
        case Form::AccStack:
            pop(scratch);
            break;
        case Form::AccConstant:
        case Form::AccVariable:
            load(scratch, step.form == Form::AccConstant ? Form::Constant : Form::Variable, step.second);
            break;
        case Form::ConstantAcc:
        case Form::VariableAcc:
            code.movapd(scratch, accumulator);
            load(accumulator, step.form == Form::ConstantAcc ? Form::Constant : Form::Variable, step.first);
            break;
        default:  // two leaves
            load(accumulator, step.form == Form::ConstantVariable ? Form::Constant : Form::Variable, step.first);
            load(scratch, step.form == Form::VariableConstant ? Form::Constant : Form::Variable, step.second);
            break;
        }
    }
};

// ---------------------------------------------------------------- scalar

class ScalarGenerator : public Generator {
public:
    explicit ScalarGenerator(const Program& program) : program(program) {}

    // False when the program holds an instruction that stays interpreted.
    bool generate()
    {
        if (!planFrame())
            return false;
        if (needsFrame)
            code.subRsp(frameSize);
        for (const Instruction& step : program) {
            offsets.push_back(code.position());
            instruction(step);
        }
        offsets.push_back(code.position());
        if (needsFrame)
            code.addRsp(frameSize);
        code.ret();
        for (const PendingJump& jump : jumps)
            code.bind(jump.at, offsets[jump.target]);
        return true;
    }

private:
    struct PendingJump {
        std::size_t at;      // of the displacement
        std::size_t target;  // instruction index
    };

    static constexpr int slotsInRegisters = 14;
    // The stack's slots, plus 8 bytes that realign rsp to 16 for calls.
    static constexpr std::int32_t frameSize = 8 * stackCapacity + 8;

    // A frame holds the slots beyond the registers and those saved around
    // calls; a program that needs neither runs without one.
    bool planFrame()
    {
        int depth = 0;
        for (const Instruction& step : program) {
            if (step.step == Step::CallNode || step.step == Step::Random)
                return false;
            depth += stackEffect(step);
            const bool calls = step.step == Step::Unary || step.step == Step::HostCall ||
                               (step.step == Step::Binary && !isInlineScalar(step.operation));
            needsFrame = needsFrame || depth > slotsInRegisters || calls;
        }
        return true;
    }

    // Instructions leave the stack as deep as it was at the start of either
    // branch of an "if", so one running depth serves the whole program.
    void instruction(const Instruction& step)
    {
        switch (step.step) {
        case Step::Push:
            return pushAccumulator();
        case Step::Jump:
            return jumpTo(code.jump(), step.first.target);
        case Step::JumpIfZero:
            code.xorpd(scratch, scratch);
            code.ucomisd(accumulator, scratch);
            code.skipIfParity(6);  // NaN is not zero: over the 6-byte je
            return jumpTo(code.jumpIfEqual(), step.first.target);
        case Step::Load:
            return load(accumulator, step.form, step.first);
        case Step::Unary:
            if (step.form == Form::Variable)
                load(accumulator, Form::Variable, step.first);
            return call(info(step.operation).unary);
        case Step::Binary:
            return binary(step);
        case Step::HostCall:
            return hostCall(static_cast<const FunctionFloatHostCall&>(*step.first.node));
        default:
            return;  // refused by planFrame
        }
    }

    // The arguments before the last are the top slots of the stack, which
    // the frame holds in order once the registers are saved; the last one
    // (the accumulator) goes into the slot above them.
    void hostCall(const FunctionFloatHostCall& call)
    {
        const int arity = static_cast<int>(call.arity);
        const int held = std::min(depth, slotsInRegisters);
        for (int slot = 0; slot < held; ++slot)
            code.movsd(at(rsp, 8 * slot), slotRegister(slot));
        const int first = arity > 0 ? depth - (arity - 1) : depth;
        if (arity > 0)
            code.movsd(at(rsp, 8 * depth), accumulator);
        code.lea(rdi, at(rsp, 8 * first));
        code.movFromMemory(rsi, inData(code.address(&call)));
        code.callThrough(inData(code.address(reinterpret_cast<const void*>(&callHostFunction))));
        depth = first;
        for (int slot = 0; slot < std::min(depth, slotsInRegisters); ++slot)
            code.movsd(slotRegister(slot), at(rsp, 8 * slot));
    }

    void load(Xmm to, Form form, const Operand& operand) override
    {
        switch (form) {
        case Form::Constant:
            return code.movsd(to, inData(code.constant(operand.constant)));
        case Form::Variable:
            code.movFromMemory(rax, inData(code.address(operand.variable)));
            return code.movsd(to, at(rax));
        case Form::FloatVariable:
            code.movFromMemory(rax, inData(code.address(operand.floatVariable)));
            return code.cvtss2sd(to, at(rax));
        case Form::IntVariable:
            code.movFromMemory(rax, inData(code.address(operand.intVariable)));
            return code.cvtsi2sdInt32(to, at(rax));
        default:  // BoolVariable
            code.movFromMemory(rax, inData(code.address(operand.boolByte)));
            code.boolFromByteAtRax();
            return code.cvtsi2sdEax(to);
        }
    }

    void pushAccumulator() override
    {
        const int slot = depth++;
        if (slot < slotsInRegisters)
            code.movapd(slotRegister(slot), accumulator);
        else
            code.movsd(at(rsp, 8 * slot), accumulator);
    }

    void pop(Xmm to) override
    {
        const int slot = --depth;
        if (slot < slotsInRegisters)
            code.movapd(to, slotRegister(slot));
        else
            code.movsd(to, at(rsp, 8 * slot));
    }

    void binary(const Instruction& step)
    {
        placeOperands(step);
        combine(step.operation);
    }

    void combine(Operation operation)
    {
        switch (operation) {
        case Operation::Add:
            return code.addsd(accumulator, scratch);
        case Operation::Sub:
            return code.subsd(accumulator, scratch);
        case Operation::Mul:
            return code.mulsd(accumulator, scratch);
        case Operation::Div:
            return code.divsd(accumulator, scratch);
        case Operation::Max:
            return code.maxsd(accumulator, scratch);
        case Operation::Min:
            return code.minsd(accumulator, scratch);
        case Operation::Grt:
            code.ucomisd(accumulator, scratch);
            code.eaxFromAbove();
            return code.cvtsi2sdEax(accumulator);
        case Operation::Lss:
            code.ucomisd(scratch, accumulator);
            code.eaxFromAbove();
            return code.cvtsi2sdEax(accumulator);
        default:
            return call(info(operation).binary);
        }
    }

    // Calls a function with its operands in xmm0 and xmm1, keeping the stack.
    template <typename Function>
    void call(Function function)
    {
        const int held = std::min(depth, slotsInRegisters);
        for (int slot = 0; slot < held; ++slot)
            code.movsd(at(rsp, 8 * slot), slotRegister(slot));
        code.callThrough(inData(code.address(reinterpret_cast<const void*>(function))));
        for (int slot = 0; slot < held; ++slot)
            code.movsd(slotRegister(slot), at(rsp, 8 * slot));
    }

    void jumpTo(std::size_t at, std::size_t target) { jumps.push_back({at, target}); }

    static Xmm slotRegister(int slot) { return Xmm{2 + slot}; }

    const Program& program;
    std::vector<std::size_t> offsets;  // of every instruction, then of the end
    std::vector<PendingJump> jumps;
    int depth = 0;
    bool needsFrame = false;
};

// ---------------------------------------------------------------- batch

// Registers of the batch kernel: rbx the row, r12 the input table, r13 the
// results, r14 the row count; all four are kept across calls. The frame
// holds the stack slots beyond the registers and three lane buffers for
// calls, each as wide as a register.
class BatchGenerator : public Generator {
public:
    BatchGenerator(const Program& program, const std::vector<Input>& inputs, bool wide)
        : program(program), inputs(inputs)
    {
        code.wide = wide;
        laneBytes = static_cast<std::int32_t>(8 * code.lanes());
        laneArea = laneBytes * slotCapacity;
        // After four pushes rsp is 8 below a multiple of 16; the frame realigns it.
        frameSize = laneArea + 3 * laneBytes + 8;
    }

    bool generate()
    {
        if (!planStack())
            return false;
        for (const Gpr saved : {rbx, r12, r13, r14})
            code.push(saved);
        code.subRsp(frameSize);
        code.mov(r12, rdi);
        code.mov(r14, rsi);
        code.mov(r13, rdx);
        code.xor32(rbx, rbx);
        const std::size_t loop = code.position();
        code.cmp(rbx, r14);
        const std::size_t exit = code.jumpIfAboveOrEqual();
        for (std::size_t index = 0; index < program.size(); ++index) {
            selectEndedIfs(index);
            instruction(index);
        }
        selectEndedIfs(program.size());
        code.movupd(atIndexed(r13, rbx), accumulator);
        code.addImmediate8(rbx, static_cast<std::int8_t>(code.lanes()));
        code.bind(code.jump(), loop);
        code.bind(exit, code.position());
        if (code.wide)
            code.vzeroupper();  // the caller may run SSE code
        code.addRsp(frameSize);
        for (const Gpr saved : {r14, r13, r12, rbx})
            code.pop(saved);
        code.ret();
        return true;
    }


private:
    static constexpr int slotsInRegisters = 12;  // xmm2..xmm13; xmm14, xmm15 are scratch
    static constexpr int slotCapacity = stackCapacity;
    static constexpr Xmm mask{14};
    static constexpr Xmm spare{15};

    // Refuses programs that call out of the library or use the random node,
    // and "if"s that are not laid out as the compiler lays them out; checks
    // that the stack of the batch form (two more values per open "if") fits.
    bool planStack()
    {
        int depth = 0, deepest = 0;
        std::vector<std::size_t> ends;
        for (std::size_t index = 0; index <= program.size(); ++index) {
            while (!ends.empty() && ends.back() == index) {
                ends.pop_back();
                depth -= 2;
            }
            if (index == program.size())
                break;
            const Instruction& step = program[index];
            if (step.step == Step::CallNode || step.step == Step::Random || step.step == Step::HostCall)
                return false;
            if (step.step == Step::JumpIfZero) {
                const std::size_t elseStart = step.first.target;
                if (elseStart <= index + 1 || elseStart > program.size() || program[elseStart - 1].step != Step::Jump)
                    return false;
                ends.push_back(program[elseStart - 1].first.target);
                depth += 2;
            }
            depth += stackEffect(step);
            deepest = std::max(deepest, depth);
        }
        return deepest <= slotCapacity && ends.empty();
    }

    void instruction(std::size_t index)
    {
        const Instruction& step = program[index];
        switch (step.step) {
        case Step::Push:
            return pushAccumulator();
        case Step::JumpIfZero:
            // The condition becomes the mask of the rows that take the
            // first branch: not equal to zero, NaN included.
            code.xorpd(scratch, scratch);
            code.cmppd(accumulator, scratch, Compare::NotEqual);
            pushAccumulator();
            openIfs.push_back(program[step.first.target - 1].first.target);
            return;
        case Step::Jump:
            return pushAccumulator();  // the first branch's value
        case Step::Load:
            return load(accumulator, step.form, step.first);
        case Step::Unary:
            if (step.form == Form::Variable)
                load(accumulator, Form::Variable, step.first);
            return unary(step.operation);
        case Step::Binary:
            return binary(step);
        default:
            return;  // refused by planStack
        }
    }

    // Ends every "if" whose second branch ends before instruction `index`:
    // its value is in the accumulator, the first branch's and the mask are
    // on the stack.
    void selectEndedIfs(std::size_t index)
    {
        while (!openIfs.empty() && openIfs.back() == index) {
            openIfs.pop_back();
            pop(scratch);
            pop(mask);
            code.andpd(scratch, mask);
            code.andnpd(mask, accumulator);
            code.orpd(scratch, mask);
            code.movapd(accumulator, scratch);
        }
    }

    std::size_t inputIndex(const void* address, Form kind) const
    {
        for (std::size_t index = 0; index < inputs.size(); ++index) {
            if (inputs[index].address == address && inputs[index].kind == kind)
                return index;
        }
        return 0;  // not reached: inputs come from the same program
    }

    void load(Xmm to, Form form, const Operand& operand) override
    {
        if (form == Form::Constant)
            return code.movupd(to, inData(code.constantLanes(operand.constant)));
        Input input{};
        Instruction reading{Step::Load, {}, form, false, 0, operand, {}};
        readsInput(reading, false, &input);
        const std::size_t index = inputIndex(input.address, input.kind);
        code.movFromMemory(rax, at(r12, static_cast<std::int32_t>(8 * index)));
        code.movupd(to, atIndexed(rax, rbx));
    }

    void pushAccumulator() override
    {
        const int slot = depth++;
        if (slot < slotsInRegisters)
            code.movapd(slotRegister(slot), accumulator);
        else
            code.movupd(at(rsp, laneBytes * slot), accumulator);
    }

    void pop(Xmm to) override
    {
        const int slot = --depth;
        if (slot < slotsInRegisters)
            code.movapd(to, slotRegister(slot));
        else
            code.movupd(to, at(rsp, laneBytes * slot));
    }

    void binary(const Instruction& step)
    {
        placeOperands(step);
        combine(step.operation);
    }

    Memory constant(double value) { return inData(code.constantLanes(value)); }
    Memory magnitudeMask() { return inData(code.constantBitsLanes(0x7FFFFFFFFFFFFFFFull)); }

    // accumulator = 1.0 where the mask in `from` is set, else 0.0
    void truthFromMask(Xmm from)
    {
        code.andpd(from, constant(1.0));
        if (from.number != accumulator.number)
            code.movapd(accumulator, from);
    }

    // accumulator = (|accumulator| > tolerance), per lane
    void magnitudeAboveTolerance()
    {
        code.andpd(accumulator, magnitudeMask());
        code.movupd(spare, constant(operations::truthTolerance));
        code.cmppd(spare, accumulator, Compare::Less);
        truthFromMask(spare);
    }

    void combine(Operation operation)
    {
        switch (operation) {
        case Operation::Add:
            return code.addpd(accumulator, scratch);
        case Operation::Sub:
            return code.subpd(accumulator, scratch);
        case Operation::Mul:
            return code.mulpd(accumulator, scratch);
        case Operation::Div:
            return code.divpd(accumulator, scratch);
        case Operation::Max:
            return code.maxpd(accumulator, scratch);
        case Operation::Min:
            return code.minpd(accumulator, scratch);
        case Operation::Grt:  // a > b is b < a: false when unordered
            code.cmppd(scratch, accumulator, Compare::Less);
            return truthFromMask(scratch);
        case Operation::Lss:
            code.cmppd(accumulator, scratch, Compare::Less);
            return truthFromMask(accumulator);
        case Operation::And:  // |a * b| > tolerance
            code.mulpd(accumulator, scratch);
            return magnitudeAboveTolerance();
        case Operation::Or:  // |a + b| > tolerance
            code.addpd(accumulator, scratch);
            return magnitudeAboveTolerance();
        case Operation::Eql:  // |a - b| < tolerance
            code.subpd(accumulator, scratch);
            code.andpd(accumulator, magnitudeMask());
            code.cmppd(accumulator, constant(operations::truthTolerance), Compare::Less);
            return truthFromMask(accumulator);
        default:
            return callPerLane(reinterpret_cast<const void*>(info(operation).binary), true);
        }
    }

    void unary(Operation operation)
    {
        switch (operation) {
        case Operation::Not:  // |x| < tolerance, false for NaN
            code.andpd(accumulator, magnitudeMask());
            code.cmppd(accumulator, constant(operations::truthTolerance), Compare::Less);
            return truthFromMask(accumulator);
        case Operation::Abs:  // x > 0 ? x : -x, the sign flipped for 0, -0 and NaN
            code.movapd(scratch, accumulator);
            code.xorpd(scratch, inData(code.constantBitsLanes(0x8000000000000000ull)));
            code.xorpd(mask, mask);
            code.cmppd(mask, accumulator, Compare::Less);
            code.andpd(accumulator, mask);
            code.andnpd(mask, scratch);
            return code.orpd(accumulator, mask);
        default:
            return callPerLane(reinterpret_cast<const void*>(info(operation).unary), false);
        }
    }

    // Calls a scalar function once per lane with the lanes' operands.
    void callPerLane(const void* function, bool binary)
    {
        const int held = std::min(depth, slotsInRegisters);
        for (int slot = 0; slot < held; ++slot)
            code.movupd(at(rsp, laneBytes * slot), slotRegister(slot));
        const std::int32_t left = laneArea, right = laneArea + laneBytes, results = laneArea + 2 * laneBytes;
        code.movupd(at(rsp, left), accumulator);
        if (binary)
            code.movupd(at(rsp, right), scratch);
        if (code.wide)
            code.vzeroupper();  // the functions are SSE code
        const Memory target = inData(code.address(function));
        for (std::int32_t lane = 0; lane < static_cast<std::int32_t>(code.lanes()); ++lane) {
            code.movsd(accumulator, at(rsp, left + 8 * lane));
            if (binary)
                code.movsd(scratch, at(rsp, right + 8 * lane));
            code.callThrough(target);
            code.movsd(at(rsp, results + 8 * lane), accumulator);
        }
        code.movupd(accumulator, at(rsp, results));
        for (int slot = 0; slot < held; ++slot)
            code.movupd(slotRegister(slot), at(rsp, laneBytes * slot));
    }

    static Xmm slotRegister(int slot) { return Xmm{2 + slot}; }

    const Program& program;
    const std::vector<Input>& inputs;
    std::vector<std::size_t> openIfs;  // where each open "if" ends
    int depth = 0;
    std::int32_t laneBytes = 16;
    std::int32_t laneArea = 0;
    std::int32_t frameSize = 0;
};

}  // namespace

ExecutableBlock generateScalarCode(const Program& program)
{
    ScalarGenerator generator(program);
    if (!generator.generate())
        return ExecutableBlock();
    return placeCode(generator.code.image);
}

BatchCode generateBatchCode(const Program& program, const std::vector<Input>& inputs)
{
    const bool wide = wideBatchesAllowed.load() && __builtin_cpu_supports("avx");
    BatchGenerator generator(program, inputs, wide);
    if (!generator.generate())
        return BatchCode{};
    return BatchCode{placeCode(generator.code.image), generator.code.lanes()};
}

void allowWideBatches(bool allowed) { wideBatchesAllowed.store(allowed); }

}  // namespace compiled
}  // namespace exprcurve
