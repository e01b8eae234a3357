// The run-with-type gate: a session is not torn down while a typed run of one of its commands is in
// the driver. The flag is per session, not a counter: the first typed run to return opens the gate.
#include <chrono>

#include "service/Logging.h"
#include "service/TovanDravik.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

namespace {
constexpr std::chrono::nanoseconds kRunWithTypeWaitLimit{3'000'000'000};
}  // namespace

void TovanDravik::setRunwithtypeFlagFromDravikId(uint64_t dravik_id, uint32_t flag) {
    {
        std::lock_guard<std::recursive_mutex> guard(run_flag_lock);
        run_flags[dravik_id] = flag;
        DRAVIK_LOGD("setRunwithtypeFlagFromDravikId dravik_id:%lu run_flag:%u", dravik_id, flag);
    }
    run_flag_cv.notify_all();
}

uint32_t TovanDravik::getRunwithtypeFlagFromDravikId(uint64_t dravik_id) {
    std::lock_guard<std::recursive_mutex> guard(run_flag_lock);
    auto found = run_flags.find(dravik_id);
    if (found == run_flags.end()) {
        DRAVIK_LOGE("getRunwithtypeFlagFromDravikId not found, dravik_id:%lu", dravik_id);
        return 0;
    }
    return found->second;
}

bool TovanDravik::checkCondition(uint64_t dravik_id) {
    return run_flags[dravik_id] == 2;
}

void TovanDravik::checkRunwithtypeFlag(uint64_t dravik_id) {
    std::unique_lock<std::recursive_mutex> lock(run_flag_lock);
    if (getRunwithtypeFlagFromDravikId(dravik_id) != 1) {
        DRAVIK_LOGD("checkRunwithtypeFlag dravik_id:%lu run_flag is not 1, continuing execution...",
                    dravik_id);
        return;
    }
    const auto deadline = std::chrono::steady_clock::now() + kRunWithTypeWaitLimit;
    while (std::chrono::steady_clock::now() < deadline) {
        if (checkCondition(dravik_id)) {
            DRAVIK_LOGD("checkRunwithtypeFlag dravik_id:%lu run_flag is 2...", dravik_id);
            return;
        }
        run_flag_cv.wait_until(lock, deadline);
    }
    if (checkCondition(dravik_id)) {
        DRAVIK_LOGD("checkRunwithtypeFlag dravik_id:%lu run_flag is 2...", dravik_id);
    } else {
        DRAVIK_LOGE("checkRunwithtypeFlag dravik_id:%lu run_flag become 2 timeout", dravik_id);
    }
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
