#pragma once

// A program started by a test, with its standard input and output on pipes: the test sends it
// lines and reads the lines it prints.

#include <android/binder_auto_utils.h>
#include <signal.h>
#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace e2e {

class ClientProcess {
  public:
    // Starts program with arguments; throws std::runtime_error when it cannot be started.
    ClientProcess(const std::string& program, const std::vector<std::string>& arguments);
    // Kills the program with SIGKILL if it was not reaped yet, and reaps it.
    ~ClientProcess();
    ClientProcess(const ClientProcess&) = delete;
    ClientProcess& operator=(const ClientProcess&) = delete;

    pid_t pid() const { return pid_; }

    // Sends one line; whether it was written.
    bool send(const std::string& line);
    // The next line the program printed, without its newline; none when none came in time (a part
    // already read is lost then) or the program closed its output.
    std::optional<std::string> readLine(
            std::chrono::milliseconds timeout = std::chrono::seconds(10));
    // Sends line and answers the program's reply.
    std::optional<std::string> ask(const std::string& line,
                                   std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
        return send(line) ? readLine(timeout) : std::nullopt;
    }

    void kill(int signal) { ::kill(pid_, signal); }
    // Waits for the program to end; its wait status.
    int wait();

  private:
    pid_t pid_ = -1;
    bool reaped_ = false;
    ndk::ScopedFileDescriptor to_program_;
    ndk::ScopedFileDescriptor from_program_;
};

// Waits up to limit for condition to hold, as what other processes do takes its time; whether it
// did.
template <typename Condition>
bool eventually(Condition&& condition, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

}  // namespace e2e
