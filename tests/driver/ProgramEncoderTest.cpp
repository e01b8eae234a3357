// The encoder's output is what the driver's decoder reads back, field for field.
#include <gtest/gtest.h>

#include <vector>

#include "DriverError.h"
#include "ProgramDecoder.h"
#include "dravik_reference_program.h"

namespace dravik::reference {
namespace {

void expectOperand(const OperandRange& range, uint64_t address, uint64_t bytes, bool fp32) {
    EXPECT_EQ(range.address, address);
    EXPECT_EQ(range.bytes, bytes);
    EXPECT_EQ(range.fp32, fp32);
}

TEST(ProgramEncoderTest, EveryInstructionDecodesAsEncoded) {
    dravik_reference::Program program;
    EXPECT_TRUE(decodeProgram(program.bytes().data(), program.size()).empty());
    program.matmul(0x1000, 0x2000, 0x3000, 0x4000, 2, 3, 4)
            .matmul(0x1000, 0x2000, 0, 0x4000, 2, 3, 4)
            .add(0x300, 0x400, 0x500, 5)
            .mul(0x100, 0x200, 0x100, 5)
            .relu(0x40, 0x40, 6)
            .softmax(0x50, 0x60, 2, 2)
            .copy(0x70, 0x71, 3)
            .fill(0x80, 2.5f, 7)
            .wait(123);
    EXPECT_EQ(program.instructionCount(), 9u);
    // Trailing bytes past the program are not part of it.
    std::vector<uint8_t> buffer = program.bytes();
    buffer.resize(buffer.size() + 100, 0xff);
    const std::vector<DecodedInstruction> decoded = decodeProgram(buffer.data(), buffer.size());
    ASSERT_EQ(decoded.size(), 9u);

    EXPECT_EQ(decoded[0].opcode, DRAVIK_REFERENCE_OP_MATMUL);
    ASSERT_EQ(decoded[0].operand_count, 4u);
    expectOperand(decoded[0].operands[0], 0x1000, 2 * 4 * 4, true);
    expectOperand(decoded[0].operands[1], 0x2000, 4 * 3 * 4, true);
    expectOperand(decoded[0].operands[2], 0x3000, 3 * 4, true);
    expectOperand(decoded[0].operands[3], 0x4000, 2 * 3 * 4, true);
    EXPECT_EQ(decoded[0].sizes, (std::array<uint64_t, 3>{2, 3, 4}));
    expectOperand(decoded[1].operands[2], 0, 0, true);  // no bias

    EXPECT_EQ(decoded[2].opcode, DRAVIK_REFERENCE_OP_ADD);
    EXPECT_EQ(decoded[3].opcode, DRAVIK_REFERENCE_OP_MUL);
    expectOperand(decoded[3].operands[1], 0x200, 20, true);
    expectOperand(decoded[3].operands[2], 0x100, 20, true);
    EXPECT_EQ(decoded[4].opcode, DRAVIK_REFERENCE_OP_RELU);
    expectOperand(decoded[4].operands[1], 0x40, 24, true);
    EXPECT_EQ(decoded[5].opcode, DRAVIK_REFERENCE_OP_SOFTMAX);
    EXPECT_EQ(decoded[5].sizes[0], 2u);
    EXPECT_EQ(decoded[5].sizes[1], 2u);
    EXPECT_EQ(decoded[6].opcode, DRAVIK_REFERENCE_OP_COPY);
    expectOperand(decoded[6].operands[0], 0x70, 3, false);
    expectOperand(decoded[6].operands[1], 0x71, 3, false);
    EXPECT_EQ(decoded[7].opcode, DRAVIK_REFERENCE_OP_FILL);
    EXPECT_EQ(decoded[7].value, 2.5f);
    expectOperand(decoded[7].operands[0], 0x80, 28, true);
    EXPECT_EQ(decoded[8].opcode, DRAVIK_REFERENCE_OP_WAIT);
    EXPECT_EQ(decoded[8].nanoseconds, 123u);

    // A program cut anywhere inside is refused, never read past its end.
    for (std::size_t size = 0; size < program.size(); ++size) {
        try {
            decodeProgram(program.bytes().data(), size);
            ADD_FAILURE() << "decoded " << size << " bytes";
        } catch (const DriverError& error) {
            EXPECT_EQ(error.errorNumber(), EINVAL);
        }
    }
}

TEST(ProgramEncoderTest, CopyingRawInstructionsAndStartingOver) {
    dravik_reference::Program program;
    program.wait(1);
    std::vector<uint8_t> small(program.size() - 1);
    EXPECT_FALSE(program.copyTo(small.data(), small.size()));
    std::vector<uint8_t> exact(program.size());
    EXPECT_TRUE(program.copyTo(exact.data(), exact.size()));
    EXPECT_EQ(exact, program.bytes());

    // An instruction the encoder has no call for, appended as bytes.
    dravik_reference_op_relu relu{};
    relu.header = {DRAVIK_REFERENCE_OP_RELU, sizeof(relu)};
    relu.in = 0x100;
    relu.out = 0x200;
    relu.count = 4;
    program.appendRaw(&relu, sizeof(relu));
    const auto decoded = decodeProgram(program.bytes().data(), program.size());
    ASSERT_EQ(decoded.size(), 2u);
    expectOperand(decoded[1].operands[1], 0x200, 16, true);

    program.clear();
    EXPECT_EQ(program.size(), sizeof(dravik_reference_program_header));
    EXPECT_EQ(program.instructionCount(), 0u);
}

}  // namespace
}  // namespace dravik::reference
