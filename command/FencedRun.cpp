// The fenced run whose fences travel as native handles. Every descriptor the service makes or
// receives from the driver is closed before it returns, except the one copy that the reply
// carries, and the input fence's duplicate on the unknown-command path, which is deliberately left
// open.
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "interface/NativeHandle.h"
#include "service/Logging.h"
#include "service/TovanDravik.h"
#include "service/Trace.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

namespace {
// The closing rule here is "not negative": a driver answer of 0 counts as a failed run, yet
// descriptor 0 is closed as the driver's answer.
void closeIfNotNegative(int fd) {
    if (fd >= 0) close(fd);
}
}  // namespace

ndk::ScopedAStatus TovanDravik::cmd_runFence_v2(int64_t in_dravik_id, int64_t in_cmd_id,
                                                const NativeHandle& in_in_handle, int64_t in_flags,
                                                NativeHandle* out_out_handle,
                                                int32_t* _aidl_return) {
    ScopedTrace trace("cmd_runFence_v2");
    if (DEBUG_LOG_DRAVIK == 1) {
        // The entry line goes out at error priority on purpose.
        DRAVIK_LOGE("cmd_runFence_v2: dravik_id=%ld, cmd_id=%ld, flags=%ld, in_handle.fds.size=%zu",
                    in_dravik_id, in_cmd_id, in_flags, in_in_handle.fds.size());
    }
    if (out_out_handle == nullptr || _aidl_return == nullptr) {
        // The platform's status number for an unexpected null, used as the exception code.
        return ndk::ScopedAStatus::fromExceptionCode(STATUS_UNEXPECTED_NULL);
    }
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t cmd_id = static_cast<uint64_t>(in_cmd_id);
    dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
    // Only the first descriptor is the input fence; it is duplicated before the command is judged.
    const int in_fd = in_in_handle.fds.empty() ? -1 : dup(in_in_handle.fds.front().get());
    if (cmd == nullptr) {
        DRAVIK_LOGE("cmd_runFence_v2 failed due to cmd nullptr");
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }

    const int out_fence = dravikCmd_runFence(cmd, in_fd, in_flags);
    const int run_error = errno;
    native_handle_t* handle = native_handle_create(out_fence > 0 ? 1 : 0, 0);
    if (handle == nullptr) {
        const int error = errno;
        DRAVIK_LOGE("native_handle_create failed errno(%d/%s)", error, strerror(error));
        closeIfNotNegative(in_fd);
        closeIfNotNegative(out_fence);
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    if (out_fence < 1) {
        DRAVIK_LOGE("cmd_runFence_v2 failed errno(%d/%s)", run_error, strerror(run_error));
    } else {
        handle->data[0] = dup(out_fence);
        DRAVIK_LOGI(
                "cmd_runFence_v2 dravik_id=%lu, cmd_id=%lu, out_fence=%d, out_native_handle->data[0]=%d",
                dravik_id, cmd_id, out_fence, handle->data[0]);
    }
    *_aidl_return = out_fence;
    *out_out_handle = ::android::dupToAidl(handle);
    native_handle_close(handle);
    native_handle_delete(handle);
    closeIfNotNegative(in_fd);
    closeIfNotNegative(out_fence);
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
