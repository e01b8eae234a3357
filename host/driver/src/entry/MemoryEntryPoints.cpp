// dravikSession_memAlloc, memAllocWithName, memAllocV1, memFree.
#include "EntryGuard.h"
#include "MemoryFactory.h"
#include "Registries.h"
#include "dravik_mdw.h"

using namespace dravik::reference;

namespace {

dravik_mem* allocateInSession(dravik_session* session, const AllocationRequest& request) {
    const std::shared_ptr<Session> owner = findSession(session);
    return owner->addMemory(allocateMemory(request));
}

AllocationRequest allocation(int64_t size, int64_t align, int32_t mem_type, int32_t mem_flag,
                             const char* name, int64_t extra) {
    AllocationRequest request;
    request.kind = MemoryKind::kAllocation;
    request.size = size;
    request.alignment = align;
    request.mem_type = mem_type;
    request.flag = mem_flag;
    request.name = name;
    request.extra = extra;
    return request;
}

}  // namespace

extern "C" dravik_mem* dravikSession_memAlloc(dravik_session* session, uint32_t size,
                                              uint32_t align, int32_t mem_type, int32_t mem_flag) {
    return guardEntry<dravik_mem*>(Operation::kSessionMemAlloc, nullptr, [&] {
        return allocateInSession(session, allocation(size, align, mem_type, mem_flag, "", 0));
    });
}

extern "C" dravik_mem* dravikSession_memAllocWithName(dravik_session* session, uint32_t size,
                                                      uint32_t align, int32_t mem_type,
                                                      int32_t mem_flag, const char* name) {
    return guardEntry<dravik_mem*>(Operation::kSessionMemAllocWithName, nullptr, [&] {
        return allocateInSession(session, allocation(size, align, mem_type, mem_flag, name, 0));
    });
}

extern "C" dravik_mem* dravikSession_memAllocV1(dravik_session* session, int64_t size,
                                                int64_t align, int32_t mem_type, int32_t mem_flag,
                                                const char* name, int64_t extra) {
    return guardEntry<dravik_mem*>(Operation::kSessionMemAllocV1, nullptr, [&] {
        return allocateInSession(session, allocation(size, align, mem_type, mem_flag, name, extra));
    });
}

extern "C" int32_t dravikSession_memFree(dravik_session* session, dravik_mem* mem) {
    return guardAction(Operation::kSessionMemFree,
                       [&] { findSession(session)->removeMemory(mem, MemoryKind::kAllocation); });
}
