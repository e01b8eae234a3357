#pragma once

// What a client of the crash soak does: random well-formed work on the service, reporting
// "calls <n>" after each step so the test can count what was done before the client was killed.

#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>

#include <cstdint>
#include <memory>

namespace e2e {

using ::aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik;

// Works for steps steps (forever when steps is 0), then deletes the sessions it still holds.
// Answers the number of calls made.
int64_t soak(const std::shared_ptr<ITovanDravik>& service, uint64_t seed, int64_t steps);

}  // namespace e2e
