// The local binders this process sent to other processes, by the id they know them by. An
// entry keeps its binder alive while some process holds references to it (wire_format.h); ids
// are never reused, so a stale id finds nothing rather than another object.
#pragma once

#include <android/binder_auto_utils.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace host_binder {

class ExportTable {
  public:
    static ExportTable& processTable();

    // The id of local binder, counting one more reference of the process at holder.
    uint64_t exportBinder(AIBinder* binder, const std::string& holder);
    // The binder exported under id, or an empty one.
    ndk::SpAIBinder find(uint64_t id) const;
    // One more reference of holder to id; false when id names nothing.
    bool acquire(uint64_t id, const std::string& holder);
    // holder gives back count references to id.
    void release(uint64_t id, const std::string& holder, uint32_t count);
    // holder's process is gone: all its references go.
    void dropHolder(const std::string& holder);

  private:
    struct Entry {
        ndk::SpAIBinder binder;
        std::map<std::string, uint64_t> references;  // holder -> count
    };

    ExportTable() = default;
    // Erases entries nobody holds; their binders go to released, to be let go without the lock.
    void eraseUnheldLocked(std::map<uint64_t, Entry>::iterator entry,
                           std::vector<ndk::SpAIBinder>* released);

    mutable std::mutex lock_;
    std::map<uint64_t, Entry> entries_;        // guarded by lock_
    std::map<const AIBinder*, uint64_t> ids_;  // guarded by lock_
    uint64_t next_id_ = 1;                     // guarded by lock_
};

}  // namespace host_binder
