#pragma once

// A program the benchmark starts and talks to in lines: commands on its standard input, one
// answer line each on its standard output.

#include <android/binder_auto_utils.h>
#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace bench {

class ChildProcess {
  public:
    // Starts program with arguments and the extra environment entries ("NAME=value"); throws
    // std::runtime_error when it cannot be started.
    ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                 const std::vector<std::string>& environment = {});
    // Kills the child with SIGKILL if it still runs, and reaps it.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return pid_; }

    // The next line the child printed, without its newline; nothing when none came in time or the
    // child closed its output.
    std::optional<std::string> readLine(
            std::chrono::milliseconds timeout = std::chrono::seconds(30));
    bool writeLine(const std::string& line);
    void kill(int signal);
    // Waits for the child to end; its wait status.
    int wait();

  private:
    pid_t pid_ = -1;
    bool reaped_ = false;
    ndk::ScopedFileDescriptor to_child_;
    ndk::ScopedFileDescriptor from_child_;
    std::string pending_;  // read but not yet handed out
};

}  // namespace bench
