#pragma once

// A trivial command in a session of the service on the no-op driver in another process, reached
// through AServiceManager_getService as any client reaches it.

#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>

#include <cstddef>
#include <memory>

namespace bench {

using ::aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik;

struct RemoteTrivialCommand {
    std::shared_ptr<ITovanDravik> service;
    int64_t session = 0;
    int64_t command = 0;

    // Connects to the service this process's TESSARO_BINDER_DIR names and makes the command;
    // throws std::runtime_error when it cannot.
    RemoteTrivialCommand();
    // The bytes of a cmd_run request parcel as the proxy writes it.
    size_t requestBytes() const;
};

}  // namespace bench
