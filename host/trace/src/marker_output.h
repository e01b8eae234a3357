#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace host_trace {

// The platform's limit on one marker, in bytes.
constexpr size_t kMaximumMarkerLength = 1023;

// Where this process's markers go: tracefs's trace_marker, which stamps every write with the
// writing thread, its CPU and the time, or a file named by the environment, into which each
// marker is appended as a line of the ftrace text format that carries those stamps itself.
class MarkerOutput {
  public:
    // Opens the file the environment names, else trace_marker. Null, with error saying what was
    // tried and why it failed, when it cannot be opened.
    static std::unique_ptr<MarkerOutput> open(std::string* error);

    ~MarkerOutput();
    MarkerOutput(const MarkerOutput&) = delete;
    MarkerOutput& operator=(const MarkerOutput&) = delete;

    // Records marker, at most kMaximumMarkerLength bytes. As on the device a failed write is
    // dropped: tracing must never fail a call.
    void write(const char* marker, size_t length) const;

  private:
    MarkerOutput(int descriptor, bool stamped_by_kernel)
        : descriptor_(descriptor), stamped_by_kernel_(stamped_by_kernel) {}

    const int descriptor_;
    const bool stamped_by_kernel_;
};

}  // namespace host_trace
