#pragma once

// Runs the registered benchmarks and then prints each figure as a ratio against a baseline
// measured in the same run, so the goals read the same on any machine.

#include <string>
#include <vector>

namespace bench {

struct Ratio {
    std::string label;
    std::string measured;  // benchmark name, e.g. "BM_RegistryLookup/1000000"
    std::string baseline;  // benchmark name
    double goal;           // the ratio measured/baseline must stay at or below this
};

// Runs the benchmarks selected on the command line, prints the usual output, then one line per
// ratio. Returns 0, or 1 when a ratio misses its goal (both benchmarks having run).
int runWithRatios(int argc, char** argv, const std::vector<Ratio>& ratios);

}  // namespace bench
