// What the service has filed, read through its own dump (the text dumpsys shows), so that a fuzzer
// can prove an input left nothing behind without reaching into the service's members.
#pragma once

#include "service/TovanDravik.h"

namespace tessaro_fuzz {

// A finding, with the dump, unless it shows no session, client list, memory, command buffer,
// command, sub-command, typed run or callback.
void checkNothingFiled(aidl::vendor::korvane::hardware::tessaro::dravik::TovanDravik& service);

}  // namespace tessaro_fuzz
