#pragma once

#include <cstdint>

// The library-wide debug switch: 1 turns on the INFO-priority per-call lines. Set only at start,
// never reset; read everywhere without synchronisation.
extern "C" uint8_t DEBUG_LOG_DRAVIK;

// Sets DEBUG_LOG_DRAVIK from "ro.build.type" and "persist.vendor.tessaro.debug.draviklog";
// returns the length of the last property read.
int InitDravikDebugConfig();

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

// The debug-flag rule shared by InitDravikDebugConfig and the service start.
int applyDebugConfig();

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
