#include "SocketPingPong.h"

#include <android/binder_auto_utils.h>
#include <benchmark/benchmark.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

namespace bench {
namespace {

// Moves all of length bytes, as the transport moves a whole frame.
bool writeAll(int socket, const char* data, size_t length) {
    while (length > 0) {
        const ssize_t sent = write(socket, data, length);
        if (sent <= 0) return false;
        data += sent;
        length -= static_cast<size_t>(sent);
    }
    return true;
}

bool readAll(int socket, char* data, size_t length) {
    while (length > 0) {
        const ssize_t got = read(socket, data, length);
        if (got <= 0) return false;
        data += got;
        length -= static_cast<size_t>(got);
    }
    return true;
}

// The echo process: only read, write and _exit, which are safe after fork in a process with
// threads.
[[noreturn]] void echo(int socket, char* buffer, size_t bytes) {
    while (readAll(socket, buffer, bytes) && writeAll(socket, buffer, bytes)) {
    }
    _exit(0);
}

void pingPong(benchmark::State& state, size_t bytes) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        state.SkipWithError("socketpair failed");
        return;
    }
    ndk::ScopedFileDescriptor mine(ends[0]);
    ndk::ScopedFileDescriptor theirs(ends[1]);
    std::vector<char> buffer(bytes, 'x');
    const pid_t child = fork();
    if (child == 0) {
        close(mine.release());
        echo(theirs.get(), buffer.data(), bytes);
    }
    theirs.set(-1);
    for (auto _ : state) {
        if (!writeAll(mine.get(), buffer.data(), bytes) ||
            !readAll(mine.get(), buffer.data(), bytes)) {
            state.SkipWithError("the echo process is gone");
            break;
        }
    }
    mine.set(-1);  // the echo process sees the end and leaves
    waitpid(child, nullptr, 0);
    state.counters["bytes"] = static_cast<double>(bytes);
}

}  // namespace

void registerSocketPingPong(size_t bytes) {
    benchmark::RegisterBenchmark("BM_SocketPingPong", pingPong, bytes);
}

}  // namespace bench
