// Parameters of commands and sub-commands, singly and in batches, and command buffers attached to
// sub-commands. The service passes types and values on without reading them.
#include "command/DriverCall.h"
#include "service/Logging.h"
#include "service/TovanDravik.h"
#include "service/Trace.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

ndk::ScopedAStatus TovanDravik::cmd_setParam(int64_t in_dravik_id, int64_t in_cmd_id,
                                             int32_t in_type, int64_t in_value,
                                             int32_t* _aidl_return) {
    ScopedTrace trace("cmd_setParam");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t cmd_id = static_cast<uint64_t>(in_cmd_id);
    dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
    *_aidl_return = callDriver(
            cmd != nullptr, "cmd_setParam failed due to dravik_cmd nullptr",
            "dravikCmd_setParam failed errno(%d/%s)",
            [&] { return dravikCmd_setParam(cmd, in_type, in_value); },
            [&] {
                DRAVIK_LOGI("cmd_setParam dravik_id=%lu, cmd_id=%lu, ret:%d", dravik_id, cmd_id, 0);
            });
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::subCmd_setParam(int64_t in_dravik_id, int64_t in_sub_cmd_id,
                                                int32_t in_type, int64_t in_value,
                                                int32_t* _aidl_return) {
    ScopedTrace trace("subCmd_setParam");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t sub_cmd_id = static_cast<uint64_t>(in_sub_cmd_id);
    dravik_subcmd* sub_cmd = getDravikSubCmd(dravik_id, sub_cmd_id);
    *_aidl_return = callDriver(
            sub_cmd != nullptr, "subCmd_setParam failed due to sub_cmd nullptr!",
            "dravikSubCmd_setParam failed errno(%d/%s)",
            [&] { return dravikSubCmd_setParam(sub_cmd, in_type, in_value); },
            [&] {
                DRAVIK_LOGI("dravikSubCmd_setParam dravik_id=%lu, sub_cmd_id=%lu, ret=%d",
                            dravik_id, sub_cmd_id, 0);
            });
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::subCmd_addCmdBuf(int64_t in_dravik_id, int64_t in_sub_cmd_id,
                                                 int64_t in_cmd_buf_id, int32_t in_mode,
                                                 int32_t* _aidl_return) {
    ScopedTrace trace("subCmd_addCmdBuf");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t sub_cmd_id = static_cast<uint64_t>(in_sub_cmd_id);
    const uint64_t cmd_buf_id = static_cast<uint64_t>(in_cmd_buf_id);
    // Both looked up before either is judged.
    dravik_subcmd* sub_cmd = getDravikSubCmd(dravik_id, sub_cmd_id);
    void* cmd_buf = getDravikCmdBuf(dravik_id, cmd_buf_id);
    // The texts name subCmd_setParam and begin with a capital S; they are kept so.
    *_aidl_return = callDriver(
            sub_cmd != nullptr && cmd_buf != nullptr,
            "subCmd_setParam failed due to sub_cmd or cmd_buf nullptr!",
            "dravikSubCmd_addCmdBuf failed errno(%d/%s)",
            [&] {
                return dravikSubCmd_addCmdBuf(sub_cmd, static_cast<dravik_mem*>(cmd_buf), in_mode);
            },
            [&] {
                DRAVIK_LOGI("SubCmd_addCmdBuf dravik_id:%lu sub_cmd_id:%lu cmd_buf_id:%lu, ret:%d",
                            dravik_id, sub_cmd_id, cmd_buf_id, 0);
            });
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_setParams(int64_t in_dravik_id,
                                              const std::vector<DRAVIK_CMD_PARAMS_HD>& in_params,
                                              int32_t* _aidl_return) {
    ScopedTrace trace("cmd_setParams");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    if (getDravikSession(dravik_id) == nullptr) {
        DRAVIK_LOGE("cmd_setParams invalid dravik_id:%lu", dravik_id);
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    // Records before a failing one stay applied: there is no rollback.
    for (const DRAVIK_CMD_PARAMS_HD& param : in_params) {
        const uint64_t cmd_id = static_cast<uint64_t>(param.cmd_id);
        dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
        if (cmd == nullptr) {
            DRAVIK_LOGE("cmd_setParams invalid cmd_id:%lu", cmd_id);
            *_aidl_return = -1;
            return ndk::ScopedAStatus::ok();
        }
        if (dravikCmd_setParam(cmd, param.type, param.value) != 0) {
            DRAVIK_LOGE("cmd_setParams dravik_id:%lu cmd_id:%lu type:%d value:%lu failed!",
                        dravik_id, cmd_id, param.type, static_cast<uint64_t>(param.value));
            *_aidl_return = -1;
            return ndk::ScopedAStatus::ok();
        }
        DRAVIK_LOGI("cmd_setParams dravik_id:%lu cmd_id:%lu type:%d value:%lu success!", dravik_id,
                    cmd_id, param.type, static_cast<uint64_t>(param.value));
    }
    *_aidl_return = 0;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::subCmd_setParams(
        int64_t in_dravik_id, const std::vector<DRAVIK_SUBCMD_PARAMS_HD>& in_params,
        int32_t* _aidl_return) {
    ScopedTrace trace("subCmd_setParams");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    if (getDravikSession(dravik_id) == nullptr) {
        DRAVIK_LOGE("subCmd_setParams invalid dravik_id:%lu", dravik_id);
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    for (const DRAVIK_SUBCMD_PARAMS_HD& param : in_params) {
        const uint64_t sub_cmd_id = static_cast<uint64_t>(param.sub_cmd_id);
        dravik_subcmd* sub_cmd = getDravikSubCmd(dravik_id, sub_cmd_id);
        if (sub_cmd == nullptr) {
            DRAVIK_LOGE("subCmd_setParams invalid sub_cmd_id:%lu", sub_cmd_id);
            *_aidl_return = -1;
            return ndk::ScopedAStatus::ok();
        }
        if (dravikSubCmd_setParam(sub_cmd, param.type, param.value) != 0) {
            DRAVIK_LOGE("subCmd_setParams dravik_id:%lu sub_cmd_id:%lu type:%d value:%lu failed!",
                        dravik_id, sub_cmd_id, param.type, static_cast<uint64_t>(param.value));
            *_aidl_return = -1;
            return ndk::ScopedAStatus::ok();
        }
        DRAVIK_LOGI("subCmd_setParams dravik_id:%lu sub_cmd_id:%lu type:%d value:%lu success!",
                    dravik_id, sub_cmd_id, param.type, static_cast<uint64_t>(param.value));
    }
    *_aidl_return = 0;
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
