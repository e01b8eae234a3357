#include "LayerProgram.h"

#include <dravik_reference_program.h>

namespace tessaro_workload {

std::vector<uint8_t> encodeDenseLayer(const LayerOperands& operands, Activation activation) {
    const auto batch = static_cast<uint32_t>(operands.batch);
    const auto outputs = static_cast<uint32_t>(operands.outputs);
    dravik_reference::Program program;
    program.matmul(operands.input, operands.weights, operands.bias, operands.output, batch, outputs,
                   static_cast<uint32_t>(operands.inputs));
    if (activation == Activation::kRelu) {
        program.relu(operands.output, operands.output, static_cast<uint64_t>(batch) * outputs);
    } else {
        program.softmax(operands.output, operands.output, batch, outputs);
    }
    return program.bytes();
}

}  // namespace tessaro_workload
