#pragma once

// What no well-behaved client sends the service.

#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>

#include <cstdint>
#include <string>

namespace e2e {

// Sends the bad request of kind and answers what came back: the call's status, or whether the
// service closed the connection that raw bytes came on. Kinds: "wrong-token" (a request whose
// interface token names another interface), "unknown-code", "oversized-list" (a parcel larger
// than a frame may be), "descriptor-flood" (more descriptors than a frame may carry),
// "garbage-frame", "oversized-frame" (a header announcing 256 MiB); "flood" opens count
// connections that never greet the service and holds them until "release".
std::string sendBadRequest(const std::string& kind, int64_t count,
                           aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik& service);

}  // namespace e2e
