// Machine code for compiled programs on x86-64 (System V calling convention).
//
// The code keeps the interpreter's machine: the accumulator lives in xmm0,
// xmm1 is scratch, and the first 14 stack slots live in xmm2..xmm15 (deeper
// ones in the frame). Every instruction becomes the same IEEE operation on
// the same operands in the same order: addsd, subsd, mulsd and divsd for the
// four arithmetic operators; maxsd and minsd, which return their second
// operand unless the first is strictly greater (smaller), exactly as
// `a > b ? a : b` does; ucomisd with "above" for ">" and "<", which is false
// for unordered operands as the C++ comparison is. Everything else (math
// functions, pow, the truth-value rules) calls a C++ wrapper around the very
// expression the interpreter evaluates, so the bits cannot differ. A call
// clobbers every xmm register, so the stack slots held in registers are
// saved to the frame around it.
#include "native_code.h"

#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

#if defined(__x86_64__) && defined(__linux__)
#define EXPRCURVE_NATIVE_X86_64 1
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace exprcurve {

#if EXPRCURVE_NATIVE_X86_64

CompiledExpression::NativeCode::~NativeCode()
{
    if (memory)
        munmap(memory, size);
}

namespace compiled {
namespace {

// ---------------------------------------------------------------- wrappers

#define EXPRCURVE_UNARY_WRAPPER(NAME, OPERATION) \
    double call##NAME(double x) { return OPERATION(x); }
#define EXPRCURVE_BINARY_WRAPPER(NAME, OPERATION) \
    double call##NAME(double a, double b) { return OPERATION(a, b); }

EXPRCURVE_UNARY_OPERATIONS(EXPRCURVE_UNARY_WRAPPER)
EXPRCURVE_BINARY_OPERATIONS(EXPRCURVE_BINARY_WRAPPER)

// ---------------------------------------------------------------- decoding

enum class BinaryOperation {
#define EXPRCURVE_BINARY_NAME(NAME, OPERATION) NAME,
    EXPRCURVE_BINARY_OPERATIONS(EXPRCURVE_BINARY_NAME)
};

// What one opcode does, in the terms the code generator needs.
struct Decoded {
    enum Class { Other, Unary, UnaryOfVariable, Binary } kind = Other;
    double (*unary)(double) = nullptr;
    double (*binary)(double, double) = nullptr;
    BinaryOperation operation{};
    Form form{};
};

Decoded decode(Opcode opcode)
{
    Decoded decoded;
    switch (opcode) {
#define EXPRCURVE_UNARY_DECODE(NAME, OPERATION) \
    case Opcode::NAME:                          \
        decoded.kind = Decoded::Unary;          \
        decoded.unary = &call##NAME;            \
        break;                                  \
    case Opcode::NAME##OfVariable:              \
        decoded.kind = Decoded::UnaryOfVariable; \
        decoded.unary = &call##NAME;            \
        break;
#define EXPRCURVE_FORM_DECODE(NAME, FORM)              \
    case Opcode::NAME##FORM:                           \
        decoded.kind = Decoded::Binary;                \
        decoded.binary = &call##NAME;                  \
        decoded.operation = BinaryOperation::NAME;     \
        decoded.form = Form::FORM;                     \
        break;
#define EXPRCURVE_BINARY_DECODE(NAME, OPERATION) EXPRCURVE_BINARY_FORMS(EXPRCURVE_FORM_DECODE, NAME)
        EXPRCURVE_UNARY_OPERATIONS(EXPRCURVE_UNARY_DECODE)
        EXPRCURVE_BINARY_OPERATIONS(EXPRCURVE_BINARY_DECODE)
    default:
        break;
    }
    return decoded;
}

// ---------------------------------------------------------------- encoding

// The few x86-64 instructions the generator needs. Registers are xmm
// numbers; rax carries addresses and constants.
class Assembler {
public:
    std::vector<std::uint8_t> bytes;

    std::size_t position() const { return bytes.size(); }

    // prefix [REX] 0F opcode, register to register.
    void sse(std::uint8_t prefix, std::uint8_t opcode, int reg, int rm)
    {
        byte(prefix);
        rex(false, reg, rm);
        byte(0x0F);
        byte(opcode);
        byte(static_cast<std::uint8_t>(0xC0 | (reg & 7) << 3 | (rm & 7)));
    }

    // prefix [REX] 0F opcode with the memory operand [rax].
    void sseAtRax(std::uint8_t prefix, std::uint8_t opcode, int reg)
    {
        byte(prefix);
        rex(false, reg, 0);
        byte(0x0F);
        byte(opcode);
        byte(static_cast<std::uint8_t>((reg & 7) << 3));
    }

    // prefix [REX] 0F opcode with the memory operand [rsp + displacement].
    void sseAtFrame(std::uint8_t prefix, std::uint8_t opcode, int reg, std::int32_t displacement)
    {
        byte(prefix);
        rex(false, reg, 0);
        byte(0x0F);
        byte(opcode);
        byte(static_cast<std::uint8_t>(0x84 | (reg & 7) << 3));
        byte(0x24);
        word32(static_cast<std::uint32_t>(displacement));
    }

    void movRax(std::uint64_t value)
    {
        byte(0x48);
        byte(0xB8);
        word64(value);
    }

    // movq xmm, rax
    void movXmmFromRax(int reg)
    {
        byte(0x66);
        rex(true, reg, 0);
        byte(0x0F);
        byte(0x6E);
        byte(static_cast<std::uint8_t>(0xC0 | (reg & 7) << 3));
    }

    void raw(std::initializer_list<std::uint8_t> sequence) { bytes.insert(bytes.end(), sequence); }

    void word32(std::uint32_t value)
    {
        for (int shift = 0; shift < 32; shift += 8)
            byte(static_cast<std::uint8_t>(value >> shift));
    }

    void patch32(std::size_t at, std::uint32_t value)
    {
        for (int index = 0; index < 4; ++index)
            bytes[at + index] = static_cast<std::uint8_t>(value >> (8 * index));
    }

private:
    void byte(std::uint8_t value) { bytes.push_back(value); }

    void word64(std::uint64_t value)
    {
        for (int shift = 0; shift < 64; shift += 8)
            byte(static_cast<std::uint8_t>(value >> shift));
    }

    void rex(bool wide, int reg, int rm)
    {
        const int bits = (wide ? 8 : 0) | (reg >= 8 ? 4 : 0) | (rm >= 8 ? 1 : 0);
        if (bits != 0)
            byte(static_cast<std::uint8_t>(0x40 | bits));
    }
};

// SSE2 opcodes after the 0F escape.
constexpr std::uint8_t movsdLoad = 0x10, movsdStore = 0x11, movapd = 0x28, cvtsi2sd = 0x2A,
                       ucomisd = 0x2E, xorpd = 0x57, cvtss2sd = 0x5A;
constexpr std::uint8_t scalarDouble = 0xF2, packedDouble = 0x66, scalarSingle = 0xF3;

constexpr int accumulator = 0;
constexpr int scratch = 1;
constexpr int slotsInRegisters = 14;
// The stack's slots, plus 8 bytes that realign rsp to 16 for calls.
constexpr std::int32_t frameSize = 8 * stackCapacity + 8;

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

template <typename Pointer>
std::uint64_t addressOf(Pointer pointer)
{
    return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(pointer));
}

// ---------------------------------------------------------------- generation

class Generator {
public:
    explicit Generator(const Program& program) : program(program) {}

    // False when the program holds an instruction that stays interpreted.
    bool generate()
    {
        if (!planFrame())
            return false;
        if (needsFrame) {
            code.raw({0x48, 0x81, 0xEC});  // sub rsp, frameSize
            code.word32(frameSize);
        }
        for (const Instruction& step : program) {
            offsets.push_back(code.position());
            instruction(step);
        }
        offsets.push_back(code.position());
        if (needsFrame) {
            code.raw({0x48, 0x81, 0xC4});  // add rsp, frameSize
            code.word32(frameSize);
        }
        code.raw({0xC3});  // ret
        for (const Jump& jump : jumps)
            code.patch32(jump.at, static_cast<std::uint32_t>(offsets[jump.target] - (jump.at + 4)));
        return true;
    }

    Assembler code;

private:
    struct Jump {
        std::size_t at;      // of the 32-bit displacement
        std::size_t target;  // instruction index
    };

    // A frame holds the stack slots beyond the registers and the slots
    // saved around calls; a program that needs neither runs without one.
    // False when the program calls back into the tree.
    bool planFrame()
    {
        for (const Instruction& step : program) {
            if (step.opcode == Opcode::CallNode)
                return false;
            const Decoded decoded = decode(step.opcode);
            depth += stackEffect(step.opcode, decoded);
            needsFrame = needsFrame || depth > slotsInRegisters || decoded.kind == Decoded::Unary ||
                         decoded.kind == Decoded::UnaryOfVariable ||
                         (decoded.kind == Decoded::Binary && !isInline(decoded.operation));
        }
        depth = 0;
        return true;
    }

    static int stackEffect(Opcode opcode, const Decoded& decoded)
    {
        if (opcode == Opcode::Push)
            return 1;
        if (decoded.kind != Decoded::Binary)
            return 0;
        if (decoded.form == Form::StackAcc)
            return -1;
        return afterPush(decoded.form) ? 1 : 0;
    }

    // The SSE2 instruction (after 0F, with prefix F2) that is the operation
    // itself, or 0.
    static std::uint8_t scalarInstruction(BinaryOperation operation)
    {
        switch (operation) {
        case BinaryOperation::Add:
            return 0x58;
        case BinaryOperation::Sub:
            return 0x5C;
        case BinaryOperation::Mul:
            return 0x59;
        case BinaryOperation::Div:
            return 0x5E;
        case BinaryOperation::Max:
            return 0x5F;
        case BinaryOperation::Min:
            return 0x5D;
        default:
            return 0;
        }
    }

    static bool isInline(BinaryOperation operation)
    {
        return scalarInstruction(operation) != 0 || operation == BinaryOperation::Grt ||
               operation == BinaryOperation::Lss;
    }

    // Instructions leave the stack as deep as it was at the start of either
    // branch of an "if", so one running depth serves the whole program.
    void instruction(const Instruction& step)
    {
        switch (step.opcode) {
        case Opcode::Push:
            return push();
        case Opcode::Jump:
            code.raw({0xE9});
            return jumpTo(step.first.target);
        case Opcode::JumpIfZero:
            code.sse(packedDouble, xorpd, scratch, scratch);
            code.sse(packedDouble, ucomisd, accumulator, scratch);
            code.raw({0x7A, 0x06, 0x0F, 0x84});  // jp over the je: NaN is not zero
            return jumpTo(step.first.target);
        case Opcode::Constant:
            return loadConstant(accumulator, step.first.constant);
        case Opcode::VariableDouble:
            return loadVariable(accumulator, step.first.variable);
        case Opcode::VariableFloat:
            code.movRax(addressOf(step.first.floatVariable));
            return code.sseAtRax(scalarSingle, cvtss2sd, accumulator);
        case Opcode::VariableInt:
            code.movRax(addressOf(step.first.intVariable));
            return code.sseAtRax(scalarDouble, cvtsi2sd, accumulator);
        case Opcode::VariableBool:
            code.movRax(addressOf(step.first.boolByte));
            // movzx eax, byte [rax]; test eax, eax; setne al; movzx eax, al
            code.raw({0x0F, 0xB6, 0x00, 0x85, 0xC0, 0x0F, 0x95, 0xC0, 0x0F, 0xB6, 0xC0});
            return code.sse(scalarDouble, cvtsi2sd, accumulator, 0);  // from eax
        default:
            break;
        }
        const Decoded decoded = decode(step.opcode);
        if (decoded.kind == Decoded::UnaryOfVariable)
            loadVariable(accumulator, step.first.variable);
        if (decoded.kind == Decoded::Binary)
            return binary(decoded, step);
        call(addressOf(decoded.unary));
    }

    void push()
    {
        const int slot = depth++;
        if (slot < slotsInRegisters)
            code.sse(packedDouble, movapd, slotRegister(slot), accumulator);
        else
            code.sseAtFrame(scalarDouble, movsdStore, accumulator, 8 * slot);
    }

    // Puts the left operand in the accumulator and the right one in scratch,
    // then combines them into the accumulator.
    void binary(const Decoded& decoded, const Instruction& step)
    {
        Form form = decoded.form;
        if (const std::optional<Form> leaves = afterPush(form)) {
            push();
            form = *leaves;
        }
        switch (form) {
        case Form::StackAcc: {
            const int slot = --depth;
            code.sse(packedDouble, movapd, scratch, accumulator);
            if (slot < slotsInRegisters)
                code.sse(packedDouble, movapd, accumulator, slotRegister(slot));
            else
                code.sseAtFrame(scalarDouble, movsdLoad, accumulator, 8 * slot);
            break;
        }
        case Form::AccConstant:
            loadConstant(scratch, step.second.constant);
            break;
        case Form::AccVariable:
            loadVariable(scratch, step.second.variable);
            break;
        case Form::ConstantAcc:
            code.sse(packedDouble, movapd, scratch, accumulator);
            loadConstant(accumulator, step.first.constant);
            break;
        case Form::VariableAcc:
            code.sse(packedDouble, movapd, scratch, accumulator);
            loadVariable(accumulator, step.first.variable);
            break;
        case Form::VariableVariable:
            loadVariable(accumulator, step.first.variable);
            loadVariable(scratch, step.second.variable);
            break;
        case Form::VariableConstant:
            loadVariable(accumulator, step.first.variable);
            loadConstant(scratch, step.second.constant);
            break;
        default:  // ConstantVariable
            loadConstant(accumulator, step.first.constant);
            loadVariable(scratch, step.second.variable);
            break;
        }
        combine(decoded);
    }

    void combine(const Decoded& decoded)
    {
        if (const std::uint8_t instruction = scalarInstruction(decoded.operation))
            return code.sse(scalarDouble, instruction, accumulator, scratch);
        switch (decoded.operation) {
        case BinaryOperation::Grt:
            code.sse(packedDouble, ucomisd, accumulator, scratch);
            return truthFromAbove();
        case BinaryOperation::Lss:
            code.sse(packedDouble, ucomisd, scratch, accumulator);
            return truthFromAbove();
        default:
            return call(addressOf(decoded.binary));
        }
    }

    // 1.0 when the last comparison found its first operand above the second
    // (never when unordered), else 0.0.
    void truthFromAbove()
    {
        code.raw({0x0F, 0x97, 0xC0, 0x0F, 0xB6, 0xC0});            // seta al; movzx eax, al
        code.sse(scalarDouble, cvtsi2sd, accumulator, 0);           // from eax
    }

    // Calls a wrapper with its operands in xmm0 and xmm1, keeping the stack.
    void call(std::uint64_t function)
    {
        const int held = depth < slotsInRegisters ? depth : slotsInRegisters;
        for (int slot = 0; slot < held; ++slot)
            code.sseAtFrame(scalarDouble, movsdStore, slotRegister(slot), 8 * slot);
        code.movRax(function);
        code.raw({0xFF, 0xD0});  // call rax
        for (int slot = 0; slot < held; ++slot)
            code.sseAtFrame(scalarDouble, movsdLoad, slotRegister(slot), 8 * slot);
    }

    void loadConstant(int reg, double value)
    {
        code.movRax(bitsOf(value));
        code.movXmmFromRax(reg);
    }

    void loadVariable(int reg, const double* variable)
    {
        code.movRax(addressOf(variable));
        code.sseAtRax(scalarDouble, movsdLoad, reg);
    }

    void jumpTo(std::size_t target)
    {
        jumps.push_back({code.position(), target});
        code.word32(0);
    }

    static int slotRegister(int slot) { return 2 + slot; }

    const Program& program;
    std::vector<std::size_t> offsets;  // of every instruction, then of the end
    std::vector<Jump> jumps;
    int depth = 0;
    bool needsFrame = false;
};

// Copies the code into pages of its own and makes them executable (and no
// longer writable).
std::shared_ptr<const CompiledExpression::NativeCode> makeExecutable(const std::vector<std::uint8_t>& bytes)
{
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pageSize <= 0)
        return nullptr;
    const std::size_t page = static_cast<std::size_t>(pageSize);
    const std::size_t size = (bytes.size() + page - 1) / page * page;
    // Owned before it is mapped, so that the pages are released on every path.
    auto native = std::make_shared<CompiledExpression::NativeCode>(
        CompiledExpression::NativeCode{nullptr, nullptr, 0});
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return nullptr;
    native->memory = memory;
    native->size = size;
    std::memcpy(memory, bytes.data(), bytes.size());
    if (mprotect(memory, size, PROT_READ | PROT_EXEC) != 0)
        return nullptr;
    // The one conversion from data to code: the pages hold a function of
    // this type.
    native->entry = reinterpret_cast<double (*)()>(memory);
    return native;
}

}  // namespace

std::shared_ptr<const CompiledExpression::NativeCode> generateNativeCode(const Program& program)
{
    Generator generator(program);
    if (!generator.generate())
        return nullptr;
    return makeExecutable(generator.code.bytes);
}

}  // namespace compiled

#else  // no code generator for this platform

CompiledExpression::NativeCode::~NativeCode() = default;

namespace compiled {

std::shared_ptr<const CompiledExpression::NativeCode> generateNativeCode(const Program&)
{
    return nullptr;
}

}  // namespace compiled

#endif

}  // namespace exprcurve
