#include "StepPrinter.h"

#include <cstdio>

namespace tessaro_client {

bool StepPrinter::report(const std::string& call, const ndk::ScopedAStatus& status,
                         const std::function<std::string()>& describe) {
    const double milliseconds =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_)
                    .count();
    if (!status.isOk()) {
        ++failures_;
        std::printf("  %-44s FAILED %s (%.3f ms)\n", call.c_str(), status.getDescription().c_str(),
                    milliseconds);
        return false;
    }
    std::printf("  %-44s %s (%.3f ms)\n", call.c_str(), describe().c_str(), milliseconds);
    return true;
}

}  // namespace tessaro_client
