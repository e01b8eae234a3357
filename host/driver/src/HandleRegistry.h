// Handles handed out for objects the driver shares with callers. A handle is the object's own
// address, so it is unique while the object lives; the registry answers only for handles it holds,
// so a stale or foreign pointer is refused before anything touches it.
#pragma once

#include <cerrno>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "DriverError.h"

namespace dravik::reference {

template <typename Handle, typename Object>
class HandleRegistry {
  public:
    static Handle* handleOf(const Object* object) {
        return reinterpret_cast<Handle*>(const_cast<Object*>(object));
    }

    Handle* add(std::shared_ptr<Object> object) {
        Handle* handle = handleOf(object.get());
        std::lock_guard<std::mutex> lock(mutex_);
        objects_.emplace(handle, std::move(object));
        return handle;
    }

    // Throws DriverError(EINVAL) for a handle not held.
    std::shared_ptr<Object> find(Handle* handle) const {
        std::lock_guard<std::mutex> lock(mutex_);
        const auto found = objects_.find(handle);
        require(found != objects_.end(), EINVAL);
        return found->second;
    }

    // Removes the handle's object when accept(object) holds; throws DriverError(EINVAL) for a
    // handle not held or not accepted, leaving the registry as it was.
    template <typename Predicate>
    std::shared_ptr<Object> removeIf(Handle* handle, Predicate accept) {
        std::lock_guard<std::mutex> lock(mutex_);
        const auto found = objects_.find(handle);
        require(found != objects_.end() && accept(*found->second), EINVAL);
        std::shared_ptr<Object> object = std::move(found->second);
        objects_.erase(found);
        return object;
    }

    std::shared_ptr<Object> remove(Handle* handle) {
        return removeIf(handle, [](const Object&) { return true; });
    }

    // Removes the handle if held; for tearing down objects that may already be gone.
    void forget(Handle* handle) {
        std::lock_guard<std::mutex> lock(mutex_);
        objects_.erase(handle);
    }

    // Every object held now.
    std::vector<std::shared_ptr<Object>> snapshot() const {
        std::lock_guard<std::mutex> lock(mutex_);
        std::vector<std::shared_ptr<Object>> objects;
        objects.reserve(objects_.size());
        for (const auto& entry : objects_) objects.push_back(entry.second);
        return objects;
    }

    std::vector<std::shared_ptr<Object>> removeAll() {
        std::lock_guard<std::mutex> lock(mutex_);
        std::vector<std::shared_ptr<Object>> objects;
        objects.reserve(objects_.size());
        for (auto& entry : objects_) objects.push_back(std::move(entry.second));
        objects_.clear();
        return objects;
    }

  private:
    mutable std::mutex mutex_;
    std::unordered_map<Handle*, std::shared_ptr<Object>> objects_;
};

}  // namespace dravik::reference
