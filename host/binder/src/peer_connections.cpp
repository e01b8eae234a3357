#include "peer_connections.h"

#include <utility>

#include "thread_pool.h"

namespace host_binder {

PeerConnections& PeerConnections::processConnections() {
    static auto* connections = new PeerConnections;
    return *connections;
}

void PeerConnections::opened(const std::string& endpoint) {
    std::lock_guard<std::mutex> guard(lock_);
    ++peers_[endpoint].open;
}

void PeerConnections::closed(const std::string& endpoint) {
    std::vector<std::function<void()>> ready;
    {
        std::lock_guard<std::mutex> guard(lock_);
        auto found = peers_.find(endpoint);
        if (found == peers_.end()) return;
        if (--found->second.open > 0) return;
        ready = std::move(found->second.waiting);
        peers_.erase(found);
    }
    for (std::function<void()>& then : ready) ThreadPool::processPool().post(std::move(then));
}

void PeerConnections::whenAllClosed(const std::string& endpoint, std::function<void()> then) {
    {
        std::lock_guard<std::mutex> guard(lock_);
        auto found = peers_.find(endpoint);
        if (found != peers_.end()) {
            found->second.waiting.push_back(std::move(then));
            return;
        }
    }
    then();
}

}  // namespace host_binder
