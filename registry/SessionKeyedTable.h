#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <unordered_map>
#include <utility>

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

// A map from (owner id, id) to Value, kept as one ordered table per owner: a look-up costs a hash
// of the owner and a search among that owner's own entries, whatever the other owners hold, and
// an owner's entries are visited and dropped in id order without touching anyone else's.
// Not thread-safe: the service guards each table with its own lock.
template <typename Value>
class SessionKeyedTable {
  public:
    using OwnerEntries = std::map<uint64_t, Value>;

    // Inserts unless (owner, id) is present; an existing entry is left as it is.
    void emplace(uint64_t owner, uint64_t id, Value value) {
        if (owners_[owner].emplace(id, value).second) ++size_;
    }

    // The entry's value, or null when (owner, id) is absent.
    Value* find(uint64_t owner, uint64_t id) {
        auto found_owner = owners_.find(owner);
        if (found_owner == owners_.end()) return nullptr;
        auto found = found_owner->second.find(id);
        return found != found_owner->second.end() ? &found->second : nullptr;
    }

    // Removes (owner, id); false when it is absent.
    bool erase(uint64_t owner, uint64_t id) {
        auto found_owner = owners_.find(owner);
        if (found_owner == owners_.end() || found_owner->second.erase(id) == 0) return false;
        --size_;
        if (found_owner->second.empty()) owners_.erase(found_owner);
        return true;
    }

    // Hands every entry of owner, in id order, to visit(id, value&), then removes them all.
    template <typename Visitor>
    void eraseOwner(uint64_t owner, Visitor&& visit) {
        auto found_owner = owners_.find(owner);
        if (found_owner == owners_.end()) return;
        for (auto& [id, value] : found_owner->second) visit(id, value);
        size_ -= found_owner->second.size();
        owners_.erase(found_owner);
    }

    // Entries in the whole table, and of one owner.
    size_t size() const { return size_; }
    size_t ownerSize(uint64_t owner) const {
        auto found_owner = owners_.find(owner);
        return found_owner == owners_.end() ? 0 : found_owner->second.size();
    }

  private:
    std::unordered_map<uint64_t, OwnerEntries> owners_;
    size_t size_ = 0;
};

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
