#pragma once

#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>

#include <memory>

#include "SampleOptions.h"

namespace tessaro_workload {

// Sets the perceptron up on service, runs it in every run style, then timed cached runs and
// fenced runs, reads the run information back, runs the same work on the driver in this process
// as the baseline, and prints the report. Answers the process's exit status: 0 when every step
// succeeded and every checked answer matched the CPU's.
int runSampleWorkload(
        const std::shared_ptr<aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik>&
                service,
        const SampleOptions& options);

}  // namespace tessaro_workload
