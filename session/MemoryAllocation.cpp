// Allocating device memory for a client and releasing it.
#include <unistd.h>

#include "service/Logging.h"
#include "service/TovanDravik.h"
#include "service/Trace.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

namespace {
constexpr int32_t kMemTypeShareable = 0;  // has a descriptor that the client maps
constexpr int32_t kMemTypeShared = 1;     // has no descriptor; any session id finds it
constexpr int32_t kInfoKindDescriptor = 2;
}  // namespace

ndk::ScopedAStatus TovanDravik::fileAllocatedMemory(const AllocatedMemory& memory,
                                                    DRAVIK_MEMINFO_HD* out, int64_t* tmp_fd) {
    if (memory.mem_type == kMemTypeShared) {
        const uint64_t id = generateDravikMemId(memory.dravik_id, memory.mem, 0, true);
        out->mem_id = static_cast<int64_t>(id);
        out->mem_ptr = static_cast<int64_t>(reinterpret_cast<uintptr_t>(memory.mem));
        out->size = memory.size;
        return ndk::ScopedAStatus::ok();
    }
    if (memory.mem_type != kMemTypeShareable) {
        // Checked only after the driver allocated; that memory is neither freed nor filed: a
        // deliberate leak.
        DRAVIK_LOGE("mem type not support!");
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    *tmp_fd = dravikSession_memGetInfoFromHostPtr(memory.session, memory.mem, kInfoKindDescriptor);
    // Filed before the descriptor is judged: after a failure only the session's sweep frees it.
    const uint64_t id = generateDravikMemId(memory.dravik_id, memory.mem, 0, false);
    if (*tmp_fd == 0) {
        DRAVIK_LOGE("dravikSession_memGetInfoFromHostPtr failed,return:%lu", 0UL);
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    out->size = memory.size;
    // The driver keeps tmp_fd; the client gets a duplicate of its own.
    out->fds.emplace_back(dup(static_cast<int>(*tmp_fd)));
    out->mem_id = static_cast<int64_t>(id);
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_memAlloc(int64_t in_dravik_id, int32_t in_size,
                                                 int32_t in_align, int32_t in_mem_type,
                                                 int32_t in_mem_flag,
                                                 DRAVIK_MEMINFO_HD* _aidl_return) {
    ScopedTrace trace("session_memAlloc");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    dravik_session* session = getDravikSession(dravik_id);
    if (session == nullptr) {
        DRAVIK_LOGE("session_memAlloc getDravikSession failed dravik_id:%lu", dravik_id);
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    dravik_mem* mem = dravikSession_memAlloc(session, in_size, in_align, in_mem_type, in_mem_flag);
    if (mem == nullptr) {
        DRAVIK_LOGE(
                "session_memAlloc failed dravik_id:%lu size:%u align:%u mem_type:%d mem_flag:%d",
                dravik_id, in_size, in_align, in_mem_type, in_mem_flag);
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    int64_t tmp_fd = 0;
    ndk::ScopedAStatus status = fileAllocatedMemory({dravik_id, session, mem, in_mem_type, in_size},
                                                    _aidl_return, &tmp_fd);
    if (!status.isOk()) return status;
    if (in_mem_type == kMemTypeShared) {
        DRAVIK_LOGI(
                "session_memAlloc dravik_id:%lu, mem_id:%lu, size:%u align:%u mem_type:%d mem_flag:%d",
                dravik_id, static_cast<uint64_t>(_aidl_return->mem_id), in_size, in_align, 1,
                in_mem_flag);
    } else {
        DRAVIK_LOGI(
                "session_memAlloc dravik_id:%lu, mem_id:%lu, size:%u align:%u mem_type:%d mem_flag:%d, tmp_fd:%d",
                dravik_id, static_cast<uint64_t>(_aidl_return->mem_id), in_size, in_align, 0,
                in_mem_flag, static_cast<int>(tmp_fd));
    }
    return status;
}

ndk::ScopedAStatus TovanDravik::session_memAllocWithName(int64_t in_dravik_id, int32_t in_size,
                                                         int32_t in_align, int32_t in_mem_type,
                                                         int32_t in_mem_flag,
                                                         const std::string& in_name,
                                                         DRAVIK_MEMINFO_HD* _aidl_return) {
    ScopedTrace trace("session_memAllocWithName");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    dravik_session* session = getDravikSession(dravik_id);
    if (session == nullptr) {
        DRAVIK_LOGE("session_memAllocWithName getDravikSession failed dravik_id:%lu", dravik_id);
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    dravik_mem* mem = dravikSession_memAllocWithName(session, in_size, in_align, in_mem_type,
                                                     in_mem_flag, in_name.c_str());
    if (mem == nullptr) {
        DRAVIK_LOGE(
                "session_memAllocWithName failed dravik_id:%lu size:%u align:%u mem_type:%d mem_flag:%d",
                dravik_id, in_size, in_align, in_mem_type, in_mem_flag);
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    int64_t tmp_fd = 0;
    ndk::ScopedAStatus status = fileAllocatedMemory({dravik_id, session, mem, in_mem_type, in_size},
                                                    _aidl_return, &tmp_fd);
    if (!status.isOk()) return status;
    DRAVIK_LOGI(
            "session_memAllocWithName dravik_id:%lu, mem_id:%lu, size:%u align:%u mem_type:%d mem_flag:%d",
            dravik_id, static_cast<uint64_t>(_aidl_return->mem_id), in_size, in_align,
            in_mem_type == kMemTypeShared ? 1 : 0, in_mem_flag);
    return status;
}

ndk::ScopedAStatus TovanDravik::session_memAllocV1(int64_t in_dravik_id, int64_t in_size,
                                                   int64_t in_align, int32_t in_mem_type,
                                                   int64_t in_mem_flag, const std::string& in_name,
                                                   int64_t in_extra,
                                                   DRAVIK_MEMINFO_HD* _aidl_return) {
    ScopedTrace trace("session_memAllocV1");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    dravik_session* session = getDravikSession(dravik_id);
    if (session == nullptr) {
        DRAVIK_LOGE("session_memAllocV1 getDravikSession failed dravik_id:%lu", dravik_id);
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    const int32_t mem_flag = static_cast<int32_t>(in_mem_flag);
    dravik_mem* mem = dravikSession_memAllocV1(session, in_size, in_align, in_mem_type, mem_flag,
                                               in_name.c_str(), in_extra);
    if (mem == nullptr) {
        DRAVIK_LOGE(
                "session_memAllocV1 failed dravik_id:%lu size:%u align:%u mem_type:%d mem_flag:%d",
                dravik_id, static_cast<uint32_t>(in_size), static_cast<uint32_t>(in_align),
                in_mem_type, mem_flag);
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    int64_t tmp_fd = 0;
    // The record's size field keeps the low 32 bits of the 64-bit size.
    ndk::ScopedAStatus status = fileAllocatedMemory(
            {dravik_id, session, mem, in_mem_type, static_cast<int32_t>(in_size)}, _aidl_return,
            &tmp_fd);
    if (!status.isOk()) return status;
    DRAVIK_LOGI(
            "session_memAllocV1 dravik_id:%lu, mem_id:%lu, size:%u align:%u mem_type:%d mem_flag:%d",
            dravik_id, static_cast<uint64_t>(_aidl_return->mem_id), static_cast<uint32_t>(in_size),
            static_cast<uint32_t>(in_align), in_mem_type == kMemTypeShared ? 1 : 0, mem_flag);
    return status;
}

ndk::ScopedAStatus TovanDravik::session_memFree(int64_t in_dravik_id, int64_t in_mem_id,
                                                int32_t* _aidl_return) {
    ScopedTrace trace("session_memFree");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t mem_id = static_cast<uint64_t>(in_mem_id);
    const ResolvedMemory memory = resolveMemory(dravik_id, mem_id);
    if (!memory.found()) {
        DRAVIK_LOGE("memFree failed,dravik_id=%lu, dravik_mem_id=%lu, ret:%d", dravik_id, mem_id,
                    -1);
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    const int32_t ret = dravikSession_memFree(memory.session, memory.mem());
    DRAVIK_LOGI("memFree dravik_id=%lu, dravik_mem_id=%lu, ret:%d", dravik_id, mem_id, ret);
    // Shared memory is filed under kSharedOwner, so this erase leaves its entry behind: kept so.
    if (ret == 0) eraseDravikMem(dravik_id, mem_id);
    *_aidl_return = ret;
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
