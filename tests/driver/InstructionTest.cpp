// Every instruction against a plain computation. Each case runs one program over the same inputs
// and compares the whole output object, so a write outside the operand's range shows as well.
#include <algorithm>
#include <cmath>
#include <vector>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using InstructionTest = DriverTest;

// Distinct dimensions, so that a transposed index reads the wrong element.
constexpr int kM = 5, kN = 7, kK = 3;
constexpr std::size_t kElements = kM * kK;  // of a, and what the element-wise cases work on
constexpr float kUntouched = -7.0f;

// Row-wise softmax of the first kM x kK values in double, less the row's maximum.
std::vector<float> softmax(const std::vector<float>& in, std::vector<float> out) {
    for (int row = 0; row < kM; ++row) {
        const float* first = &in[row * kK];
        const double largest = *std::max_element(first, first + kK);
        double sum = 0.0;
        for (int col = 0; col < kK; ++col) sum += std::exp(first[col] - largest);
        for (int col = 0; col < kK; ++col) {
            out[row * kK + col] = static_cast<float>(std::exp(first[col] - largest) / sum);
        }
    }
    return out;
}

TEST_F(InstructionTest, EachInstructionComputesWhatAPlainLoopDoes) {
    ScopedSession session;
    const std::vector<float> in_a = pseudoRandom(kM * kK, 1), in_b = pseudoRandom(kK * kN, 2);
    const std::vector<float> in_bias = pseudoRandom(kN, 3), untouched(kM * kN, kUntouched);
    const Floats a = allocateFloats(session.get(), in_a), b = allocateFloats(session.get(), in_b);
    const Floats bias = allocateFloats(session.get(), in_bias),
                 out = allocateFloats(session.get(), untouched);

    auto matmul = [&](bool with_bias) {
        std::vector<float> c(out.count);
        for (int row = 0; row < kM; ++row) {
            for (int col = 0; col < kN; ++col) {
                double sum = with_bias ? in_bias[col] : 0.0;
                for (int i = 0; i < kK; ++i) sum += double{in_a[row * kK + i]} * in_b[i * kN + col];
                c[row * kN + col] = static_cast<float>(sum);
            }
        }
        return c;
    };
    auto each = [&](auto op) {
        std::vector<float> result = untouched;
        for (std::size_t i = 0; i < kElements; ++i) result[i] = op(in_a[i], in_b[i]);
        return result;
    };
    std::vector<float> scaled = in_a, shifted = untouched, filled = untouched;
    for (float& value : scaled) value *= 1000.0f;
    std::copy(in_a.begin(), in_a.end() - 1, shifted.begin() + 1);
    shifted[0] = in_a[0];
    std::fill(filled.begin() + 2, filled.begin() + 8, 1.5f);
    const uint64_t bytes = kElements * sizeof(float);

    const struct {
        const char* name;
        Program program;
        std::vector<float> expected;
    } cases[] = {
            {"matmul with bias",
             Program().matmul(a.address, b.address, bias.address, out.address, kM, kN, kK),
             matmul(true)},
            {"matmul without bias",
             Program().matmul(a.address, b.address, 0, out.address, kM, kN, kK), matmul(false)},
            {"add", Program().add(a.address, b.address, out.address, kElements),
             each([](float x, float y) { return x + y; })},
            {"mul", Program().mul(a.address, b.address, out.address, kElements),
             each([](float x, float y) { return x * y; })},
            {"relu", Program().relu(a.address, out.address, kElements),
             each([](float x, float) { return std::max(x, 0.0f); })},
            {"softmax", Program().softmax(a.address, out.address, kM, kK),
             softmax(in_a, untouched)},
            // exp(1000) overflows even in double: only a softmax less the row's maximum gets this
            // right. Also in place, each instruction reading what the one before wrote.
            {"softmax of large inputs in place",
             Program()
                     .fill(out.address, 1000.0f, kElements)
                     .mul(out.address, a.address, out.address, kElements)
                     .softmax(out.address, out.address, kM, kK),
             softmax(scaled, untouched)},
            // Forwards over itself: a copy that is not a memmove repeats the first element.
            {"overlapping copy",
             Program().copy(a.address, out.address, bytes).copy(out.address, out.at(1), bytes - 4),
             shifted},
            {"fill of a middle range", Program().fill(out.at(2), 1.5f, 6), filled},
    };
    const ProgramCommand made = makeProgramCommand(session.get(), {Program()});
    for (const auto& instruction : cases) {
        SCOPED_TRACE(instruction.name);
        out.set(untouched);
        writeProgram(session.get(), made.buffers[0], instruction.program);
        ASSERT_EQ(dravikCmd_run(made.command), 0) << "errno " << errno;
        const std::vector<float> actual = out.values();
        for (std::size_t i = 0; i < actual.size(); ++i) {
            const float expected = instruction.expected[i];
            EXPECT_NEAR(actual[i], expected, 1e-5f * (1.0f + std::fabs(expected))) << "at " << i;
        }
        EXPECT_EQ(a.values(), in_a) << "an input was written";
    }
}

}  // namespace
}  // namespace dravik_test
