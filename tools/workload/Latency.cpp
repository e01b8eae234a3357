#include "Latency.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tessaro_workload {

LatencySummary summarize(std::vector<double> samples_ms) {
    LatencySummary summary;
    if (samples_ms.empty()) return summary;
    std::sort(samples_ms.begin(), samples_ms.end());
    const size_t count = samples_ms.size();
    summary.median_ms = count % 2 == 1 ? samples_ms[count / 2]
                                       : (samples_ms[count / 2 - 1] + samples_ms[count / 2]) / 2;
    const auto rank = static_cast<size_t>(std::ceil(0.99 * static_cast<double>(count)));
    summary.p99_ms = samples_ms[std::max<size_t>(rank, 1) - 1];
    summary.mean_ms =
            std::accumulate(samples_ms.begin(), samples_ms.end(), 0.0) / static_cast<double>(count);
    return summary;
}

}  // namespace tessaro_workload
