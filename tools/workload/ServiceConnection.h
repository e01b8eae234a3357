#pragma once

#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>

#include <memory>
#include <string>

namespace tessaro_workload {

using ::aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik;

// The instance name the service registers under.
std::string serviceInstanceName();

// The running service, or null with error saying why (no service registered, or one that
// answers another interface version).
std::shared_ptr<ITovanDravik> connectToService(std::string* error);

}  // namespace tessaro_workload
