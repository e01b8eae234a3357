#pragma once

// The in-process baseline: the cheapest registry imaginable, a std::mutex and an ordered map
// keyed by (session, object), looked up among the objects of one session.

#include <cstdint>

namespace bench {

// Objects filed per session, in the baseline and in the loaded services of the registry figures.
constexpr int64_t kObjectsPerSession = 1000;

// A distinct, never dereferenced pointer for value.
inline void* fakePointer(uint64_t value) {
    return reinterpret_cast<void*>(static_cast<uintptr_t>(value) << 4);
}

}  // namespace bench
