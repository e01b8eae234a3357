// The CPU kernels behind the instructions, on host addresses already checked to be in range. None
// of them fails.
#pragma once

#include <cstdint>

namespace dravik::reference {

// c[m x n] = a[m x k] . b[k x n] (+ bias[n] on every row, when bias is not null). c overlaps none
// of the inputs.
void matmulKernel(const float* a, const float* b, const float* bias, float* c, int m, int n, int k);
// out may be a or b.
void addKernel(const float* a, const float* b, float* out, uint64_t count);
void mulKernel(const float* a, const float* b, float* out, uint64_t count);
// out may be in.
void reluKernel(const float* in, float* out, uint64_t count);
void softmaxKernel(const float* in, float* out, uint64_t rows, uint64_t cols);
// The ranges may overlap.
void copyKernel(const void* source, void* destination, uint64_t bytes);
void fillKernel(float* destination, float value, uint64_t count);
void waitKernel(uint64_t nanoseconds);

}  // namespace dravik::reference
