#include "PreparedWork.h"

#include "Kernels.h"
#include "dravik_reference_instructions.h"

namespace dravik::reference {

namespace {

const float* input(const uint8_t* address) {
    return reinterpret_cast<const float*>(address);
}

float* output(uint8_t* address) {
    return reinterpret_cast<float*>(address);
}

}  // namespace

PreparedWork PreparedWork::prepare(
        const std::vector<std::shared_ptr<MemoryObject>>& command_buffers,
        const SessionMemoryMap& memory) {
    PreparedWork work;
    for (const auto& buffer : command_buffers) {
        const auto* program = static_cast<const uint8_t*>(buffer->hostAddress());
        for (const DecodedInstruction& instruction : decodeProgram(program, buffer->size())) {
            Step step{instruction, {}};
            for (std::size_t index = 0; index < instruction.operand_count; ++index) {
                step.operands[index] = memory.resolve(instruction.operands[index]);
            }
            work.steps_.push_back(step);
        }
    }
    return work;
}

void PreparedWork::execute() const {
    for (const Step& step : steps_) {
        const auto& sizes = step.instruction.sizes;
        const auto& at = step.operands;
        switch (step.instruction.opcode) {
            case DRAVIK_REFERENCE_OP_MATMUL:
                // The decoder kept m, n and k within int.
                matmulKernel(input(at[0]), input(at[1]), input(at[2]), output(at[3]),
                             static_cast<int>(sizes[0]), static_cast<int>(sizes[1]),
                             static_cast<int>(sizes[2]));
                break;
            case DRAVIK_REFERENCE_OP_ADD:
                addKernel(input(at[0]), input(at[1]), output(at[2]), sizes[0]);
                break;
            case DRAVIK_REFERENCE_OP_MUL:
                mulKernel(input(at[0]), input(at[1]), output(at[2]), sizes[0]);
                break;
            case DRAVIK_REFERENCE_OP_RELU:
                reluKernel(input(at[0]), output(at[1]), sizes[0]);
                break;
            case DRAVIK_REFERENCE_OP_SOFTMAX:
                softmaxKernel(input(at[0]), output(at[1]), sizes[0], sizes[1]);
                break;
            case DRAVIK_REFERENCE_OP_COPY:
                copyKernel(at[0], at[1], sizes[0]);
                break;
            case DRAVIK_REFERENCE_OP_FILL:
                fillKernel(output(at[0]), step.instruction.value, sizes[0]);
                break;
            case DRAVIK_REFERENCE_OP_WAIT:
                waitKernel(step.instruction.nanoseconds);
                break;
        }
    }
}

}  // namespace dravik::reference
