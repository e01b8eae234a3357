// Command buffers: driver memory that a client fills with the work of one sub-command.
#include <unistd.h>

#include "service/Logging.h"
#include "service/TovanDravik.h"
#include "service/Trace.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

namespace {
constexpr int32_t kInfoKindDescriptor = 2;
}  // namespace

ndk::ScopedAStatus TovanDravik::fileCommandBuffer(uint64_t dravik_id, dravik_session* session,
                                                  dravik_mem* cmd_buf, int32_t size,
                                                  DRAVIK_CMDBUF_INFO_HD* out, int64_t* tmp_fd) {
    // Filed before the descriptor is fetched: after a failure only the session's sweep frees it.
    const uint64_t id = generateDravikCmdBufId(dravik_id, cmd_buf);
    *tmp_fd = dravikSession_memGetInfoFromHostPtr(session, cmd_buf, kInfoKindDescriptor);
    if (*tmp_fd == 0) {
        DRAVIK_LOGE("dravikSession_memGetInfoFromHostPtr failed,return:%lu", 0UL);
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    out->size = size;
    // The driver keeps tmp_fd; the client gets a duplicate of its own.
    out->fds.emplace_back(dup(static_cast<int>(*tmp_fd)));
    out->cmd_buf_id = static_cast<int64_t>(id);
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_cmdBufAlloc(int64_t in_dravik_id, int32_t in_size,
                                                    int32_t in_align,
                                                    DRAVIK_CMDBUF_INFO_HD* _aidl_return) {
    ScopedTrace trace("session_cmdBufAlloc");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    dravik_session* session = getDravikSession(dravik_id);
    if (session == nullptr) {
        DRAVIK_LOGE("session_cmdBufAlloc failed due to session nullptr!");
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    dravik_mem* cmd_buf = dravikSession_cmdBufAlloc(session, in_size, in_align);
    if (cmd_buf == nullptr) {
        DRAVIK_LOGE("session_cmdBufAlloc failed return nullptr!");
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    int64_t tmp_fd = 0;
    ndk::ScopedAStatus status =
            fileCommandBuffer(dravik_id, session, cmd_buf, in_size, _aidl_return, &tmp_fd);
    if (!status.isOk()) return status;
    DRAVIK_LOGI("session_cmdBufAlloc tmp_fd:%lu cmd_buf_id:%lu size:%u align:%u",
                static_cast<uint64_t>(tmp_fd), static_cast<uint64_t>(_aidl_return->cmd_buf_id),
                in_size, in_align);
    return status;
}

ndk::ScopedAStatus TovanDravik::session_cmdBufAllocWithName(int64_t in_dravik_id, int32_t in_size,
                                                            int32_t in_align,
                                                            const std::string& in_name,
                                                            int64_t in_extra,
                                                            DRAVIK_CMDBUF_INFO_HD* _aidl_return) {
    ScopedTrace trace("session_cmdBufAllocWithName");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    dravik_session* session = getDravikSession(dravik_id);
    if (session == nullptr) {
        DRAVIK_LOGE("session_cmdBufAllocWithName failed due to session nullptr!");
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    dravik_mem* cmd_buf = dravikSession_cmdBufAllocWithName(session, in_size, in_align,
                                                            in_name.c_str(), in_extra);
    if (cmd_buf == nullptr) {
        DRAVIK_LOGE("session_cmdBufAllocWithName failed return nullptr!");
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    int64_t tmp_fd = 0;
    ndk::ScopedAStatus status =
            fileCommandBuffer(dravik_id, session, cmd_buf, in_size, _aidl_return, &tmp_fd);
    if (!status.isOk()) return status;
    DRAVIK_LOGI("session_cmdBufAllocWithName tmp_fd:%lu cmd_buf_id:%lu size:%u align:%u",
                static_cast<uint64_t>(tmp_fd), static_cast<uint64_t>(_aidl_return->cmd_buf_id),
                in_size, in_align);
    return status;
}

ndk::ScopedAStatus TovanDravik::session_cmdBufFree(int64_t in_dravik_id, int64_t in_cmd_buf_id,
                                                   int32_t* _aidl_return) {
    ScopedTrace trace("session_cmdBufFree");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t cmd_buf_id = static_cast<uint64_t>(in_cmd_buf_id);
    dravik_session* session = getDravikSession(dravik_id);
    // Looked up even without a session.
    void* cmd_buf = getDravikCmdBuf(dravik_id, cmd_buf_id);
    if (session == nullptr || cmd_buf == nullptr) {
        DRAVIK_LOGE("session_cmdBufFree failed dravik_id=%lu, cmd_buf_id=%lu", dravik_id,
                    cmd_buf_id);
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    const int32_t ret = dravikSession_cmdBufFree(session, static_cast<dravik_mem*>(cmd_buf));
    DRAVIK_LOGI("session_cmdBufFree dravik_id:%lu cmd_buf_id:%lu, ret:%d", dravik_id, cmd_buf_id,
                ret);
    if (ret == 0) eraseDravikCmdBuf(dravik_id, cmd_buf_id);
    *_aidl_return = ret;
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
