#pragma once

// Runs the registered benchmarks and then prints each figure as a ratio against a baseline
// measured in the same run, so the goals read the same on any machine. Goals are reported, never
// enforced: a missed goal is printed as such and the run still succeeds.

#include <string>
#include <vector>

namespace bench {

struct Ratio {
    std::string label;
    std::string measured;  // benchmark name, e.g. "BM_RegistryLookup/1000000"
    std::string baseline;  // benchmark name
    double goal;           // the ratio measured/baseline should stay at or below this
};

// A figure whose goal is an absolute time rather than a ratio.
struct Bound {
    std::string label;
    std::string measured;  // benchmark name
    double goal_seconds;   // the time per iteration should stay below this
};

// Runs the benchmarks selected on the command line, prints the usual output, then one line per
// ratio and bound. With --ratio_out=FILE it also writes them to FILE as JSON. Returns 0, or 2 for
// a bad command line.
int runWithRatios(int argc, char** argv, const std::vector<Ratio>& ratios,
                  const std::vector<Bound>& bounds = {});

}  // namespace bench
