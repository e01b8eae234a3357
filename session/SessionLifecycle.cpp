// Opening and closing driver sessions, and the sweep of everything still filed under a session.
#include <unistd.h>

#include <algorithm>
#include <thread>

#include "service/Logging.h"
#include "service/TovanDravik.h"
#include "service/Trace.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

ndk::ScopedAStatus TovanDravik::session_createInstance(int64_t* _aidl_return) {
    ScopedTrace trace("session_createInstance");
    dravik_session* session = dravikSession_createInstance();
    if (session == nullptr) {
        DRAVIK_LOGE("createInstance failed");
        *_aidl_return = 0;
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    const uint64_t id = generateDravikId(session);
    DRAVIK_LOGI("session_createInstance dravik_id=%lu", id);

    std::lock_guard<std::mutex> guard(pid_sessions_lock);
    const int32_t pid = AIBinder_getCallingPid();
    {
        // Deletion edits the lists under session_lock alone, so every access holds it too.
        std::lock_guard<std::mutex> session_guard(session_lock);
        auto [entry, created] = pid_sessions.try_emplace(pid, nullptr);
        if (created) entry->second = new std::vector<uint64_t>();
        entry->second->push_back(id);
    }
    *_aidl_return = static_cast<int64_t>(id);
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_deleteInstance(int64_t in_dravik_id,
                                                       int32_t* _aidl_return) {
    ScopedTrace trace("session_deleteInstance");
    const uint64_t id = static_cast<uint64_t>(in_dravik_id);
    // Held for the whole deletion, including the wait for a typed run in flight.
    std::lock_guard<std::mutex> guard(session_lock);

    auto registered = session_table.find(id);
    if (registered == session_table.end()) {
        DRAVIK_LOGE("deleteInstance failed dravik_id=%lu not found", id);
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    dravik_session* session = registered->second;
    if (session == nullptr) {
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }

    std::thread gate_waiter(&TovanDravik::checkRunwithtypeFlag, this, id);
    gate_waiter.join();

    releaseSessionResources(id, session);

    const int32_t result = dravikSession_deleteInstance(session);
    if (result != 0) {
        // The session stays registered with nothing left in it; nothing is rolled back.
        *_aidl_return = result;
        return ndk::ScopedAStatus::ok();
    }
    session_table.erase(registered);
    // Deliberately without pid_sessions_lock, and for the calling pid, which is not the session's
    // creator when a dead client's sessions are released.
    removeFromClientSessions(AIBinder_getCallingPid(), id);
    DRAVIK_LOGI("deleteInstance dravik_id=%lu", id);
    *_aidl_return = 0;
    return ndk::ScopedAStatus::ok();
}

void TovanDravik::releaseSessionResources(uint64_t dravik_id, dravik_session* session) {
    // Memory, command buffers, commands, sub-commands: one table lock at a time, in this order.
    // Driver results are ignored. Shared memory is filed under kSharedOwner and stays.
    {
        std::lock_guard<std::mutex> guard(mem_lock);
        mem_table.eraseOwner(dravik_id, [session](uint64_t, MemInfo* info) {
            if (info == nullptr) return;
            if (info->newfd >= 1) {
                dravikSession_memUnImport(session, static_cast<dravik_mem*>(info->mem));
                close(info->newfd);
            } else {
                dravikSession_memFree(session, static_cast<dravik_mem*>(info->mem));
            }
            delete info;
        });
    }
    {
        std::lock_guard<std::mutex> guard(cmd_buf_lock);
        cmd_buf_table.eraseOwner(dravik_id, [session](uint64_t, void* cmd_buf) {
            dravikSession_cmdBufFree(session, static_cast<dravik_mem*>(cmd_buf));
        });
    }
    {
        std::lock_guard<std::mutex> guard(cmd_lock);
        cmd_table.eraseOwner(dravik_id, [session](uint64_t, dravik_cmd* cmd) {
            dravikSession_deleteCmd(session, cmd);
        });
    }
    {
        // Sub-commands go with their commands in the driver.
        std::lock_guard<std::mutex> guard(subcmd_lock);
        subcmd_table.eraseOwner(dravik_id, [](uint64_t, dravik_subcmd*) {});
    }
}

void TovanDravik::removeFromClientSessions(int32_t pid, uint64_t dravik_id) {
    auto entry = pid_sessions.find(pid);
    if (entry == pid_sessions.end()) return;
    std::vector<uint64_t>& sessions = *entry->second;
    auto found = std::find(sessions.begin(), sessions.end(), dravik_id);
    if (found == sessions.end()) return;
    sessions.erase(found);
    if (!sessions.empty()) return;
    delete entry->second;
    pid_sessions.erase(entry);
    DRAVIK_LOGI("dravikSession_deleteInstance session from pid:%d all released.", pid);
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
