// Encodes programs of the reference driver's instruction set (dravik_reference_instructions.h):
// one call per instruction, then the bytes to copy into a command buffer's mapping.
//
//   dravik_reference::Program program;
//   program.matmul(input, weights, bias, hidden, batch, 16, 8)  // hidden = input . weights + bias
//           .relu(hidden, hidden, batch * 16)
//           .softmax(hidden, probabilities, batch, 16);
//   program.copyTo(command_buffer_host_address, command_buffer_size);  // false when it won't fit
//
// Addresses are device addresses (DRAVIK_REFERENCE_MEM_INFO_DEVICE_ADDRESS plus a byte offset).
// The encoder checks nothing the driver checks: a run of the program reports what is wrong.
#ifndef DRAVIK_REFERENCE_PROGRAM_H
#define DRAVIK_REFERENCE_PROGRAM_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "dravik_reference_instructions.h"

namespace dravik_reference {

static_assert(sizeof(dravik_reference_program_header) == 16, "program header layout");
static_assert(sizeof(dravik_reference_instruction_header) == 8, "instruction header layout");
static_assert(sizeof(dravik_reference_op_matmul) == 56, "matmul layout");
static_assert(sizeof(dravik_reference_op_binary) == 40, "add/mul layout");
static_assert(sizeof(dravik_reference_op_relu) == 32, "relu layout");
static_assert(sizeof(dravik_reference_op_softmax) == 40, "softmax layout");
static_assert(sizeof(dravik_reference_op_copy) == 32, "copy layout");
static_assert(sizeof(dravik_reference_op_fill) == 32, "fill layout");
static_assert(sizeof(dravik_reference_op_wait) == 16, "wait layout");

class Program {
  public:
    Program() { clear(); }

    // C[m x n] = A[m x k] . B[k x n] + bias[n]; bias 0 for none.
    Program& matmul(uint64_t a, uint64_t b, uint64_t bias, uint64_t c, uint32_t m, uint32_t n,
                    uint32_t k) {
        dravik_reference_op_matmul op{};
        op.a = a;
        op.b = b;
        op.bias = bias;
        op.c = c;
        op.m = m;
        op.n = n;
        op.k = k;
        return push(DRAVIK_REFERENCE_OP_MATMUL, op);
    }
    // out[i] = a[i] + b[i], i < count.
    Program& add(uint64_t a, uint64_t b, uint64_t out, uint64_t count) {
        return binary(DRAVIK_REFERENCE_OP_ADD, a, b, out, count);
    }
    // out[i] = a[i] * b[i], i < count.
    Program& mul(uint64_t a, uint64_t b, uint64_t out, uint64_t count) {
        return binary(DRAVIK_REFERENCE_OP_MUL, a, b, out, count);
    }
    Program& relu(uint64_t in, uint64_t out, uint64_t count) {
        dravik_reference_op_relu op{};
        op.in = in;
        op.out = out;
        op.count = count;
        return push(DRAVIK_REFERENCE_OP_RELU, op);
    }
    // Row-wise over in[rows x cols].
    Program& softmax(uint64_t in, uint64_t out, uint32_t rows, uint32_t cols) {
        dravik_reference_op_softmax op{};
        op.in = in;
        op.out = out;
        op.rows = rows;
        op.cols = cols;
        return push(DRAVIK_REFERENCE_OP_SOFTMAX, op);
    }
    Program& copy(uint64_t src, uint64_t dst, uint64_t bytes) {
        dravik_reference_op_copy op{};
        op.src = src;
        op.dst = dst;
        op.bytes = bytes;
        return push(DRAVIK_REFERENCE_OP_COPY, op);
    }
    // dst[i] = value, i < count.
    Program& fill(uint64_t dst, float value, uint64_t count) {
        dravik_reference_op_fill op{};
        op.dst = dst;
        op.count = count;
        op.value = value;
        return push(DRAVIK_REFERENCE_OP_FILL, op);
    }
    Program& wait(uint64_t nanoseconds) {
        dravik_reference_op_wait op{};
        op.nanoseconds = nanoseconds;
        return push(DRAVIK_REFERENCE_OP_WAIT, op);
    }
    // Appends bytes as one instruction, as they are: for instructions this encoder does not know.
    Program& appendRaw(const void* instruction, std::size_t byte_length) {
        const auto* first = static_cast<const uint8_t*>(instruction);
        bytes_.insert(bytes_.end(), first, first + byte_length);
        setHeader(header().byte_length + static_cast<uint32_t>(byte_length),
                  header().instruction_count + 1);
        return *this;
    }

    // The whole program, header included.
    const std::vector<uint8_t>& bytes() const { return bytes_; }
    std::size_t size() const { return bytes_.size(); }
    uint32_t instructionCount() const { return header().instruction_count; }
    // Copies the program to the start of destination; false (nothing copied) when it is longer
    // than capacity.
    bool copyTo(void* destination, std::size_t capacity) const {
        if (destination == nullptr || bytes_.size() > capacity) return false;
        std::memcpy(destination, bytes_.data(), bytes_.size());
        return true;
    }
    // Back to the empty program.
    void clear() {
        bytes_.assign(sizeof(dravik_reference_program_header), 0);
        setHeader(sizeof(dravik_reference_program_header), 0);
    }

  private:
    Program& binary(uint32_t opcode, uint64_t a, uint64_t b, uint64_t out, uint64_t count) {
        dravik_reference_op_binary op{};
        op.a = a;
        op.b = b;
        op.out = out;
        op.count = count;
        return push(opcode, op);
    }
    template <typename Op>
    Program& push(uint32_t opcode, Op op) {
        op.header.opcode = opcode;
        op.header.byte_length = sizeof(Op);
        return appendRaw(&op, sizeof(Op));
    }
    dravik_reference_program_header header() const {
        dravik_reference_program_header result;
        std::memcpy(&result, bytes_.data(), sizeof(result));
        return result;
    }
    void setHeader(uint32_t byte_length, uint32_t instruction_count) {
        const dravik_reference_program_header result{DRAVIK_REFERENCE_PROGRAM_MAGIC,
                                                     DRAVIK_REFERENCE_PROGRAM_VERSION, byte_length,
                                                     instruction_count};
        std::memcpy(bytes_.data(), &result, sizeof(result));
    }

    std::vector<uint8_t> bytes_;
};

}  // namespace dravik_reference

#endif  // DRAVIK_REFERENCE_PROGRAM_H
