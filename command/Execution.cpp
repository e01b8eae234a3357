// Running a built command: synchronously, with a run type under the gate, asynchronously with a
// wait, and with a fence.
#include "command/DriverCall.h"
#include "service/Logging.h"
#include "service/TovanDravik.h"
#include "service/Trace.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

ndk::ScopedAStatus TovanDravik::cmd_run(int64_t in_dravik_id, int64_t in_cmd_id,
                                        int32_t* _aidl_return) {
    ScopedTrace trace("cmd_run");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t cmd_id = static_cast<uint64_t>(in_cmd_id);
    dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
    *_aidl_return = callDriver(
            cmd != nullptr, "dravikCmd_run failed due to cmd nullptr",
            "dravikCmd_run failed errno(%d/%s)", [&] { return dravikCmd_run(cmd); },
            [&] {
                DRAVIK_LOGI("dravikCmd_run dravik_id=%lu, cmd_id=%lu, ret:%d", dravik_id, cmd_id,
                            0);
            });
    return ndk::ScopedAStatus::ok();
}

// No trace section of its own. The session's run flag says 1 while the run is in the driver and
// 2 once it has returned, whatever the result, so that a deletion of the session waits for it.
ndk::ScopedAStatus TovanDravik::cmd_runWithType(int64_t in_dravik_id, int64_t in_cmd_id,
                                                int32_t in_type, int32_t* _aidl_return) {
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t cmd_id = static_cast<uint64_t>(in_cmd_id);
    dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
    if (cmd == nullptr) {
        DRAVIK_LOGE("dravikCmd_run failed due to cmd nullptr");
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    setRunwithtypeFlagFromDravikId(dravik_id, 1);
    const int32_t result = callDriver(
            true, "", "dravikCmd_run failed errno(%d/%s)",
            [&] { return dravikCmd_runWithType(cmd, in_type); },
            [&] {
                DRAVIK_LOGI("dravikCmd_run dravik_id=%lu, cmd_id=%lu, type=%u, ret=%d", dravik_id,
                            cmd_id, static_cast<uint32_t>(in_type), 0);
            });
    setRunwithtypeFlagFromDravikId(dravik_id, 2);
    *_aidl_return = result;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_runAsync(int64_t in_dravik_id, int64_t in_cmd_id,
                                             int32_t* _aidl_return) {
    ScopedTrace trace("cmd_runAsync");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t cmd_id = static_cast<uint64_t>(in_cmd_id);
    dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
    *_aidl_return = callDriver(
            cmd != nullptr, "cmd_runAsync failed due to cmd nullptr",
            "cmd_runAsync failed errno(%d/%s)", [&] { return dravikCmd_runAsync(cmd); },
            [&] {
                DRAVIK_LOGI("cmd_runAsync dravik_id=%lu, cmd_id=%lu, ret=%d", dravik_id, cmd_id, 0);
            });
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_wait(int64_t in_dravik_id, int64_t in_cmd_id,
                                         int32_t* _aidl_return) {
    ScopedTrace trace("cmd_wait");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t cmd_id = static_cast<uint64_t>(in_cmd_id);
    dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
    // A command never started is the driver's to judge.
    *_aidl_return = callDriver(
            cmd != nullptr, "cmd_wait failed due to cmd nullptr", "cmd_wait failed errno(%d/%s)",
            [&] { return dravikCmd_wait(cmd); },
            [&] {
                DRAVIK_LOGI("cmd_wait dravik_id=%lu, cmd_id=%lu, ret=%d", dravik_id, cmd_id, 0);
            });
    return ndk::ScopedAStatus::ok();
}

// The fence descriptor goes back in ret as a plain number: the caller owns it. A result of 0 is
// logged as a failure and still returned as it is.
ndk::ScopedAStatus TovanDravik::cmd_runFence(int64_t in_dravik_id, int64_t in_cmd_id,
                                             int32_t in_fence_fd, int64_t in_flags,
                                             int32_t* _aidl_return) {
    ScopedTrace trace("cmd_runFence");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t cmd_id = static_cast<uint64_t>(in_cmd_id);
    dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
    if (cmd == nullptr) {
        DRAVIK_LOGE("cmd_runFence failed due to cmd nullptr");
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    const int32_t fence = dravikCmd_runFence(cmd, in_fence_fd, in_flags);
    if (fence >= 1) {
        DRAVIK_LOGI("cmd_runFence dravik_id=%lu, cmd_id=%lu, ret=%d", dravik_id, cmd_id, fence);
    } else {
        const int error = errno;
        DRAVIK_LOGE("cmd_runFence failed errno(%d/%s)", error, strerror(error));
    }
    *_aidl_return = fence;
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
