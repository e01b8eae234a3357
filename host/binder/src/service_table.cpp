#include "service_table.h"

#include <utility>

namespace host_binder {

ServiceTable& ServiceTable::processTable() {
    static auto* table = new ServiceTable;
    return *table;
}

void ServiceTable::add(const std::string& name, const ndk::SpAIBinder& binder, bool lazy) {
    Registration replaced{};
    {
        std::lock_guard<std::mutex> guard(lock_);
        Registration& registration = services_[name];
        replaced = std::move(registration);
        registration = Registration{binder, lazy};
    }
    registered_.notify_all();
    // replaced goes here, outside the lock: releasing it may destroy the object it served, and
    // its destruction may use the service manager.
}

ndk::SpAIBinder ServiceTable::find(const std::string& name) const {
    std::lock_guard<std::mutex> guard(lock_);
    auto found = services_.find(name);
    return found == services_.end() ? ndk::SpAIBinder() : found->second.binder;
}

ndk::SpAIBinder ServiceTable::waitFor(
        const std::string& name, std::optional<std::chrono::steady_clock::duration> limit) const {
    std::unique_lock<std::mutex> guard(lock_);
    auto isRegistered = [&] { return services_.count(name) != 0; };
    if (limit.has_value()) {
        if (!registered_.wait_for(guard, *limit, isRegistered)) return ndk::SpAIBinder();
    } else {
        registered_.wait(guard, isRegistered);
    }
    return services_.at(name).binder;
}

bool ServiceTable::isLazy(const std::string& name) const {
    std::lock_guard<std::mutex> guard(lock_);
    auto found = services_.find(name);
    return found != services_.end() && found->second.lazy;
}

}  // namespace host_binder
