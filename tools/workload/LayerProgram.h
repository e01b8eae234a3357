// The command buffer of one perceptron layer, in the device's instruction set.
#pragma once

#include <cstdint>
#include <vector>

namespace tessaro_workload {

enum class Activation { kRelu, kSoftmax };

// Device addresses of a layer's tensors (fp32, row-major) and their shapes.
struct LayerOperands {
    int batch;
    int inputs;
    int outputs;
    uint64_t input;    // [batch][inputs]
    uint64_t weights;  // [inputs][outputs]
    uint64_t bias;     // [outputs]
    uint64_t output;   // [batch][outputs]
};

// output = activation(input x weights + bias), as the bytes of a command buffer.
std::vector<uint8_t> encodeDenseLayer(const LayerOperands& operands, Activation activation);

}  // namespace tessaro_workload
