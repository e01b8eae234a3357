#include "PerceptronModel.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace tessaro_workload {

namespace {

// A small generator of its own, so that the weights do not depend on the standard library's
// distributions, which differ between implementations.
class SeededValues {
  public:
    explicit SeededValues(uint64_t seed) : state_(seed * 0x9e3779b97f4a7c15ULL + 1) {}

    // Uniform in [0, 1).
    float next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return static_cast<float>(state_ >> 40) / static_cast<float>(1ULL << 24);
    }

  private:
    uint64_t state_;
};

DenseLayer seededLayer(int inputs, int outputs, SeededValues& values) {
    DenseLayer layer;
    layer.inputs = inputs;
    layer.outputs = outputs;
    // Scaled so that activations keep their size from layer to layer.
    const float scale = std::sqrt(6.0f / static_cast<float>(inputs));
    layer.weights.resize(static_cast<size_t>(inputs) * static_cast<size_t>(outputs));
    for (float& weight : layer.weights) weight = (values.next() * 2.0f - 1.0f) * scale;
    layer.bias.resize(static_cast<size_t>(outputs));
    for (float& bias : layer.bias) bias = (values.next() * 2.0f - 1.0f) * 0.1f;
    return layer;
}

}  // namespace

PerceptronModel::PerceptronModel(const std::vector<int>& widths, uint64_t seed) {
    if (widths.size() < 2 ||
        std::any_of(widths.begin(), widths.end(), [](int width) { return width <= 0; })) {
        throw std::invalid_argument("a perceptron needs an input width and positive layer widths");
    }
    SeededValues values(seed);
    for (size_t index = 1; index < widths.size(); ++index) {
        layers_.push_back(seededLayer(widths[index - 1], widths[index], values));
    }
}

std::vector<float> PerceptronModel::forward(const std::vector<float>& inputs, int batch) const {
    if (batch <= 0 || inputs.size() != static_cast<size_t>(batch) * inputWidth()) {
        throw std::invalid_argument("the inputs are not batch rows of the input width");
    }
    std::vector<double> activations(inputs.begin(), inputs.end());
    for (size_t index = 0; index < layers_.size(); ++index) {
        const DenseLayer& layer = layers_[index];
        const bool last = index + 1 == layers_.size();
        std::vector<double> next(static_cast<size_t>(batch) * layer.outputs);
        for (int row = 0; row < batch; ++row) {
            double* out = &next[static_cast<size_t>(row) * layer.outputs];
            for (int column = 0; column < layer.outputs; ++column) out[column] = layer.bias[column];
            for (int inner = 0; inner < layer.inputs; ++inner) {
                const double input = activations[static_cast<size_t>(row) * layer.inputs + inner];
                const float* weights = &layer.weights[static_cast<size_t>(inner) * layer.outputs];
                for (int column = 0; column < layer.outputs; ++column) {
                    out[column] += input * weights[column];
                }
            }
            if (!last) {
                for (int column = 0; column < layer.outputs; ++column) {
                    out[column] = std::max(out[column], 0.0);
                }
                continue;
            }
            const double largest = *std::max_element(out, out + layer.outputs);
            double sum = 0;
            for (int column = 0; column < layer.outputs; ++column) {
                out[column] = std::exp(out[column] - largest);
                sum += out[column];
            }
            for (int column = 0; column < layer.outputs; ++column) out[column] /= sum;
        }
        activations = std::move(next);
    }
    return std::vector<float>(activations.begin(), activations.end());
}

std::vector<float> seededInputs(int batch, int width, uint64_t seed) {
    SeededValues values(seed);
    std::vector<float> inputs(static_cast<size_t>(batch) * static_cast<size_t>(width));
    for (float& input : inputs) input = values.next();
    return inputs;
}

float largestDifference(const std::vector<float>& left, const std::vector<float>& right) {
    if (left.size() != right.size()) return INFINITY;
    float largest = 0;
    for (size_t index = 0; index < left.size(); ++index) {
        largest = std::max(largest, std::fabs(left[index] - right[index]));
    }
    return largest;
}

}  // namespace tessaro_workload
