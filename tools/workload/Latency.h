// Summaries of measured latencies.
#pragma once

#include <vector>

namespace tessaro_workload {

struct LatencySummary {
    double median_ms = 0;
    double p99_ms = 0;
    double mean_ms = 0;
};

// The median, 99th percentile (nearest rank) and mean of samples; all 0 when there are none.
LatencySummary summarize(std::vector<double> samples_ms);

}  // namespace tessaro_workload
