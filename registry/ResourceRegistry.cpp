// The four resource tables. Each has its own lock, held for the whole of each operation, and its
// own counter; ids are pre-incremented, so each table's first id is 1, and never reused.
#include "service/Logging.h"
#include "service/TovanDravik.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

namespace {

// Looks up the exact key; a key present with a null value counts as absent.
template <typename Value>
Value findPresent(SessionKeyedTable<Value>& table, uint64_t dravik_id, uint64_t id) {
    Value* found = table.find(dravik_id, id);
    return found != nullptr ? *found : nullptr;
}

}  // namespace

uint64_t TovanDravik::generateDravikMemId(uint64_t dravik_id, void* mem, int fd, bool shared) {
    std::lock_guard<std::mutex> guard(mem_lock);
    const uint64_t id = ++mem_id_counter;
    const uint64_t owner = shared ? kSharedOwner : dravik_id;
    // Ids never repeat, so the key is always new.
    mem_table.emplace(owner, id, new MemInfo{mem, fd, shared});
    return mem_id_counter;
}

MemInfo* TovanDravik::getDravikMem(uint64_t dravik_id, uint64_t mem_id) {
    std::lock_guard<std::mutex> guard(mem_lock);
    // The session's own entry is returned as it is, even null; only a miss tries the shared one.
    MemInfo** own = mem_table.find(dravik_id, mem_id);
    if (own != nullptr) return *own;
    return findPresent(mem_table, kSharedOwner, mem_id);
}

bool TovanDravik::eraseDravikMem(uint64_t owner_id, uint64_t mem_id) {
    std::lock_guard<std::mutex> guard(mem_lock);
    // No second try under kSharedOwner: shared memory erased through a session id stays filed.
    MemInfo** found = mem_table.find(owner_id, mem_id);
    if (found == nullptr) return false;
    delete *found;
    mem_table.erase(owner_id, mem_id);
    return true;
}

uint64_t TovanDravik::generateDravikCmdId(uint64_t dravik_id, dravik_cmd* cmd) {
    std::lock_guard<std::mutex> guard(cmd_lock);
    const uint64_t id = ++cmd_id_counter;
    cmd_table.emplace(dravik_id, id, cmd);
    return cmd_id_counter;
}

dravik_cmd* TovanDravik::getDravikCmd(uint64_t dravik_id, uint64_t cmd_id) {
    std::lock_guard<std::mutex> guard(cmd_lock);
    dravik_cmd* cmd = findPresent(cmd_table, dravik_id, cmd_id);
    if (cmd == nullptr) DRAVIK_LOGE("getDravikCmd Failed");
    return cmd;
}

bool TovanDravik::eraseDravikCmd(uint64_t dravik_id, uint64_t cmd_id) {
    std::lock_guard<std::mutex> guard(cmd_lock);
    if (!cmd_table.erase(dravik_id, cmd_id)) {
        DRAVIK_LOGE("eraseDravikCmd Failed");
        return false;
    }
    return true;
}

uint64_t TovanDravik::generateDravikCmdBufId(uint64_t dravik_id, void* cmd_buf) {
    std::lock_guard<std::mutex> guard(cmd_buf_lock);
    const uint64_t id = ++cmd_buf_id_counter;
    cmd_buf_table.emplace(dravik_id, id, cmd_buf);
    return cmd_buf_id_counter;
}

void* TovanDravik::getDravikCmdBuf(uint64_t dravik_id, uint64_t cmd_buf_id) {
    std::lock_guard<std::mutex> guard(cmd_buf_lock);
    void* cmd_buf = findPresent(cmd_buf_table, dravik_id, cmd_buf_id);
    if (cmd_buf == nullptr) DRAVIK_LOGE("getDravikCmdBuf Failed");
    return cmd_buf;
}

bool TovanDravik::eraseDravikCmdBuf(uint64_t dravik_id, uint64_t cmd_buf_id) {
    std::lock_guard<std::mutex> guard(cmd_buf_lock);
    if (!cmd_buf_table.erase(dravik_id, cmd_buf_id)) {
        DRAVIK_LOGE("eraseDravikCmdBuf Failed");
        return false;
    }
    return true;
}

uint64_t TovanDravik::generateDravikSubCmdId(uint64_t dravik_id, dravik_subcmd* sub_cmd) {
    std::lock_guard<std::mutex> guard(subcmd_lock);
    const uint64_t id = ++subcmd_id_counter;
    subcmd_table.emplace(dravik_id, id, sub_cmd);
    // The text names the command generator and calls the session id cmd_id; it is kept so.
    DRAVIK_LOGI("generateDravikCmdId cmd_id=%lu dravik_sub_cmd_id=%lu", dravik_id, id);
    return subcmd_id_counter;
}

dravik_subcmd* TovanDravik::getDravikSubCmd(uint64_t dravik_id, uint64_t sub_cmd_id) {
    std::lock_guard<std::mutex> guard(subcmd_lock);
    dravik_subcmd* sub_cmd = findPresent(subcmd_table, dravik_id, sub_cmd_id);
    if (sub_cmd != nullptr) {
        DRAVIK_LOGI("getDravikSubCmd Success dravik_id:%lu dravik_sub_cmd_id:%lu", dravik_id,
                    sub_cmd_id);
        return sub_cmd;
    }
    DRAVIK_LOGE("getDravikSubCmd Failed dravik_id:%lu dravik_sub_cmd_id:%lu", dravik_id,
                sub_cmd_id);
    return nullptr;
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
