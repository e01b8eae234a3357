#pragma once

#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>

#include <memory>

namespace tessaro_client {

using ::aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik;

// Each command prints what it did for a person and answers the process's exit status.

// The devices the service's driver reports: information kinds, device counts and metadata.
int showDeviceInformation(ITovanDravik& service);
// One session's life, step by step: memory, a command buffer, a command, then their release.
int showSessionLife(ITovanDravik& service);
// The service's own description of its state.
int showServiceDump(ITovanDravik& service);

}  // namespace tessaro_client
