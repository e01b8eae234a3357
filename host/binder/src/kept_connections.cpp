#include "kept_connections.h"

#include <algorithm>

namespace host_binder {

KeptConnections& KeptConnections::processConnections() {
    static auto* connections = new KeptConnections;
    return *connections;
}

void KeptConnections::keep(const std::string& endpoint,
                           const std::shared_ptr<KeptConnection>& connection) {
    std::lock_guard<std::mutex> guard(lock_);
    std::vector<std::weak_ptr<KeptConnection>>& list = kept_[endpoint];
    // Connections of threads that have ended go here.
    list.erase(std::remove_if(
                       list.begin(), list.end(),
                       [](const std::weak_ptr<KeptConnection>& kept) { return kept.expired(); }),
               list.end());
    list.push_back(connection);
}

void KeptConnections::forget(const std::string& endpoint) {
    std::vector<std::weak_ptr<KeptConnection>> list;
    {
        std::lock_guard<std::mutex> guard(lock_);
        auto found = kept_.find(endpoint);
        if (found == kept_.end()) return;
        list = std::move(found->second);
        kept_.erase(found);
    }
    for (const std::weak_ptr<KeptConnection>& weak : list) {
        const std::shared_ptr<KeptConnection> connection = weak.lock();
        if (connection == nullptr) continue;
        connection->forgotten = true;
        std::unique_lock<std::mutex> in_use(connection->lock, std::try_to_lock);
        if (in_use.owns_lock()) connection->fd.set(-1);
    }
}

}  // namespace host_binder
