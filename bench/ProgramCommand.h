#pragma once

// A built command of one sub-command whose command buffer holds a program of the reference
// driver's instruction set, set up through ITovanDravik as a client does it.

#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <dravik_reference_program.h>

#include <cstdint>
#include <string>

namespace bench {

using ::aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik;

// The command's id in session, or 0 with error naming the call that failed.
int64_t setUpProgramCommand(ITovanDravik& service, int64_t session,
                            const dravik_reference::Program& program, std::string* error);

}  // namespace bench
