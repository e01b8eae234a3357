#include "ClientProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

extern char** environ;

namespace e2e {

ClientProcess::ClientProcess(const std::string& program,
                             const std::vector<std::string>& arguments) {
    int input[2], output[2];
    if (pipe2(input, O_CLOEXEC) != 0) throw std::runtime_error("cannot make the input pipe");
    const ndk::ScopedFileDescriptor program_input(input[0]);
    to_program_.set(input[1]);
    if (pipe2(output, O_CLOEXEC) != 0) throw std::runtime_error("cannot make the output pipe");
    const ndk::ScopedFileDescriptor program_output(output[1]);
    from_program_.set(output[0]);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, program_input.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, program_output.get(), STDOUT_FILENO);
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    const int result = posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (result != 0) throw std::runtime_error("cannot start " + program);
}

ClientProcess::~ClientProcess() {
    if (reaped_) return;
    ::kill(pid_, SIGKILL);
    wait();
}

bool ClientProcess::send(const std::string& line) {
    const std::string text = line + "\n";
    return write(to_program_.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

std::optional<std::string> ClientProcess::readLine(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::string line;
    for (char character = 0; character != '\n';) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
        pollfd readable{from_program_.get(), POLLIN, 0};
        if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) != 1 ||
            read(from_program_.get(), &character, 1) != 1) {
            return std::nullopt;
        }
        if (character != '\n') line += character;
    }
    return line;
}

int ClientProcess::wait() {
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    reaped_ = true;
    return status;
}

}  // namespace e2e
