// Cache maintenance, information and parameters of filed memory, and fresh descriptors for it:
// resolve, call the driver with the memory object, report. The driver's answers are passed back
// unjudged.
#include <unistd.h>

#include "service/Logging.h"
#include "service/TovanDravik.h"
#include "service/Trace.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

TovanDravik::ResolvedMemory TovanDravik::resolveMemory(uint64_t dravik_id, uint64_t mem_id) {
    dravik_session* session = getDravikSession(dravik_id);
    return {session, getDravikMem(dravik_id, mem_id)};
}

ndk::ScopedAStatus TovanDravik::session_memFlush(int64_t in_dravik_id, int64_t in_mem_id,
                                                 int32_t* _aidl_return) {
    ScopedTrace trace("session_memFlush");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t mem_id = static_cast<uint64_t>(in_mem_id);
    const ResolvedMemory memory = resolveMemory(dravik_id, mem_id);
    if (!memory.found()) {
        DRAVIK_LOGE("session_memFlush failed! dravik_id=%lu, dravik_mem_id=%lu, ret:%d", dravik_id,
                    mem_id, -1);
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    *_aidl_return = dravikSession_memFlush(memory.session, memory.mem());
    DRAVIK_LOGI("session_memFlush dravik_id=%lu, dravik_mem_id=%lu, ret:%d", dravik_id, mem_id,
                *_aidl_return);
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_memInvalidate(int64_t in_dravik_id, int64_t in_mem_id,
                                                      int32_t* _aidl_return) {
    ScopedTrace trace("session_memInvalidate");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t mem_id = static_cast<uint64_t>(in_mem_id);
    const ResolvedMemory memory = resolveMemory(dravik_id, mem_id);
    if (!memory.found()) {
        DRAVIK_LOGE("session_memInvalidate failed! dravik_id=%lu, dravik_mem_id=%lu", dravik_id,
                    mem_id);
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    *_aidl_return = dravikSession_memInvalidate(memory.session, memory.mem());
    DRAVIK_LOGI("session_memInvalidate dravik_id=%lu, dravik_mem_id=%lu, ret=%d", dravik_id, mem_id,
                *_aidl_return);
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_memGetInfoFromHostPtr(int64_t in_dravik_id,
                                                              int64_t in_mem_id, int32_t in_type,
                                                              int64_t* _aidl_return) {
    ScopedTrace trace("session_memGetInfoFromHostPtr");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t mem_id = static_cast<uint64_t>(in_mem_id);
    const ResolvedMemory memory = resolveMemory(dravik_id, mem_id);
    if (!memory.found()) {
        DRAVIK_LOGE("session_memGetInfoFromHostPtr failed! dravik_id=%lu, dravik_mem_id=%lu",
                    dravik_id, mem_id);
        *_aidl_return = 0;
        return ndk::ScopedAStatus::ok();
    }
    *_aidl_return = dravikSession_memGetInfoFromHostPtr(memory.session, memory.mem(), in_type);
    DRAVIK_LOGI("session_memGetInfoFromHostPtr dravik_id=%lu, dravik_mem_id=%lu", dravik_id,
                mem_id);
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_memSetParamViaHostPtr(int64_t in_dravik_id,
                                                              int64_t in_mem_id, int32_t in_type,
                                                              int64_t in_value,
                                                              int32_t* _aidl_return) {
    ScopedTrace trace("session_memSetParamViaHostPtr");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t mem_id = static_cast<uint64_t>(in_mem_id);
    const ResolvedMemory memory = resolveMemory(dravik_id, mem_id);
    if (!memory.found()) {
        DRAVIK_LOGE("session_memSetParamViaHostPtr failed dravik_id=%lu, dravik_mem_id=%lu",
                    dravik_id, mem_id);
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    *_aidl_return =
            dravikSession_memSetParamViaHostPtr(memory.session, memory.mem(), in_type, in_value);
    DRAVIK_LOGI("session_memSetParamViaHostPtr dravik_id=%lu, dravik_mem_id=%lu, ret:%d", dravik_id,
                mem_id, *_aidl_return);
    return ndk::ScopedAStatus::ok();
}

// Each call hands the client a new duplicate of the driver's descriptor. A failure hands it
// descriptor 0, not an empty holder: clients have always been given that. The reply's holder then
// closes this process's descriptor 0 once the reply is written; that too is kept deliberately.
ndk::ScopedAStatus TovanDravik::session_memGetFdFromHostPtr(
        int64_t in_dravik_id, int64_t in_mem_id, int32_t in_type,
        ndk::ScopedFileDescriptor* _aidl_return) {
    ScopedTrace trace("session_memGetFdFromHostPtr");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t mem_id = static_cast<uint64_t>(in_mem_id);
    const ResolvedMemory memory = resolveMemory(dravik_id, mem_id);
    if (!memory.found()) {
        DRAVIK_LOGE("session_memGetFdFromHostPtr failed! dravik_id=%lu, dravik_mem_id=%lu",
                    dravik_id, mem_id);
        _aidl_return->set(0);
        return ndk::ScopedAStatus::ok();
    }
    // The driver keeps tmp_fd open; which descriptor the type yields is the client's choice.
    const int tmp_fd = static_cast<int>(
            dravikSession_memGetInfoFromHostPtr(memory.session, memory.mem(), in_type));
    const int dup_fd = dup(tmp_fd);
    _aidl_return->set(dup_fd);
    DRAVIK_LOGI(
            "session_memGetFdFromHostPtr dravik_id=%lu, dravik_mem_id=%lu, tmp_fd=%d, dup_fd=%d",
            dravik_id, mem_id, tmp_fd, dup_fd);
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
