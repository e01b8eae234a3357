// A second client process: this test program started again in a mode of its own, in which it
// registers a callback, opens sessions with objects in them, prints the session ids and waits to
// be killed. The case that starts it watches from its own process what the service does when the
// client dies.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tessaro_vts {

class DyingClient {
  public:
    // The argument that selects the client's mode in main().
    static constexpr const char* kModeArgument = "--dying-client";
    static constexpr int kSessions = 3;

    // Starts the client on instance; sessions() is empty when it could not start or answer.
    explicit DyingClient(const std::string& instance);
    // Kills the client if it still lives, and reaps it.
    ~DyingClient();
    DyingClient(const DyingClient&) = delete;
    DyingClient& operator=(const DyingClient&) = delete;

    const std::vector<int64_t>& sessions() const { return sessions_; }
    // Kills the client with SIGKILL and reaps it.
    void kill();

    // The client's side, run by main() in the started process; never returns.
    [[noreturn]] static void run(const std::string& instance);

  private:
    pid_t pid_ = -1;
    std::vector<int64_t> sessions_;
};

}  // namespace tessaro_vts
