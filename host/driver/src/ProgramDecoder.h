// Decoding one program of dravik_reference_instructions.h into instructions whose operands are
// device address ranges, checking its format and sizes. Which memory the ranges name is checked
// later, against the session (AddressResolution.h).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace dravik::reference {

struct OperandRange {
    uint64_t address = 0;
    uint64_t bytes = 0;  // 0: absent (a matmul without bias)
    bool fp32 = true;    // fp32 data must start at a multiple of 4 bytes in its object
};

struct DecodedInstruction {
    uint32_t opcode = 0;
    // In the order of the instruction's struct: matmul a, b, bias, c; add/mul a, b, out;
    // relu/softmax in, out; copy src, dst; fill dst.
    std::array<OperandRange, 4> operands{};
    std::size_t operand_count = 0;
    // matmul: m, n, k; softmax: rows, cols; add, mul, relu, fill: count; copy: bytes.
    std::array<uint64_t, 3> sizes{};
    float value = 0.0f;        // fill
    uint64_t nanoseconds = 0;  // wait
};

// Throws DriverError: EINVAL for a malformed program, EOVERFLOW for sizes that do not fit (see
// dravik_reference_instructions.h). bytes is read once, field by field, so a program changed while
// it is decoded cannot make the result inconsistent.
std::vector<DecodedInstruction> decodeProgram(const uint8_t* bytes, uint64_t size);

}  // namespace dravik::reference
