#pragma once

#include <cstdint>

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

// Owner half of the memory key under which shared (mem_type 1) memory is filed, so that any
// session id finds it.
constexpr uint64_t kSharedOwner = UINT64_MAX;

// What the memory table keeps for one memory id.
struct MemInfo {
    void* mem = nullptr;  // the driver's memory object
    int32_t newfd = 0;    // the service's own duplicate of an imported descriptor; 0 when allocated
    bool shared = false;  // filed under kSharedOwner instead of the session id
};

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
