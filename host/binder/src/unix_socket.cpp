#include "unix_socket.h"

#include <errno.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

#include "log.h"
#include "wire_format.h"

namespace host_binder {

namespace {

constexpr int kListenBacklog = 64;

bool makeAddress(const std::string& path, sockaddr_un* address) {
    *address = sockaddr_un{};
    address->sun_family = AF_UNIX;
    if (path.size() >= sizeof(address->sun_path)) {
        logError("binder socket path '%s' is too long for a Unix socket", path.c_str());
        return false;
    }
    std::memcpy(address->sun_path, path.c_str(), path.size() + 1);
    return true;
}

timeval toTimeval(std::chrono::milliseconds duration) {
    timeval value{};
    value.tv_sec = static_cast<time_t>(duration.count() / 1000);
    value.tv_usec = static_cast<suseconds_t>((duration.count() % 1000) * 1000);
    return value;
}

}  // namespace

ndk::ScopedFileDescriptor listenAt(const std::string& path) {
    static std::atomic<unsigned> counter{0};
    const std::string temporary = path.substr(0, path.rfind('/') + 1) + ".new-" +
                                  std::to_string(::getpid()) + "-" + std::to_string(counter++);
    sockaddr_un address{};
    if (!makeAddress(path, &address) || !makeAddress(temporary, &address))
        return ndk::ScopedFileDescriptor();
    ndk::ScopedFileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (socket.get() < 0) {
        logError("cannot create a socket for '%s': %s", path.c_str(), std::strerror(errno));
        return ndk::ScopedFileDescriptor();
    }
    ::unlink(temporary.c_str());
    if (::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        ::chmod(temporary.c_str(), 0600) != 0 || ::listen(socket.get(), kListenBacklog) != 0 ||
        ::rename(temporary.c_str(), path.c_str()) != 0) {
        logError("cannot listen at '%s': %s", path.c_str(), std::strerror(errno));
        ::unlink(temporary.c_str());
        return ndk::ScopedFileDescriptor();
    }
    return socket;
}

ndk::ScopedFileDescriptor connectTo(const std::string& path, bool* absent) {
    *absent = false;
    sockaddr_un address{};
    if (!makeAddress(path, &address)) return ndk::ScopedFileDescriptor();
    ndk::ScopedFileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (socket.get() < 0) {
        logError("cannot create a socket for '%s': %s", path.c_str(), std::strerror(errno));
        return ndk::ScopedFileDescriptor();
    }
    int result = -1;
    do {
        result = ::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address));
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        // A dead process leaves its socket behind: nobody listens there any more.
        *absent = errno == ENOENT || errno == ECONNREFUSED;
        if (!*absent) logError("cannot connect to '%s': %s", path.c_str(), std::strerror(errno));
        return ndk::ScopedFileDescriptor();
    }
    if (!setSocketTimeouts(socket.get(), wire::kSendTimeout, std::chrono::milliseconds(0))) {
        return ndk::ScopedFileDescriptor();
    }
    return socket;
}

bool setSocketTimeouts(int socket, std::chrono::milliseconds send, std::chrono::milliseconds read) {
    const timeval send_value = toTimeval(send);
    const timeval read_value = toTimeval(read);
    if (::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &send_value, sizeof(send_value)) != 0 ||
        ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &read_value, sizeof(read_value)) != 0) {
        logError("cannot set socket timeouts: %s", std::strerror(errno));
        return false;
    }
    return true;
}

bool peerCredentials(int socket, PeerCredentials* credentials) {
    ucred peer{};
    socklen_t length = sizeof(peer);
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0) {
        logError("cannot read the peer's credentials: %s", std::strerror(errno));
        return false;
    }
    *credentials = PeerCredentials{peer.pid, peer.uid};
    return true;
}

}  // namespace host_binder
