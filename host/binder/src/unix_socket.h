// Unix domain stream sockets at paths of the service directory.
#pragma once

#include <android/binder_auto_utils.h>
#include <sys/types.h>

#include <chrono>
#include <string>

namespace host_binder {

struct PeerCredentials {
    pid_t pid;
    uid_t uid;
};

// A socket listening at path, mode 0600. It is bound under a temporary name and renamed over
// path, so a stale socket of a dead process, or an earlier registration, is replaced at once.
// An invalid descriptor, with the reason logged, on failure.
ndk::ScopedFileDescriptor listenAt(const std::string& path);

// A socket connected to the listener at path, with the send timeout set. An invalid descriptor
// when nothing listens there (*absent set: no socket, or a stale one) or on another failure.
ndk::ScopedFileDescriptor connectTo(const std::string& path, bool* absent);

// Bounds how long writes (and reads, when given) on socket may block; zero reads wait forever.
bool setSocketTimeouts(int socket, std::chrono::milliseconds send, std::chrono::milliseconds read);

// The credentials of the process at the other end of socket, taken when it connected.
bool peerCredentials(int socket, PeerCredentials* credentials);

}  // namespace host_binder
