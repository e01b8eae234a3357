// What the service has filed, read through its own dump (the text dumpsys shows), so a fuzzer can
// prove that an input left nothing behind without reaching into the service's members.
#pragma once

#include <cstddef>
#include <string>

#include "service/TovanDravik.h"

namespace tessaro_fuzz {

struct FiledCounts {
    size_t sessions = 0;
    size_t client_lists = 0;  // client processes with a session list
    size_t memory = 0;        // memory entries, shared ones included
    size_t shared_memory = 0;
    size_t command_buffers = 0;
    size_t commands = 0;
    size_t sub_commands = 0;
    size_t typed_runs = 0;
    size_t callbacks = 0;
    std::string text;  // the dump as the service wrote it

    bool empty() const {
        return sessions == 0 && client_lists == 0 && memory == 0 && shared_memory == 0 &&
               command_buffers == 0 && commands == 0 && sub_commands == 0 && typed_runs == 0 &&
               callbacks == 0;
    }
};

// The service's dump, parsed; aborts the fuzzer when the dump cannot be taken or read, since every
// later check would then be blind.
FiledCounts filedCounts(aidl::vendor::korvane::hardware::tessaro::dravik::TovanDravik& service);

}  // namespace tessaro_fuzz
