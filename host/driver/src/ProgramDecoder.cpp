#include "ProgramDecoder.h"

#include <climits>
#include <cstring>

#include "DriverError.h"
#include "dravik_reference_instructions.h"

namespace dravik::reference {

namespace {

constexpr uint64_t kFloatBytes = sizeof(float);

uint64_t product(uint64_t left, uint64_t right) {
    uint64_t result = 0;
    require(!__builtin_mul_overflow(left, right, &result), EOVERFLOW);
    return result;
}

OperandRange floats(uint64_t address, uint64_t elements) {
    return {address, product(elements, kFloatBytes), true};
}

// The caller has checked that byte_length matches Op, so the whole struct lies within the program.
template <typename Op>
Op readOp(const uint8_t* instruction) {
    Op op;
    std::memcpy(&op, instruction, sizeof(Op));
    return op;
}

bool disjoint(const OperandRange& left, const OperandRange& right) {
    return left.address + left.bytes <= right.address ||
           right.address + right.bytes <= left.address;
}

// An output may be exactly an input (in place) or apart from it; anything between would make the
// result depend on the order the kernel visits elements in.
void requireInPlaceOrApart(const OperandRange& output, const OperandRange& input) {
    require(disjoint(output, input) ||
                    (output.address == input.address && output.bytes == input.bytes),
            EINVAL);
}

void add(DecodedInstruction& decoded, OperandRange range) {
    // Checked here so the overlap tests and address resolution may add freely.
    uint64_t end = 0;
    require(!__builtin_add_overflow(range.address, range.bytes, &end), EOVERFLOW);
    decoded.operands[decoded.operand_count++] = range;
}

DecodedInstruction decodeMatmul(const uint8_t* instruction) {
    const auto op = readOp<dravik_reference_op_matmul>(instruction);
    require(op.reserved == 0, EINVAL);
    require(op.m != 0 && op.n != 0 && op.k != 0, EINVAL);
    require(op.m <= INT32_MAX && op.n <= INT32_MAX && op.k <= INT32_MAX, EOVERFLOW);
    DecodedInstruction decoded;
    decoded.sizes = {op.m, op.n, op.k};
    add(decoded, floats(op.a, product(op.m, op.k)));
    add(decoded, floats(op.b, product(op.k, op.n)));
    add(decoded, op.bias == 0 ? OperandRange{0, 0, true} : floats(op.bias, op.n));
    add(decoded, floats(op.c, product(op.m, op.n)));
    const OperandRange& c = decoded.operands[3];
    require(disjoint(c, decoded.operands[0]) && disjoint(c, decoded.operands[1]), EINVAL);
    require(op.bias == 0 || disjoint(c, decoded.operands[2]), EINVAL);
    return decoded;
}

DecodedInstruction decodeBinary(const uint8_t* instruction) {
    const auto op = readOp<dravik_reference_op_binary>(instruction);
    require(op.count != 0, EINVAL);
    DecodedInstruction decoded;
    decoded.sizes[0] = op.count;
    add(decoded, floats(op.a, op.count));
    add(decoded, floats(op.b, op.count));
    add(decoded, floats(op.out, op.count));
    requireInPlaceOrApart(decoded.operands[2], decoded.operands[0]);
    requireInPlaceOrApart(decoded.operands[2], decoded.operands[1]);
    return decoded;
}

DecodedInstruction decodeRelu(const uint8_t* instruction) {
    const auto op = readOp<dravik_reference_op_relu>(instruction);
    require(op.count != 0, EINVAL);
    DecodedInstruction decoded;
    decoded.sizes[0] = op.count;
    add(decoded, floats(op.in, op.count));
    add(decoded, floats(op.out, op.count));
    requireInPlaceOrApart(decoded.operands[1], decoded.operands[0]);
    return decoded;
}

DecodedInstruction decodeSoftmax(const uint8_t* instruction) {
    const auto op = readOp<dravik_reference_op_softmax>(instruction);
    require(op.reserved == 0, EINVAL);
    require(op.rows != 0 && op.cols != 0, EINVAL);
    DecodedInstruction decoded;
    decoded.sizes = {op.rows, op.cols, 0};
    add(decoded, floats(op.in, product(op.rows, op.cols)));
    add(decoded, floats(op.out, product(op.rows, op.cols)));
    requireInPlaceOrApart(decoded.operands[1], decoded.operands[0]);
    return decoded;
}

DecodedInstruction decodeCopy(const uint8_t* instruction) {
    const auto op = readOp<dravik_reference_op_copy>(instruction);
    require(op.bytes != 0, EINVAL);
    DecodedInstruction decoded;
    decoded.sizes[0] = op.bytes;
    add(decoded, {op.src, op.bytes, false});
    add(decoded, {op.dst, op.bytes, false});
    return decoded;
}

DecodedInstruction decodeFill(const uint8_t* instruction) {
    const auto op = readOp<dravik_reference_op_fill>(instruction);
    require(op.reserved == 0, EINVAL);
    require(op.count != 0, EINVAL);
    DecodedInstruction decoded;
    decoded.sizes[0] = op.count;
    decoded.value = op.value;
    add(decoded, floats(op.dst, op.count));
    return decoded;
}

DecodedInstruction decodeWait(const uint8_t* instruction) {
    const auto op = readOp<dravik_reference_op_wait>(instruction);
    require(op.nanoseconds != 0 && op.nanoseconds <= DRAVIK_REFERENCE_MAX_WAIT_NS, EINVAL);
    DecodedInstruction decoded;
    decoded.nanoseconds = op.nanoseconds;
    return decoded;
}

struct OpcodeFormat {
    uint32_t byte_length;
    DecodedInstruction (*decode)(const uint8_t*);
};

// Version 1: each opcode has exactly one length.
OpcodeFormat formatOf(uint32_t opcode) {
    switch (opcode) {
        case DRAVIK_REFERENCE_OP_MATMUL:
            return {sizeof(dravik_reference_op_matmul), decodeMatmul};
        case DRAVIK_REFERENCE_OP_ADD:
        case DRAVIK_REFERENCE_OP_MUL:
            return {sizeof(dravik_reference_op_binary), decodeBinary};
        case DRAVIK_REFERENCE_OP_RELU:
            return {sizeof(dravik_reference_op_relu), decodeRelu};
        case DRAVIK_REFERENCE_OP_SOFTMAX:
            return {sizeof(dravik_reference_op_softmax), decodeSoftmax};
        case DRAVIK_REFERENCE_OP_COPY:
            return {sizeof(dravik_reference_op_copy), decodeCopy};
        case DRAVIK_REFERENCE_OP_FILL:
            return {sizeof(dravik_reference_op_fill), decodeFill};
        case DRAVIK_REFERENCE_OP_WAIT:
            return {sizeof(dravik_reference_op_wait), decodeWait};
        default:
            failWith(EINVAL);
    }
}

}  // namespace

std::vector<DecodedInstruction> decodeProgram(const uint8_t* bytes, uint64_t size) {
    dravik_reference_program_header header;
    require(size >= sizeof(header), EINVAL);
    std::memcpy(&header, bytes, sizeof(header));
    require(header.magic == DRAVIK_REFERENCE_PROGRAM_MAGIC, EINVAL);
    require(header.version == DRAVIK_REFERENCE_PROGRAM_VERSION, EINVAL);
    require(header.byte_length >= sizeof(header) && header.byte_length <= size, EINVAL);
    require(header.instruction_count <= DRAVIK_REFERENCE_MAX_INSTRUCTIONS_PER_PROGRAM, EINVAL);

    std::vector<DecodedInstruction> instructions;
    instructions.reserve(header.instruction_count);
    uint64_t offset = sizeof(header);
    uint64_t waited_ns = 0;
    while (offset < header.byte_length) {
        require(instructions.size() < header.instruction_count, EINVAL);
        dravik_reference_instruction_header instruction;
        require(header.byte_length - offset >= sizeof(instruction), EINVAL);
        std::memcpy(&instruction, bytes + offset, sizeof(instruction));
        const OpcodeFormat format = formatOf(instruction.opcode);
        require(instruction.byte_length == format.byte_length, EINVAL);
        require(header.byte_length - offset >= format.byte_length, EINVAL);
        DecodedInstruction decoded = format.decode(bytes + offset);
        decoded.opcode = instruction.opcode;
        waited_ns += decoded.nanoseconds;  // each at most the bound, so this cannot wrap
        require(waited_ns <= DRAVIK_REFERENCE_MAX_WAIT_NS, EINVAL);
        instructions.push_back(decoded);
        offset += format.byte_length;
    }
    require(instructions.size() == header.instruction_count, EINVAL);
    return instructions;
}

}  // namespace dravik::reference
