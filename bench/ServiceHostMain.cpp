// The serving process of the cross-process figures: hosts the service as the daemon does, in the
// service directory $TESSARO_BINDER_DIR, announces "ready", then answers commands on its standard
// input, one line each:
//   baseline  remembers the driver's live objects now; answers "ok"
//   watch     waits until the live objects are back at the baseline; answers "released <ns>", the
//             CLOCK_MONOTONIC time it saw that at, comparable with the same clock in other
//             processes
// It ends when its standard input closes. Linked with the reference driver or the no-op one.
#include <android/binder_process.h>
#include <cutils/properties.h>
#include <dravik_reference_driver.h>
#include <time.h>

#include <chrono>
#include <iostream>
#include <string>
#include <thread>

#include "service/ServiceStart.h"

namespace {

bool sameCounts(const dravik_reference_live_counts& left,
                const dravik_reference_live_counts& right) {
    return left.sessions == right.sessions && left.memory_objects == right.memory_objects &&
           left.command_buffers == right.command_buffers && left.commands == right.commands &&
           left.sub_commands == right.sub_commands;
}

int64_t monotonicNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

// Polls often enough that the figure is exact to well under a millisecond.
std::string watchForRelease(const dravik_reference_live_counts& baseline) {
    for (;;) {
        dravik_reference_live_counts now{};
        dravikReference_getLiveCounts(&now);
        if (sameCounts(now, baseline)) return "released " + std::to_string(monotonicNanoseconds());
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
}

}  // namespace

int main() {
    property_set("ro.vendor.qel_nn_baseline_support", "1");
    ABinderProcess_setThreadPoolMaxThreadCount(4);
    TessaroDravikServerInitInternal();
    ABinderProcess_startThreadPool();
    std::cout << "ready" << std::endl;

    dravik_reference_live_counts baseline{};
    std::string line;
    while (std::getline(std::cin, line)) {
        if (line == "baseline") {
            dravikReference_getLiveCounts(&baseline);
            std::cout << "ok" << std::endl;
        } else if (line == "watch") {
            std::cout << watchForRelease(baseline) << std::endl;
        } else {
            std::cout << "error unknown command " << line << std::endl;
        }
    }
    return 0;
}
