// Every instruction against a plain CPU computation, and a two-layer perceptron whose layers are
// two sub-commands joined by an edge.
#include <cmath>
#include <vector>

#include "ProgramTestSupport.h"

namespace dravik_test {
namespace {

using InstructionTest = DriverTest;

constexpr float kTolerance = 1e-4f;

// c = a . b + bias, accumulated in double.
std::vector<float> referenceMatmul(const std::vector<float>& a, const std::vector<float>& b,
                                   const std::vector<float>* bias, int m, int n, int k) {
    std::vector<float> c(static_cast<std::size_t>(m) * n);
    for (int row = 0; row < m; ++row) {
        for (int col = 0; col < n; ++col) {
            double sum = bias != nullptr ? (*bias)[col] : 0.0;
            for (int inner = 0; inner < k; ++inner) {
                sum += static_cast<double>(a[row * k + inner]) * b[inner * n + col];
            }
            c[row * n + col] = static_cast<float>(sum);
        }
    }
    return c;
}

std::vector<float> referenceRelu(std::vector<float> values) {
    for (float& value : values) value = value > 0.0f ? value : 0.0f;
    return values;
}

std::vector<float> referenceSoftmax(const std::vector<float>& in, int rows, int cols) {
    std::vector<float> out(in.size());
    for (int row = 0; row < rows; ++row) {
        double sum = 0.0;
        for (int col = 0; col < cols; ++col) sum += std::exp(double{in[row * cols + col]});
        for (int col = 0; col < cols; ++col) {
            out[row * cols + col] =
                    static_cast<float>(std::exp(double{in[row * cols + col]}) / sum);
        }
    }
    return out;
}

void expectNear(const std::vector<float>& actual, const std::vector<float>& expected,
                const char* what) {
    ASSERT_EQ(actual.size(), expected.size()) << what;
    for (std::size_t i = 0; i < actual.size(); ++i) {
        ASSERT_NEAR(actual[i], expected[i], kTolerance * (1.0f + std::fabs(expected[i])))
                << what << " element " << i;
    }
}

TEST_F(InstructionTest, EveryInstructionComputesWhatTheCpuDoes) {
    ScopedSession session;
    constexpr int m = 5, n = 7, k = 3;
    const Floats a = allocateFloats(session.get(), m * k);
    const Floats b = allocateFloats(session.get(), k * n);
    const Floats bias = allocateFloats(session.get(), n);
    const Floats with_bias = allocateFloats(session.get(), m * n);
    const Floats without_bias = allocateFloats(session.get(), m * n);
    const Floats sum = allocateFloats(session.get(), m * n);
    const Floats product = allocateFloats(session.get(), m * n);
    const Floats rectified = allocateFloats(session.get(), m * n);
    const Floats probabilities = allocateFloats(session.get(), m * n);
    const Floats copied = allocateFloats(session.get(), m * n);
    const Floats filled = allocateFloats(session.get(), 10);
    a.set(pseudoRandom(a.count, 1));
    b.set(pseudoRandom(b.count, 2));
    bias.set(pseudoRandom(bias.count, 3));
    filled.set(std::vector<float>(10, -7.0f));

    dravik_reference::Program program;
    program.matmul(a.address, b.address, bias.address, with_bias.address, m, n, k)
            .matmul(a.address, b.address, 0, without_bias.address, m, n, k)
            .add(with_bias.address, without_bias.address, sum.address, m * n)
            .mul(with_bias.address, without_bias.address, product.address, m * n)
            .relu(with_bias.address, rectified.address, m * n)
            .softmax(with_bias.address, probabilities.address, m, n)
            // Softmax in place over a copy: same answer.
            .copy(with_bias.address, copied.address, m * n * sizeof(float))
            .softmax(copied.address, copied.address, m, n)
            // Only elements 2..7; the rest keeps its value.
            .fill(filled.at(2), 1.5f, 6)
            .wait(1000);
    const ProgramCommand made = makeProgramCommand(session.get(), {program});
    ASSERT_EQ(dravikCmd_run(made.command), 0) << "errno " << errno;

    const std::vector<float> bias_values = bias.values();
    const std::vector<float> expected_with_bias =
            referenceMatmul(a.values(), b.values(), &bias_values, m, n, k);
    const std::vector<float> expected_without_bias =
            referenceMatmul(a.values(), b.values(), nullptr, m, n, k);
    expectNear(with_bias.values(), expected_with_bias, "matmul with bias");
    expectNear(without_bias.values(), expected_without_bias, "matmul without bias");
    std::vector<float> expected_sum(m * n), expected_product(m * n);
    for (int i = 0; i < m * n; ++i) {
        expected_sum[i] = expected_with_bias[i] + expected_without_bias[i];
        expected_product[i] = expected_with_bias[i] * expected_without_bias[i];
    }
    expectNear(sum.values(), expected_sum, "add");
    expectNear(product.values(), expected_product, "mul");
    expectNear(rectified.values(), referenceRelu(expected_with_bias), "relu");
    const std::vector<float> expected_softmax = referenceSoftmax(expected_with_bias, m, n);
    expectNear(probabilities.values(), expected_softmax, "softmax");
    expectNear(copied.values(), expected_softmax, "softmax in place");
    EXPECT_EQ(filled.values(), (std::vector<float>{-7, -7, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, -7, -7}));
    EXPECT_EQ(dravikSubCmd_getRunInfo(made.sub_commands[0],
                                      DRAVIK_REFERENCE_SUBCMD_RUN_INFO_RUN_COUNT),
              1);
    EXPECT_GE(dravikSubCmd_getRunInfo(made.sub_commands[0],
                                      DRAVIK_REFERENCE_SUBCMD_RUN_INFO_DURATION_NS),
              1000)
            << "the run waited 1000 ns";
}

TEST_F(InstructionTest, SoftmaxOfLargeInputsAndElementwiseOpsInPlace) {
    ScopedSession session;
    const Floats logits = allocateFloats(session.get(), 6);
    const Floats values = allocateFloats(session.get(), 4);
    const Floats other = allocateFloats(session.get(), 4);
    logits.set({1000.0f, 1001.0f, 1002.0f, -1000.0f, 0.0f, 1000.0f});
    values.set({1.0f, -2.0f, 3.0f, -4.0f});
    other.set({2.0f, 2.0f, 2.0f, 2.0f});
    dravik_reference::Program program;
    program.softmax(logits.address, logits.address, 2, 3)
            .mul(values.address, other.address, values.address, 4)
            .add(other.address, values.address, values.address, 4)
            .relu(values.address, values.address, 4);
    const ProgramCommand made = makeProgramCommand(session.get(), {program});
    ASSERT_EQ(dravikCmd_run(made.command), 0) << "errno " << errno;
    expectNear(logits.values(), {0.09003057f, 0.24472847f, 0.66524096f, 0.0f, 0.0f, 1.0f},
               "softmax");
    EXPECT_EQ(values.values(), (std::vector<float>{4.0f, 0.0f, 8.0f, 0.0f}));
}

// hidden = relu(input . w1 + b1) in one sub-command, output = softmax(hidden . w2 + b2) in another
// that depends on it; run twice with new input, as a client would.
TEST_F(InstructionTest, ATwoLayerPerceptronAcrossTwoSubCommands) {
    ScopedSession session;
    constexpr int batch = 4, inputs = 8, hidden_units = 16, classes = 3;
    const Floats input = allocateFloats(session.get(), batch * inputs);
    const Floats w1 = allocateFloats(session.get(), inputs * hidden_units);
    const Floats b1 = allocateFloats(session.get(), hidden_units);
    const Floats hidden = allocateFloats(session.get(), batch * hidden_units);
    const Floats w2 = allocateFloats(session.get(), hidden_units * classes);
    const Floats b2 = allocateFloats(session.get(), classes);
    const Floats output = allocateFloats(session.get(), batch * classes);
    w1.set(pseudoRandom(w1.count, 11));
    b1.set(pseudoRandom(b1.count, 12));
    w2.set(pseudoRandom(w2.count, 13));
    b2.set(pseudoRandom(b2.count, 14));

    dravik_reference::Program layer1, layer2;
    layer1.matmul(input.address, w1.address, b1.address, hidden.address, batch, hidden_units,
                  inputs)
            .relu(hidden.address, hidden.address, batch * hidden_units);
    layer2.matmul(hidden.address, w2.address, b2.address, output.address, batch, classes,
                  hidden_units)
            .softmax(output.address, output.address, batch, classes);
    // Layer 2 created first, so only the edge puts it after layer 1.
    const ProgramCommand made = makeProgramCommand(session.get(), {layer2, layer1}, {{1, 0}});

    for (uint32_t round = 0; round < 2; ++round) {
        input.set(pseudoRandom(input.count, 100 + round));
        ASSERT_EQ(dravikCmd_run(made.command), 0) << "errno " << errno;
        const std::vector<float> b1_values = b1.values(), b2_values = b2.values();
        const std::vector<float> expected_hidden = referenceRelu(referenceMatmul(
                input.values(), w1.values(), &b1_values, batch, hidden_units, inputs));
        const std::vector<float> expected_output =
                referenceSoftmax(referenceMatmul(expected_hidden, w2.values(), &b2_values, batch,
                                                 classes, hidden_units),
                                 batch, classes);
        expectNear(hidden.values(), expected_hidden, "hidden layer");
        expectNear(output.values(), expected_output, "output layer");
    }
    EXPECT_EQ(dravikCmd_getRunInfo(made.command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT), 2);
    EXPECT_EQ(dravikSubCmd_getRunInfo(made.sub_commands[1],
                                      DRAVIK_REFERENCE_SUBCMD_RUN_INFO_RUN_COUNT),
              2);
}

}  // namespace
}  // namespace dravik_test
