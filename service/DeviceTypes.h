#pragma once

#include <cstdint>

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

// The device types of the accelerator's engines that the service accepts: 1 to 6 except 5.
inline bool isDravikDeviceType(int32_t type) {
    return type >= 1 && type <= 6 && type != 5;
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
