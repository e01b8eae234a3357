#include "process_endpoint.h"

#include <unistd.h>

#include <cstdio>
#include <random>

#include "service_directory.h"
#include "unix_socket.h"

namespace host_binder {

namespace {

std::string makeEndpointName() {
    std::random_device random;
    const uint64_t nonce = (uint64_t{random()} << 32) | random();
    char name[48];
    std::snprintf(name, sizeof(name), "p%d-%016llx", static_cast<int>(::getpid()),
                  static_cast<unsigned long long>(nonce));
    return name;
}

}  // namespace

ProcessEndpoint& ProcessEndpoint::self() {
    static auto* endpoint = new ProcessEndpoint;
    return *endpoint;
}

ProcessEndpoint::ProcessEndpoint() : name_(makeEndpointName()) {}

bool ProcessEndpoint::ensureListening() {
    std::lock_guard<std::mutex> guard(lock_);
    if (listener_ != nullptr) return true;
    const std::string path = endpointPath(name_);
    if (path.empty()) return false;
    ndk::ScopedFileDescriptor socket = listenAt(path);
    if (socket.get() < 0) return false;
    listener_ = std::make_unique<Listener>(std::move(socket), std::string());
    return true;
}

}  // namespace host_binder
