// A multi-layer perceptron with fixed, seeded weights, and its plain CPU forward pass: the
// reference that the accelerator's answers are checked against.
#pragma once

#include <cstdint>
#include <vector>

namespace tessaro_workload {

// One fully connected layer: outputs = activation(inputs x weights + bias). Weights are
// row-major [inputs][outputs], so that a batch of inputs [batch][inputs] multiplies them directly.
struct DenseLayer {
    int inputs = 0;
    int outputs = 0;
    std::vector<float> weights;  // inputs * outputs
    std::vector<float> bias;     // outputs
};

class PerceptronModel {
  public:
    // widths: input width, then each layer's width (at least two entries, all positive). Hidden
    // layers use ReLU and the last layer softmax. The same seed gives the same model on every run.
    PerceptronModel(const std::vector<int>& widths, uint64_t seed);

    const std::vector<DenseLayer>& layers() const { return layers_; }
    int inputWidth() const { return layers_.front().inputs; }
    int outputWidth() const { return layers_.back().outputs; }

    // The forward pass of batch rows of inputs ([batch][inputWidth()]), computed with plain loops
    // in double precision; the answer is [batch][outputWidth()].
    std::vector<float> forward(const std::vector<float>& inputs, int batch) const;

  private:
    std::vector<DenseLayer> layers_;
};

// batch rows of width seeded values in [0, 1), like normalised pixels.
std::vector<float> seededInputs(int batch, int width, uint64_t seed);

// The largest absolute difference between two equally long vectors.
float largestDifference(const std::vector<float>& left, const std::vector<float>& right);

}  // namespace tessaro_workload
