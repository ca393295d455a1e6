// The x86-64 instructions the code generator uses, one named emitter each,
// writing into a CodeImage (internal, used by native_code_x86_64.cpp only).
//
// Values of the program (constants, variable and function addresses) are
// never written into the code: they go into the image's data and the code
// reaches them through displacements relative to the instruction pointer.
#ifndef EXPRCURVE_EXPRESSION_X86_64_ASSEMBLER_H
#define EXPRCURVE_EXPRESSION_X86_64_ASSEMBLER_H

#include <cstdint>
#include <cstring>

#include "executable_memory.h"

namespace exprcurve {
namespace compiled {
namespace x86_64 {

enum Gpr { rax = 0, rcx, rdx, rbx, rsp, rbp, rsi, rdi, r8, r9, r10, r11, r12, r13, r14, r15 };

// An xmm register by number.
struct Xmm {
    int number;
};

// A memory operand: [base + index*8 + displacement], or an entry of the
// image's data (`dataOffset` >= 0).
struct Memory {
    int base = -1;
    int index = -1;
    std::int32_t displacement = 0;
    long dataOffset = -1;
};

inline Memory at(Gpr base, std::int32_t displacement = 0) { return Memory{base, -1, displacement, -1}; }
inline Memory atIndexed(Gpr base, Gpr index) { return Memory{base, index, 0, -1}; }
inline Memory inData(std::size_t offset) { return Memory{-1, -1, 0, static_cast<long>(offset)}; }

// cmppd predicates.
enum class Compare : std::uint8_t { Less = 1, NotEqual = 4 };

class Assembler {
public:
    CodeImage image;

    std::size_t position() const { return image.code.size(); }

    // -------------------------------------------------------- data

    std::size_t constant(double value)
    {
        std::uint8_t bytes[8];
        std::memcpy(bytes, &value, 8);
        return dataEntry(bytes, 8);
    }

    std::size_t address(const void* pointer)
    {
        const std::uint64_t value = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(pointer));
        std::uint8_t bytes[8];
        std::memcpy(bytes, &value, 8);
        return dataEntry(bytes, 8);
    }

    // -------------------------------------------------------- scalar double

    void movsd(Xmm to, Memory from) { sse(0xF2, 0x10, to.number, from); }
    void movsd(Memory to, Xmm from) { sse(0xF2, 0x11, from.number, to); }
    void addsd(Xmm to, Xmm from) { sse(0xF2, 0x58, to.number, from.number); }
    void mulsd(Xmm to, Xmm from) { sse(0xF2, 0x59, to.number, from.number); }
    void subsd(Xmm to, Xmm from) { sse(0xF2, 0x5C, to.number, from.number); }
    void minsd(Xmm to, Xmm from) { sse(0xF2, 0x5D, to.number, from.number); }
    void divsd(Xmm to, Xmm from) { sse(0xF2, 0x5E, to.number, from.number); }
    void maxsd(Xmm to, Xmm from) { sse(0xF2, 0x5F, to.number, from.number); }
    void ucomisd(Xmm first, Xmm second) { sse(0x66, 0x2E, first.number, second.number); }
    void cvtss2sd(Xmm to, Memory from) { sse(0xF3, 0x5A, to.number, from); }
    void cvtsi2sdInt32(Xmm to, Memory from) { sse(0xF2, 0x2A, to.number, from); }
    void cvtsi2sdEax(Xmm to) { sse(0xF2, 0x2A, to.number, rax); }

    // -------------------------------------------------------- packed double

    // Packed instructions work on the 128-bit xmm registers (SSE2, two
    // lanes) or, when `wide`, on the 256-bit ymm registers (AVX, four lanes,
    // VEX-encoded with the destination as first source, so each computes
    // what its SSE2 form computes, per lane).
    bool wide = false;

    std::size_t lanes() const { return wide ? 4 : 2; }

    void movapd(Xmm to, Xmm from) { packed(0x28, to.number, from.number, false); }
    void movupd(Xmm to, Memory from) { packed(0x10, to.number, from, false); }
    void movupd(Memory to, Xmm from) { packed(0x11, from.number, to, false); }
    void addpd(Xmm to, Xmm from) { packed(0x58, to.number, from.number); }
    void mulpd(Xmm to, Xmm from) { packed(0x59, to.number, from.number); }
    void subpd(Xmm to, Xmm from) { packed(0x5C, to.number, from.number); }
    void minpd(Xmm to, Xmm from) { packed(0x5D, to.number, from.number); }
    void divpd(Xmm to, Xmm from) { packed(0x5E, to.number, from.number); }
    void maxpd(Xmm to, Xmm from) { packed(0x5F, to.number, from.number); }
    void andpd(Xmm to, Xmm from) { packed(0x54, to.number, from.number); }
    void andpd(Xmm to, Memory from) { packed(0x54, to.number, from); }
    void andnpd(Xmm to, Xmm from) { packed(0x55, to.number, from.number); }
    void orpd(Xmm to, Xmm from) { packed(0x56, to.number, from.number); }
    void xorpd(Xmm to, Xmm from) { packed(0x57, to.number, from.number); }
    void xorpd(Xmm to, Memory from) { packed(0x57, to.number, from); }
    void cmppd(Xmm to, Xmm from, Compare predicate)
    {
        packed(0xC2, to.number, from.number);
        byte(static_cast<std::uint8_t>(predicate));
    }
    void cmppd(Xmm to, Memory from, Compare predicate)
    {
        packed(0xC2, to.number, from, true, 1);
        byte(static_cast<std::uint8_t>(predicate));
    }
    // Clears the upper halves of the ymm registers, before calling code
    // that uses SSE and before returning.
    void vzeroupper() { bytes({0xC5, 0xF8, 0x77}); }

    // A 16-byte entry (32 when wide) holding `value` in every lane.
    std::size_t constantLanes(double value)
    {
        std::uint8_t entry[32];
        for (int lane = 0; lane < 4; ++lane)
            std::memcpy(entry + 8 * lane, &value, 8);
        return dataEntry(entry, wide ? 32 : 16);
    }

    std::size_t constantBitsLanes(std::uint64_t bits)
    {
        double value;
        std::memcpy(&value, &bits, sizeof value);
        return constantLanes(value);
    }

    // -------------------------------------------------------- general registers

    void movFromMemory(Gpr to, Memory from) { instruction(true, {0x8B}, to, from); }
    void mov(Gpr to, Gpr from) { registerInstruction(true, 0x89, from, to); }
    void lea(Gpr to, Memory from) { instruction(true, {0x8D}, to, from); }
    void xor32(Gpr to, Gpr from) { registerInstruction(false, 0x31, from, to); }
    void cmp(Gpr first, Gpr second) { registerInstruction(true, 0x39, second, first); }
    void addImmediate8(Gpr to, std::int8_t value)
    {
        registerInstruction(true, 0x83, 0, to);
        byte(static_cast<std::uint8_t>(value));
    }
    void subRsp(std::int32_t bytes) { rspImmediate(0xEC, bytes); }
    void addRsp(std::int32_t bytes) { rspImmediate(0xC4, bytes); }
    void push(Gpr reg)
    {
        if (reg >= r8)
            byte(0x41);
        byte(static_cast<std::uint8_t>(0x50 + (reg & 7)));
    }
    void pop(Gpr reg)
    {
        if (reg >= r8)
            byte(0x41);
        byte(static_cast<std::uint8_t>(0x58 + (reg & 7)));
    }
    // eax = (byte at [rax] != 0)
    void boolFromByteAtRax()
    {
        bytes({0x0F, 0xB6, 0x00});  // movzx eax, byte [rax]
        bytes({0x85, 0xC0});        // test eax, eax
        bytes({0x0F, 0x95, 0xC0});  // setne al
        bytes({0x0F, 0xB6, 0xC0});  // movzx eax, al
    }
    // eax = 1 when the last comparison found "above", else 0
    void eaxFromAbove()
    {
        bytes({0x0F, 0x97, 0xC0});  // seta al
        bytes({0x0F, 0xB6, 0xC0});  // movzx eax, al
    }
    void callThrough(Memory function) { instruction(false, {0xFF}, 2, function); }
    void ret() { byte(0xC3); }

    // -------------------------------------------------------- jumps

    // Each returns the position of its 32-bit displacement, for bind().
    std::size_t jump() { return jumpWith({0xE9}); }
    std::size_t jumpIfEqual() { return jumpWith({0x0F, 0x84}); }
    std::size_t jumpIfAboveOrEqual() { return jumpWith({0x0F, 0x83}); }
    // Skips the next `length` bytes when the last comparison was unordered.
    void skipIfParity(std::uint8_t length) { bytes({0x7A, length}); }

    // Makes the jump whose displacement is at `at` land on `target`.
    void bind(std::size_t at, std::size_t target)
    {
        const std::int32_t displacement = static_cast<std::int32_t>(static_cast<std::int64_t>(target) -
                                                                    static_cast<std::int64_t>(at + 4));
        std::memcpy(&image.code[at], &displacement, 4);
    }

private:
    void byte(std::uint8_t value) { image.code.push_back(value); }
    void bytes(std::initializer_list<std::uint8_t> values) { image.code.insert(image.code.end(), values); }

    void word32(std::uint32_t value)
    {
        for (int shift = 0; shift < 32; shift += 8)
            byte(static_cast<std::uint8_t>(value >> shift));
    }

    std::size_t jumpWith(std::initializer_list<std::uint8_t> opcode)
    {
        bytes(opcode);
        const std::size_t at = position();
        word32(0);
        return at;
    }

    std::size_t dataEntry(const std::uint8_t* value, std::size_t size)
    {
        std::vector<std::uint8_t>& data = image.data;
        for (std::size_t offset = 0; offset + size <= data.size(); offset += 8) {
            if (offset % size == 0 && std::memcmp(&data[offset], value, size) == 0)
                return offset;
        }
        while (data.size() % size != 0)
            data.push_back(0);
        const std::size_t offset = data.size();
        data.insert(data.end(), value, value + size);
        return offset;
    }

    void rex(bool wide, int reg, int index, int base)
    {
        const int bits = (wide ? 8 : 0) | (reg >= 8 ? 4 : 0) | (index >= 8 ? 2 : 0) | (base >= 8 ? 1 : 0);
        if (bits != 0)
            byte(static_cast<std::uint8_t>(0x40 | bits));
    }

    void modrm(int mod, int reg, int rm) { byte(static_cast<std::uint8_t>(mod << 6 | (reg & 7) << 3 | (rm & 7))); }

    // prefix [REX] 0F opcode, register operands (xmm or general by number).
    void sse(std::uint8_t prefix, std::uint8_t opcode, int reg, int rm)
    {
        byte(prefix);
        rex(false, reg, 0, rm);
        byte(0x0F);
        byte(opcode);
        modrm(3, reg, rm);
    }

    // prefix [REX] 0F opcode, with a memory operand; `trailing` bytes of
    // immediate follow the displacement.
    void sse(std::uint8_t prefix, std::uint8_t opcode, int reg, const Memory& memory, std::size_t trailing = 0)
    {
        byte(prefix);
        instruction(false, {0x0F, opcode}, reg, memory, trailing);
    }

    void registerInstruction(bool wide, std::uint8_t opcode, int reg, int rm)
    {
        rex(wide, reg, 0, rm);
        byte(opcode);
        modrm(3, reg, rm);
    }

    void rspImmediate(std::uint8_t modrmByte, std::int32_t value)
    {
        bytes({0x48, 0x81, modrmByte});
        word32(static_cast<std::uint32_t>(value));
    }

    // 66 [REX] 0F opcode, or VEX.256.66.0F opcode with vvvv the destination
    // when `threeOperand` (else unused).
    void packed(std::uint8_t opcode, int reg, int rm, bool threeOperand = true)
    {
        if (!wide)
            return sse(0x66, opcode, reg, rm);
        vex(reg, threeOperand ? reg : 0, 0, rm);
        byte(opcode);
        modrm(3, reg, rm);
    }

    void packed(std::uint8_t opcode, int reg, const Memory& memory, bool threeOperand = true, std::size_t trailing = 0)
    {
        if (!wide)
            return sse(0x66, opcode, reg, memory, trailing);
        vex(reg, threeOperand ? reg : 0, memory.index < 0 ? 0 : memory.index, memory.base < 0 ? 0 : memory.base);
        byte(opcode);
        memoryOperand(reg, memory, trailing);
    }

    // The three-byte VEX prefix for map 0F, prefix 66, 256 bits; register
    // numbers and `source` (vvvv) are stored inverted, as the encoding wants.
    void vex(int reg, int source, int index, int base)
    {
        byte(0xC4);
        byte(static_cast<std::uint8_t>((reg >= 8 ? 0 : 0x80) | (index >= 8 ? 0 : 0x40) | (base >= 8 ? 0 : 0x20) | 0x01));
        byte(static_cast<std::uint8_t>((~source & 15) << 3 | 0x04 | 0x01));
    }

    // [REX] opcode ModRM [SIB] [displacement] for a memory operand.
    void instruction(bool wide64, std::initializer_list<std::uint8_t> opcode, int reg, const Memory& memory,
                     std::size_t trailing = 0)
    {
        rex(wide64, reg, memory.index < 0 ? 0 : memory.index, memory.base < 0 ? 0 : memory.base);
        bytes(opcode);
        memoryOperand(reg, memory, trailing);
    }

    // ModRM [SIB] [displacement] of a memory operand.
    void memoryOperand(int reg, const Memory& memory, std::size_t trailing)
    {
        if (memory.dataOffset >= 0) {
            modrm(0, reg, 5);  // [rip + displacement]
            const std::size_t at = position();
            word32(0);
            image.references.push_back({at, at + 4 + trailing, static_cast<std::size_t>(memory.dataOffset)});
            return;
        }
        const bool noDisplacement = memory.displacement == 0 && (memory.base & 7) != 5;
        const bool shortDisplacement = memory.displacement >= -128 && memory.displacement <= 127;
        const int mod = noDisplacement ? 0 : shortDisplacement ? 1 : 2;
        if (memory.index >= 0) {
            modrm(mod, reg, 4);
            byte(static_cast<std::uint8_t>(3 << 6 | (memory.index & 7) << 3 | (memory.base & 7)));  // scale 8
        } else {
            modrm(mod, reg, memory.base);
            if ((memory.base & 7) == 4)
                byte(0x24);  // SIB: [rsp] / [r12] with no index
        }
        if (mod == 1)
            byte(static_cast<std::uint8_t>(memory.displacement));
        else if (mod == 2)
            word32(static_cast<std::uint32_t>(memory.displacement));
    }
};

}  // namespace x86_64
}  // namespace compiled
}  // namespace exprcurve

#endif  // EXPRCURVE_EXPRESSION_X86_64_ASSEMBLER_H
