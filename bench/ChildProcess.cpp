#include "ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

extern char** environ;

namespace bench {
namespace {

// A pipe whose two ends close themselves.
struct Pipe {
    ndk::ScopedFileDescriptor read_end;
    ndk::ScopedFileDescriptor write_end;
    Pipe() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe2 failed");
        read_end.set(ends[0]);
        write_end.set(ends[1]);
    }
};

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                           const std::vector<std::string>& environment) {
    Pipe input;
    Pipe output;
    std::vector<std::string> argv_texts{program};
    argv_texts.insert(argv_texts.end(), arguments.begin(), arguments.end());
    std::vector<std::string> env_texts(environment);
    for (char** entry = environ; *entry != nullptr; ++entry) env_texts.emplace_back(*entry);
    std::vector<char*> argv = pointers(argv_texts);
    std::vector<char*> envp = pointers(env_texts);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input.read_end.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output.write_end.get(), STDOUT_FILENO);
    const int error =
            posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("cannot start " + program + ": " + std::strerror(error));
    }
    to_child_ = std::move(input.write_end);
    from_child_ = std::move(output.read_end);
}

ChildProcess::~ChildProcess() {
    if (!reaped_) {
        kill(SIGKILL);
        wait();
    }
}

std::optional<std::string> ChildProcess::readLine(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        if (const size_t end = pending_.find('\n'); end != std::string::npos) {
            std::string line = pending_.substr(0, end);
            pending_.erase(0, end + 1);
            return line;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return std::nullopt;
        pollfd readable{from_child_.get(), POLLIN, 0};
        if (poll(&readable, 1, static_cast<int>(left.count())) <= 0) continue;
        char buffer[512];
        const ssize_t got = read(from_child_.get(), buffer, sizeof(buffer));
        if (got <= 0) return std::nullopt;
        pending_.append(buffer, static_cast<size_t>(got));
    }
}

bool ChildProcess::writeLine(const std::string& line) {
    const std::string text = line + "\n";
    return write(to_child_.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

void ChildProcess::kill(int signal) {
    if (!reaped_) ::kill(pid_, signal);
}

int ChildProcess::wait() {
    int status = 0;
    if (!reaped_ && waitpid(pid_, &status, 0) == pid_) reaped_ = true;
    return status;
}

}  // namespace bench
