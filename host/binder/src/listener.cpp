#include "listener.h"

#include <errno.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <utility>

#include "incoming_connection.h"
#include "log.h"

namespace host_binder {

Listener::Listener(ndk::ScopedFileDescriptor socket, std::string service)
    : socket_(std::move(socket)),
      service_(std::move(service)),
      stop_(::eventfd(0, EFD_CLOEXEC)),
      thread_([this] { run(); }) {}

Listener::~Listener() {
    const uint64_t one = 1;
    if (::write(stop_.get(), &one, sizeof(one)) != sizeof(one)) {
        logError("binder listener: cannot signal its thread to stop: %s", std::strerror(errno));
    }
    thread_.join();
}

void Listener::run() {
    for (;;) {
        pollfd watched[2] = {{socket_.get(), POLLIN, 0}, {stop_.get(), POLLIN, 0}};
        if (::poll(watched, 2, -1) < 0) {
            if (errno == EINTR) continue;
            logError("binder listener: poll failed: %s", std::strerror(errno));
            return;
        }
        if (watched[1].revents != 0) return;
        if (watched[0].revents == 0) continue;
        ndk::ScopedFileDescriptor connection(
                ::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (connection.get() >= 0) {
            serveConnection(std::move(connection), service_);
        } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
            // Out of descriptors: the backlog waits instead of spinning through poll.
            logError("binder listener: cannot accept: %s", std::strerror(errno));
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }
}

}  // namespace host_binder
