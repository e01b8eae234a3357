#pragma once

#include <android/binder_auto_utils.h>

#include <chrono>
#include <functional>
#include <string>

namespace tessaro_client {

// Prints one call per line: what was asked, what came back, and how long it took.
class StepPrinter {
  public:
    // Starts timing a step.
    void begin() { start_ = std::chrono::steady_clock::now(); }
    // Prints the step; answers whether status is OK (a failed status is printed as such).
    // describe is asked for its account of the result only here, after the call has written its
    // out-values: an argument computed beside the call could be computed before it.
    bool report(const std::string& call, const ndk::ScopedAStatus& status,
                const std::function<std::string()>& describe);
    int failures() const { return failures_; }

  private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    int failures_ = 0;
};

}  // namespace tessaro_client
