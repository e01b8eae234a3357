#include "export_table.h"

#include <vector>

#include "remote_process.h"

namespace host_binder {

ExportTable& ExportTable::processTable() {
    static auto* table = new ExportTable;
    return *table;
}

uint64_t ExportTable::exportBinder(AIBinder* binder, const std::string& holder) {
    // The holder is watched so that its references go when its process does.
    RemoteProcess::get(holder);
    std::lock_guard<std::mutex> guard(lock_);
    auto [known, added] = ids_.emplace(binder, next_id_);
    if (added) {
        ++next_id_;
        AIBinder_incStrong(binder);
        entries_[known->second].binder = ndk::SpAIBinder(binder);
    }
    ++entries_[known->second].references[holder];
    return known->second;
}

ndk::SpAIBinder ExportTable::find(uint64_t id) const {
    std::lock_guard<std::mutex> guard(lock_);
    auto found = entries_.find(id);
    return found == entries_.end() ? ndk::SpAIBinder() : found->second.binder;
}

bool ExportTable::acquire(uint64_t id, const std::string& holder) {
    RemoteProcess::get(holder);
    std::lock_guard<std::mutex> guard(lock_);
    auto found = entries_.find(id);
    if (found == entries_.end()) return false;
    ++found->second.references[holder];
    return true;
}

void ExportTable::release(uint64_t id, const std::string& holder, uint32_t count) {
    std::vector<ndk::SpAIBinder> released;
    std::lock_guard<std::mutex> guard(lock_);
    auto found = entries_.find(id);
    if (found == entries_.end()) return;
    auto held = found->second.references.find(holder);
    if (held == found->second.references.end()) return;
    if (held->second <= count) {
        found->second.references.erase(held);
    } else {
        held->second -= count;
    }
    eraseUnheldLocked(found, &released);
    // released is declared first, so it goes after the guard: binders are let go unlocked.
}

void ExportTable::dropHolder(const std::string& holder) {
    std::vector<ndk::SpAIBinder> released;
    std::lock_guard<std::mutex> guard(lock_);
    for (auto entry = entries_.begin(); entry != entries_.end();) {
        auto current = entry++;
        current->second.references.erase(holder);
        eraseUnheldLocked(current, &released);
    }
}

void ExportTable::eraseUnheldLocked(std::map<uint64_t, Entry>::iterator entry,
                                    std::vector<ndk::SpAIBinder>* released) {
    if (!entry->second.references.empty()) return;
    ids_.erase(entry->second.binder.get());
    released->push_back(std::move(entry->second.binder));
    entries_.erase(entry);
}

}  // namespace host_binder
