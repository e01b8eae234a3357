// Figures about runs, singly and in batches. A value is never judged: an id that does not resolve
// answers 0, which a client cannot tell from a driver's 0.
#include "service/Logging.h"
#include "service/TovanDravik.h"
#include "service/Trace.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

ndk::ScopedAStatus TovanDravik::cmd_getRunInfo(int64_t in_dravik_id, int64_t in_cmd_id,
                                               int32_t in_type, int64_t* _aidl_return) {
    ScopedTrace trace("cmd_getRunInfo");
    dravik_cmd* cmd =
            getDravikCmd(static_cast<uint64_t>(in_dravik_id), static_cast<uint64_t>(in_cmd_id));
    if (cmd == nullptr) {
        *_aidl_return = 0;
        DRAVIK_LOGE("cmd_getRunInfo failed due to cmd nullptr!");
        return ndk::ScopedAStatus::ok();
    }
    *_aidl_return = dravikCmd_getRunInfo(cmd, in_type);
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::subCmd_getRunInfo(int64_t in_dravik_id, int64_t in_sub_cmd_id,
                                                  int32_t in_type, int64_t* _aidl_return) {
    ScopedTrace trace("subCmd_getRunInfo");
    dravik_subcmd* sub_cmd = getDravikSubCmd(static_cast<uint64_t>(in_dravik_id),
                                             static_cast<uint64_t>(in_sub_cmd_id));
    if (sub_cmd == nullptr) {
        *_aidl_return = 0;
        DRAVIK_LOGE("subCmd_getRunInfo failed due to sub_cmd nullptr!");
        return ndk::ScopedAStatus::ok();
    }
    *_aidl_return = dravikSubCmd_getRunInfo(sub_cmd, in_type);
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_getRunInfos(
        int64_t in_dravik_id, const std::vector<DRAVIK_CMD_RUNINFO_PARAMS_HD>& in_params,
        std::vector<int64_t>* _aidl_return) {
    ScopedTrace trace("cmd_getRunInfos");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    dravik_session* session = getDravikSession(dravik_id);
    _aidl_return->reserve(in_params.size());
    if (session == nullptr) {
        DRAVIK_LOGE("cmd_getRunInfos invalid dravik_id:%lu", dravik_id);
        _aidl_return->push_back(-1);
        return ndk::ScopedAStatus::fromExceptionCode(EX_NULL_POINTER);
    }
    for (const DRAVIK_CMD_RUNINFO_PARAMS_HD& query : in_params) {
        const uint64_t cmd_id = static_cast<uint64_t>(query.cmd_id);
        dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
        if (cmd == nullptr) {
            DRAVIK_LOGE("cmd_getRunInfos invalid cmd_id:%lu", cmd_id);
            _aidl_return->push_back(0);
            continue;
        }
        _aidl_return->push_back(dravikCmd_getRunInfo(cmd, query.type));
        DRAVIK_LOGI("cmd_getRunInfos dravik_id:%lu cmd_id:%lu type:%d ret:%lu success!", dravik_id,
                    cmd_id, query.type, static_cast<uint64_t>(_aidl_return->back()));
    }
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::subCmd_getRunInfos(
        int64_t in_dravik_id, const std::vector<DRAVIK_SUBCMD_RUNINFO_PARAMS_HD>& in_params,
        std::vector<int64_t>* _aidl_return) {
    ScopedTrace trace("subCmd_getRunInfos");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    dravik_session* session = getDravikSession(dravik_id);
    _aidl_return->reserve(in_params.size());
    if (session == nullptr) {
        DRAVIK_LOGE("subCmd_getRunInfos invalid dravik_id:%lu", dravik_id);
        _aidl_return->push_back(-1);
        return ndk::ScopedAStatus::fromExceptionCode(EX_NULL_POINTER);
    }
    for (const DRAVIK_SUBCMD_RUNINFO_PARAMS_HD& query : in_params) {
        const uint64_t sub_cmd_id = static_cast<uint64_t>(query.sub_cmd_id);
        dravik_subcmd* sub_cmd = getDravikSubCmd(dravik_id, sub_cmd_id);
        if (sub_cmd == nullptr) {
            DRAVIK_LOGE("subCmd_getRunInfos invalid sub_cmd_id:%lu", sub_cmd_id);
            _aidl_return->push_back(0);
            continue;
        }
        _aidl_return->push_back(dravikSubCmd_getRunInfo(sub_cmd, query.type));
        DRAVIK_LOGI("subCmd_getRunInfos dravik_id:%lu sub_cmd_id:%lu type:%d ret:%lu success!",
                    dravik_id, sub_cmd_id, query.type, static_cast<uint64_t>(_aidl_return->back()));
    }
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
