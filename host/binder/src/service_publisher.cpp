#include "service_publisher.h"

#include <utility>

#include "process_endpoint.h"
#include "service_directory.h"
#include "unix_socket.h"

namespace host_binder {

ServicePublisher& ServicePublisher::processPublisher() {
    static auto* publisher = new ServicePublisher;
    return *publisher;
}

bool ServicePublisher::publish(const std::string& instance) {
    if (!ProcessEndpoint::self().ensureListening()) return false;
    const std::string path = servicePath(instance);
    if (path.empty()) return false;
    ndk::ScopedFileDescriptor socket = listenAt(path);
    if (socket.get() < 0) return false;
    auto listener = std::make_unique<Listener>(std::move(socket), instance);
    std::unique_ptr<Listener> replaced;
    {
        std::lock_guard<std::mutex> guard(lock_);
        replaced = std::exchange(listeners_[instance], std::move(listener));
    }
    // replaced stops here, outside the lock; its socket was renamed over already.
    return true;
}

}  // namespace host_binder
