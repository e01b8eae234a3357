// Making memory objects: allocations and command buffers over a new memfd, imports over a
// caller's descriptor. Every argument is checked here; refusals throw DriverError.
#pragma once

#include <cstdint>
#include <memory>

#include "MemoryObject.h"

namespace dravik::reference {

struct AllocationRequest {
    MemoryKind kind = MemoryKind::kAllocation;  // kAllocation or kCommandBuffer
    int64_t size = 0;
    int64_t alignment = 0;  // 0: the default
    int32_t mem_type = 0;
    int64_t flag = 0;
    int64_t extra = 0;
    const char* name = "";  // null is refused
};

std::shared_ptr<MemoryObject> allocateMemory(const AllocationRequest& request);

struct ImportRequest {
    int descriptor = -1;  // the caller's; duplicated, never taken
    int64_t size = 0;
    int64_t flag = 0;
    int64_t extra = 0;
};

std::shared_ptr<MemoryObject> importMemory(const ImportRequest& request);

}  // namespace dravik::reference
