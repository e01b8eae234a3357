// Making commands in a session, removing them, and adding sub-commands to them.
#include "service/DeviceTypes.h"
#include "service/Logging.h"
#include "service/TovanDravik.h"
#include "service/Trace.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

ndk::ScopedAStatus TovanDravik::session_createCmd(int64_t in_dravik_id, int64_t* _aidl_return) {
    ScopedTrace trace("session_createCmd");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    dravik_session* session = getDravikSession(dravik_id);
    if (session == nullptr) {
        DRAVIK_LOGE("session_createCmd failed due to session nullptr!");
        *_aidl_return = 0;
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    dravik_cmd* cmd = dravikSession_createCmd(session);
    if (cmd == nullptr) {
        DRAVIK_LOGE("session_createCmd failed return nullptr!");
        *_aidl_return = 0;
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    const uint64_t cmd_id = generateDravikCmdId(dravik_id, cmd);
    DRAVIK_LOGI("session_createCmd %s dravik_id:%lu cmd_id:%lu!", "session_createCmd", dravik_id,
                cmd_id);
    *_aidl_return = static_cast<int64_t>(cmd_id);
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_deleteCmd(int64_t in_dravik_id, int64_t in_cmd_id,
                                                  int32_t* _aidl_return) {
    ScopedTrace trace("session_deleteCmd");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t cmd_id = static_cast<uint64_t>(in_cmd_id);
    dravik_session* session = getDravikSession(dravik_id);
    // Looked up even without a session.
    dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
    if (session == nullptr || cmd == nullptr) {
        DRAVIK_LOGE("session_deleteCmd failed dravik_id=%lu, cmd_id=%lu", dravik_id, cmd_id);
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    const int32_t ret = dravikSession_deleteCmd(session, cmd);
    DRAVIK_LOGI("session_deleteCmd dravik_id=%lu, cmd_id=%lu, ret:%d", dravik_id, cmd_id, ret);
    // A command the driver refused to delete stays registered; its sub-commands stay either way.
    if (ret == 0) eraseDravikCmd(dravik_id, cmd_id);
    *_aidl_return = ret;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_createSubcmd(int64_t in_dravik_id, int64_t in_cmd_id,
                                                 int32_t in_type, int64_t* _aidl_return) {
    ScopedTrace trace("cmd_createSubcmd");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t cmd_id = static_cast<uint64_t>(in_cmd_id);
    // The command is looked up before the type is judged.
    dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
    if (!isDravikDeviceType(in_type)) {
        DRAVIK_LOGE("non dravik device type");
        *_aidl_return = 0;
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    if (cmd == nullptr) {
        // The out value is left as the caller gave it.
        DRAVIK_LOGE("dravikCmd_createSubcmd failed due to cmd nullptr!");
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    dravik_subcmd* sub_cmd = dravikCmd_createSubcmd(cmd, in_type);
    if (sub_cmd == nullptr) {
        DRAVIK_LOGE("dravikCmd_createSubcmd failed return nullptr!");
        *_aidl_return = 0;
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    const uint64_t sub_cmd_id = generateDravikSubCmdId(dravik_id, sub_cmd);
    DRAVIK_LOGI("%s dravik_id:%lu cmd_id:%lu sub_cmd_id:%lu!", "cmd_createSubcmd", dravik_id,
                cmd_id, sub_cmd_id);
    *_aidl_return = static_cast<int64_t>(sub_cmd_id);
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
