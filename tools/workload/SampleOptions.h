#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tessaro_workload {

struct SampleOptions {
    std::vector<int> widths{784, 512, 256, 10};
    int batch = 32;
    int cached_runs = 200;
    int fenced_runs = 50;
    // Every how many cached runs the answer is checked against the CPU (the check costs more
    // than the run).
    int check_every = 20;
};

// Parses the command line; on a bad one, error names the problem and the result is empty (an
// empty error: help was asked for).
std::optional<SampleOptions> parseSampleOptions(int argc, char** argv, std::string* error);

extern const char* const kSampleUsage;

}  // namespace tessaro_workload
