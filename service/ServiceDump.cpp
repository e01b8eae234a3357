// The service's state as text, for the platform's dumpsys. Each table is copied or counted under
// its own lock alone, then written without any lock held, so a slow reader stalls nobody.
#include <unistd.h>

#include <cerrno>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "service/DebugConfig.h"
#include "service/TovanDravik.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

namespace {

bool writeAll(int fd, const std::string& text) {
    size_t written = 0;
    while (written < text.size()) {
        const ssize_t result = write(fd, text.data() + written, text.size() - written);
        if (result < 0 && errno == EINTR) continue;
        if (result <= 0) return false;
        written += static_cast<size_t>(result);
    }
    return true;
}

}  // namespace

binder_status_t TovanDravik::dump(int fd, const char** /*args*/, uint32_t /*num_args*/) {
    size_t sessions = 0;
    std::map<int32_t, std::vector<uint64_t>> sessions_by_pid;
    {
        // Deletion edits the per-client lists under session_lock, so that is the lock to read them.
        std::lock_guard<std::mutex> guard(session_lock);
        sessions = session_table.size();
        for (const auto& [pid, list] : pid_sessions) sessions_by_pid[pid] = *list;
    }
    size_t memory_entries = 0;
    size_t shared_memory_entries = 0;
    {
        std::lock_guard<std::mutex> guard(mem_lock);
        memory_entries = mem_table.size();
        shared_memory_entries = mem_table.ownerSize(kSharedOwner);
    }
    size_t command_buffers = 0;
    {
        std::lock_guard<std::mutex> guard(cmd_buf_lock);
        command_buffers = cmd_buf_table.size();
    }
    size_t commands = 0;
    {
        std::lock_guard<std::mutex> guard(cmd_lock);
        commands = cmd_table.size();
    }
    size_t sub_commands = 0;
    {
        std::lock_guard<std::mutex> guard(subcmd_lock);
        sub_commands = subcmd_table.size();
    }
    size_t typed_runs_in_driver = 0;
    {
        std::lock_guard<std::recursive_mutex> guard(run_flag_lock);
        for (const auto& [id, flag] : run_flags) typed_runs_in_driver += flag == 1 ? 1 : 0;
    }
    std::vector<int32_t> callback_pids;
    {
        std::lock_guard<std::mutex> guard(callback_lock);
        for (const CallbackInfo& callback : callbacks) callback_pids.push_back(callback.pid);
    }

    std::ostringstream text;
    text << "TovanDravik (" << descriptor << " version " << version << ")\n";
    text << "  debug logging: " << (DEBUG_LOG_DRAVIK == 1 ? "on" : "off") << "\n";
    text << "  sessions: " << sessions << "\n";
    for (const auto& [pid, ids] : sessions_by_pid) {
        text << "    pid " << pid << ":";
        for (const uint64_t id : ids) text << " " << id;
        text << "\n";
    }
    text << "  memory entries: " << memory_entries << " (shared: " << shared_memory_entries
         << ")\n";
    text << "  command buffer entries: " << command_buffers << "\n";
    text << "  command entries: " << commands << "\n";
    text << "  sub-command entries: " << sub_commands << "\n";
    text << "  typed runs in the driver: " << typed_runs_in_driver << "\n";
    text << "  callbacks: " << callback_pids.size() << "\n";
    for (const int32_t pid : callback_pids) text << "    pid " << pid << "\n";
    return writeAll(fd, text.str()) ? STATUS_OK : STATUS_FAILED_TRANSACTION;
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
