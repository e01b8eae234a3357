#include "ClientProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

extern char** environ;

namespace e2e {

ClientProcess::ClientProcess(const std::string& program,
                             const std::vector<std::string>& arguments) {
    int input[2];
    int output[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) {
        throw std::runtime_error("cannot make the client's pipes");
    }
    ndk::ScopedFileDescriptor child_input(input[0]);
    ndk::ScopedFileDescriptor child_output(output[1]);
    to_client_.set(input[1]);
    from_client_.set(output[0]);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, child_input.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, child_output.get(), STDOUT_FILENO);
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    const int result = posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (result != 0) throw std::runtime_error("cannot start " + program);
}

ClientProcess::~ClientProcess() {
    if (!reaped_) {
        ::kill(pid_, SIGKILL);
        wait();
    }
}

std::optional<std::string> ClientProcess::readLine(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        const size_t end = pending_.find('\n');
        if (end != std::string::npos) {
            std::string line = pending_.substr(0, end);
            pending_.erase(0, end + 1);
            return line;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return std::nullopt;
        pollfd readable{from_client_.get(), POLLIN, 0};
        if (poll(&readable, 1, static_cast<int>(left.count())) <= 0) continue;
        char buffer[512];
        const ssize_t count = read(from_client_.get(), buffer, sizeof(buffer));
        if (count <= 0) return std::nullopt;
        pending_.append(buffer, static_cast<size_t>(count));
    }
}

std::optional<std::string> ClientProcess::ask(const std::string& command,
                                              std::chrono::milliseconds timeout) {
    const std::string line = command + "\n";
    if (write(to_client_.get(), line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        return std::nullopt;
    }
    return readLine(timeout);
}

void ClientProcess::kill(int signal) {
    ::kill(pid_, signal);
}

int ClientProcess::wait() {
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    reaped_ = true;
    return status;
}

}  // namespace e2e
