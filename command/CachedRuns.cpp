// A run with the cache maintenance around it in one call: flush, run, invalidate. Every step is a
// call of the service's own remote method, so it behaves exactly as the separate calls would,
// with their locks, logs, trace sections and results.
#include "service/Logging.h"
#include "service/TovanDravik.h"
#include "service/Trace.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

namespace {
constexpr int32_t kCmdParamClientPid = 3;
constexpr int32_t kRunInfoExtensionId = 2;

// A step failed when its result is not 0, or else when its status is missing or not OK.
bool stepFailed(int32_t ret, const ndk::ScopedAStatus& status) {
    return ret != 0 || !status.isOk();
}

// The extended run always answers one element, appended to whatever the list holds.
void appendAnswer(std::vector<int64_t>* out, int64_t value) {
    if (out->capacity() == 0) out->reserve(1);
    out->push_back(value);
}
}  // namespace

void TovanDravik::runWithCacheMaintenance(int64_t in_dravik_id,
                                          const std::vector<int64_t>& in_flushs,
                                          const CachedRunStep& run,
                                          const std::vector<int64_t>& in_invalidates,
                                          int32_t* ret) {
    for (const int64_t mem_id : in_flushs) {
        if (stepFailed(*ret, session_memFlush(in_dravik_id, mem_id, ret))) return;
    }
    if (stepFailed(*ret, run(ret))) return;
    for (const int64_t mem_id : in_invalidates) {
        if (stepFailed(*ret, session_memInvalidate(in_dravik_id, mem_id, ret))) return;
    }
}

ndk::ScopedAStatus TovanDravik::cmd_cachedAndRun(int64_t in_dravik_id, int64_t in_cmd_id,
                                                 const std::vector<int64_t>& in_flushs,
                                                 const std::vector<int64_t>& in_invalidates,
                                                 int32_t* _aidl_return) {
    ScopedTrace trace("cmd_cachedAndRun");
    runWithCacheMaintenance(
            in_dravik_id, in_flushs,
            [&](int32_t* ret) { return cmd_run(in_dravik_id, in_cmd_id, ret); }, in_invalidates,
            _aidl_return);
    return ndk::ScopedAStatus::ok();
}

// No trace section of its own. The typed run takes part in the run-with-type gate by itself.
ndk::ScopedAStatus TovanDravik::cmd_cachedAndRunWithType(int64_t in_dravik_id, int64_t in_cmd_id,
                                                         const std::vector<int64_t>& in_flushs,
                                                         const std::vector<int64_t>& in_invalidates,
                                                         int32_t in_type, int32_t* _aidl_return) {
    DRAVIK_LOGI(
            "cmd_cachedAndRunWithType dravik_id:%lu cmd_id:%lu type:%d flushs_size:%d, invalidates_size:%d",
            static_cast<uint64_t>(in_dravik_id), static_cast<uint64_t>(in_cmd_id), in_type,
            static_cast<int>(in_flushs.size()), static_cast<int>(in_invalidates.size()));
    runWithCacheMaintenance(
            in_dravik_id, in_flushs,
            [&](int32_t* ret) { return cmd_runWithType(in_dravik_id, in_cmd_id, in_type, ret); },
            in_invalidates, _aidl_return);
    return ndk::ScopedAStatus::ok();
}

// Tags the run with the caller's pid and answers the run's extension id, or 0 on any failure;
// the two cannot be told apart by the client.
ndk::ScopedAStatus TovanDravik::cmd_cachedAndRunWithTypeExt(
        int64_t in_dravik_id, int64_t in_cmd_id, const std::vector<int64_t>& in_flushs,
        const std::vector<int64_t>& in_invalidates, int32_t in_type,
        std::vector<int64_t>* _aidl_return) {
    DRAVIK_LOGI_ALWAYS("cmd_cachedAndRunWithTypeExt");
    int32_t ret = -1;
    const int32_t pid = AIBinder_getCallingPid();
    dravik_cmd* cmd =
            getDravikCmd(static_cast<uint64_t>(in_dravik_id), static_cast<uint64_t>(in_cmd_id));
    if (cmd == nullptr) {
        DRAVIK_LOGE("Invalid cmd");
        appendAnswer(_aidl_return, 0);
        return ndk::ScopedAStatus::ok();
    }
    if (dravikCmd_setParam(cmd, kCmdParamClientPid, static_cast<int64_t>(pid)) != 0) {
        DRAVIK_LOGE("Fail to set pid");
        appendAnswer(_aidl_return, 0);
        return ndk::ScopedAStatus::ok();
    }
    const ndk::ScopedAStatus status = cmd_cachedAndRunWithType(in_dravik_id, in_cmd_id, in_flushs,
                                                               in_invalidates, in_type, &ret);
    if (ret != 0 || !status.isOk()) {
        DRAVIK_LOGE("cmd_cachedAndRunWithType error. ret = %d", ret);
        appendAnswer(_aidl_return, 0);
        return ndk::ScopedAStatus::ok();
    }
    const int64_t ext_id = dravikCmd_getRunInfo(cmd, kRunInfoExtensionId);
    DRAVIK_LOGI_ALWAYS("cmd_cachedAndRunWithTypeExt - ext_id: %ld", ext_id);
    appendAnswer(_aidl_return, ext_id);
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
