#include "remote_process.h"

#include <errno.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstring>
#include <map>
#include <vector>

#include "death_watcher.h"
#include "export_table.h"
#include "frame_codec.h"
#include "kept_connections.h"
#include "log.h"
#include "peer_connections.h"
#include "process_endpoint.h"
#include "proxy_table.h"
#include "remote_binder.h"
#include "service_directory.h"
#include "unix_socket.h"

namespace host_binder {

namespace {

std::mutex registry_lock;
auto* const registry = new std::map<std::string, std::shared_ptr<RemoteProcess>>;

// A pidfd of pid, or an invalid descriptor where the kernel has none.
ndk::ScopedFileDescriptor openPidfd(pid_t pid) {
    return ndk::ScopedFileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
}

bool hungUp(int socket) {
    pollfd polled{socket, POLLRDHUP, 0};
    return ::poll(&polled, 1, 0) > 0 && (polled.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
}

}  // namespace

std::shared_ptr<RemoteProcess> RemoteProcess::get(const std::string& endpoint) {
    std::shared_ptr<RemoteProcess> process;
    {
        std::lock_guard<std::mutex> guard(registry_lock);
        std::shared_ptr<RemoteProcess>& entry = (*registry)[endpoint];
        if (entry != nullptr) return entry;
        entry = std::make_shared<RemoteProcess>(endpoint);
        process = entry;
    }
    process->startWatching();
    return process;
}

bool RemoteProcess::isDead() const {
    std::lock_guard<std::mutex> guard(lock_);
    return dead_;
}

bool RemoteProcess::whileAlive(const std::function<void()>& action) {
    std::lock_guard<std::mutex> guard(lock_);
    if (dead_) return false;
    action();
    return true;
}

void RemoteProcess::startWatching() {
    bool absent = false;
    const std::string path = endpointPath(endpoint_);
    ndk::ScopedFileDescriptor connection =
            path.empty() ? ndk::ScopedFileDescriptor() : connectTo(path, &absent);
    PeerCredentials peer{};
    if (connection.get() < 0 || !peerCredentials(connection.get(), &peer)) {
        if (!absent)
            logError("binder: cannot reach process '%s'; taking it as dead", endpoint_.c_str());
        died();
        return;
    }
    // The hello keeps the other side from taking this connection for a broken one.
    Frame hello = makeFrame(wire::FrameKind::kHello);
    const std::string& own = ProcessEndpoint::self().name();
    hello.data.assign(own.begin(), own.end());
    std::string error;
    sendFrame(connection.get(), &hello, &error);

    std::weak_ptr<RemoteProcess> weak = shared_from_this();
    auto on_death = [weak] {
        if (auto process = weak.lock()) process->died();
    };
    ndk::ScopedFileDescriptor pidfd = openPidfd(peer.pid);
    bool watching = false;
    if (pidfd.get() >= 0) {
        // A pid taken from a connection whose owner has died since may name another process:
        // only a connection still open proves the pidfd is the right one.
        if (hungUp(connection.get())) {
            died();
            return;
        }
        watching = DeathWatcher::processWatcher().watch(std::move(pidfd), on_death);
    } else {
        // No pidfd here: the connection, which the process holds until it exits, stands in.
        logError("binder: pidfd_open(%d) failed (%s); watching a connection instead", peer.pid,
                 std::strerror(errno));
        watching = DeathWatcher::processWatcher().watch(std::move(connection), on_death);
    }
    if (!watching) died();
}

void RemoteProcess::died() {
    {
        std::lock_guard<std::mutex> guard(lock_);
        if (dead_) return;
        dead_ = true;
    }
    // The calls it sent before it died run first (peer_connections.h).
    std::shared_ptr<RemoteProcess> self = shared_from_this();
    PeerConnections::processConnections().whenAllClosed(endpoint_, [self] { self->reportDeath(); });
}

void RemoteProcess::reportDeath() {
    for (const ndk::SpAIBinder& proxy : ProxyTable::processTable().proxiesOf(endpoint_)) {
        static_cast<RemoteBinder*>(proxy.get())->notifyDied();
    }
    ExportTable::processTable().dropHolder(endpoint_);
    KeptConnections::processConnections().forget(endpoint_);
}

}  // namespace host_binder
