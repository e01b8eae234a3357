#pragma once

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "service/Logging.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

// The shape that most command methods share, with each method's own texts: when the ids did not
// all resolve, log unresolved_message and answer -1; otherwise call the driver with no service
// lock held, and answer its result, logging errno_format with errno and its text on a failure or
// calling log_success (which prints the debug line) on success.
template <typename DriverCall, typename SuccessLog>
int32_t callDriver(bool resolved, const char* unresolved_message, const char* errno_format,
                   DriverCall&& driver_call, SuccessLog&& log_success) {
    if (!resolved) {
        DRAVIK_LOGE("%s", unresolved_message);
        return -1;
    }
    const int32_t result = driver_call();
    if (result != 0) {
        const int error = errno;
        DRAVIK_LOGE(errno_format, error, strerror(error));
        return result;
    }
    log_success();
    return 0;
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
