#include "Kernels.h"

#include <cblas.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <mutex>
#include <thread>

namespace dravik::reference {

void matmulKernel(const float* a, const float* b, const float* bias, float* c, int m, int n,
                  int k) {
    static std::once_flag single_threaded;
    // Parallelism comes from sub-commands running side by side; OpenBLAS threads on top would
    // oversubscribe the cores.
    std::call_once(single_threaded, [] { openblas_set_num_threads(1); });
    float beta = 0.0f;
    if (bias != nullptr) {
        for (int row = 0; row < m; ++row) {
            std::memcpy(c + static_cast<std::size_t>(row) * n, bias, sizeof(float) * n);
        }
        beta = 1.0f;
    }
    cblas_sgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, m, n, k, 1.0f, a, k, b, n, beta, c, n);
}

void addKernel(const float* a, const float* b, float* out, uint64_t count) {
    for (uint64_t i = 0; i < count; ++i) out[i] = a[i] + b[i];
}

void mulKernel(const float* a, const float* b, float* out, uint64_t count) {
    for (uint64_t i = 0; i < count; ++i) out[i] = a[i] * b[i];
}

void reluKernel(const float* in, float* out, uint64_t count) {
    // Written so that NaN stays NaN, as std::max(x, 0) would not.
    for (uint64_t i = 0; i < count; ++i) out[i] = in[i] < 0.0f ? 0.0f : in[i];
}

void softmaxKernel(const float* in, float* out, uint64_t rows, uint64_t cols) {
    for (uint64_t row = 0; row < rows; ++row) {
        const float* source = in + row * cols;
        float* target = out + row * cols;
        // Shifting by the row's maximum keeps exp from overflowing; the result is the same.
        const float maximum = *std::max_element(source, source + cols);
        double sum = 0.0;
        for (uint64_t col = 0; col < cols; ++col) {
            target[col] = std::exp(source[col] - maximum);
            sum += target[col];
        }
        const float scale = static_cast<float>(1.0 / sum);
        for (uint64_t col = 0; col < cols; ++col) target[col] *= scale;
    }
}

void copyKernel(const void* source, void* destination, uint64_t bytes) {
    std::memmove(destination, source, bytes);
}

void fillKernel(float* destination, float value, uint64_t count) {
    std::fill(destination, destination + count, value);
}

void waitKernel(uint64_t nanoseconds) {
    std::this_thread::sleep_for(std::chrono::nanoseconds(nanoseconds));
}

}  // namespace dravik::reference
