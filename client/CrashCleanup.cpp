// Releasing the sessions of a client process that died without deleting them.
#include <optional>

#include "service/Logging.h"
#include "service/TovanDravik.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

std::optional<uint64_t> TovanDravik::firstClientSession(int32_t pid) {
    std::lock_guard<std::mutex> guard(session_lock);
    auto entry = pid_sessions.find(pid);
    if (entry == pid_sessions.end() || entry->second->empty()) return std::nullopt;
    return entry->second->front();
}

int32_t TovanDravik::releaseCrashClient(int32_t pid) {
    std::lock_guard<std::mutex> guard(pid_sessions_lock);
    {
        std::lock_guard<std::mutex> session_guard(session_lock);
        if (pid_sessions.find(pid) == pid_sessions.end()) {
            DRAVIK_LOGE("releaseCrashClient pid:%d not found!", pid);
            return -1;
        }
    }
    int32_t last_result = -1;
    while (std::optional<uint64_t> id = firstClientSession(pid)) {
        int32_t result = 0;
        // Through the virtual method, as a client would reach it; its status is not needed.
        (void)session_deleteInstance(static_cast<int64_t>(*id), &result);
        if (result != 0) {
            DRAVIK_LOGE("releaseCrashClient delete session:%lu failed!", *id);
            last_result = -1;
        } else {
            DRAVIK_LOGI("releaseCrashClient delete session:%lu success!", *id);
            last_result = 0;
        }
        // A failed session leaves the list here but stays in the session registry. The deletion
        // edits the calling pid's list, which is this one only when the death is delivered in
        // the client's own process: then the id may be gone already.
        std::lock_guard<std::mutex> session_guard(session_lock);
        auto entry = pid_sessions.find(pid);
        if (entry == pid_sessions.end()) break;
        std::vector<uint64_t>& sessions = *entry->second;
        if (!sessions.empty() && sessions.front() == *id) sessions.erase(sessions.begin());
    }
    std::lock_guard<std::mutex> session_guard(session_lock);
    auto entry = pid_sessions.find(pid);
    if (entry != pid_sessions.end()) {
        delete entry->second;
        pid_sessions.erase(entry);
    }
    return last_result;
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
