#pragma once

// Reads back a marker file of the host's trace functions: the ftrace text lines they append, one
// per marker, each stamped with the writing thread.

#include <sys/types.h>

#include <string>
#include <vector>

namespace trace_test {

struct MarkerLine {
    std::string thread_name;
    pid_t thread = 0;
    pid_t process = 0;
    std::string marker;  // as written to trace_marker, e.g. "B|1234|cmd_run" or "E|1234"
};

// The marker lines of path in file order. Header lines ("#...") are skipped; any other line that
// is not a marker line fails the running test.
std::vector<MarkerLine> readMarkerLines(const std::string& path);

}  // namespace trace_test
