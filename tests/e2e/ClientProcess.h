#pragma once

// A client program started by a test: it reads commands on its standard input, one per line, and
// answers each with one line on its standard output.

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <android/binder_auto_utils.h>

namespace e2e {

class ClientProcess {
  public:
    // Starts program with arguments; throws std::runtime_error when it cannot be started.
    ClientProcess(const std::string& program, const std::vector<std::string>& arguments);
    // Kills the client with SIGKILL if it still runs, and reaps it.
    ~ClientProcess();
    ClientProcess(const ClientProcess&) = delete;
    ClientProcess& operator=(const ClientProcess&) = delete;

    pid_t pid() const { return pid_; }

    // The next line the client printed, without its newline; empty when none came in time or the
    // client closed its output.
    std::optional<std::string> readLine(
            std::chrono::milliseconds timeout = std::chrono::seconds(10));
    // Sends command and answers the client's reply line.
    std::optional<std::string> ask(const std::string& command,
                                   std::chrono::milliseconds timeout = std::chrono::seconds(10));

    void kill(int signal);
    // Waits for the client to end; its wait status.
    int wait();

  private:
    pid_t pid_ = -1;
    bool reaped_ = false;
    ndk::ScopedFileDescriptor to_client_;
    ndk::ScopedFileDescriptor from_client_;
    std::string pending_;  // read but not yet handed out
};

}  // namespace e2e
