#include "service/DebugConfig.h"

#include <cutils/properties.h>

#include <cstring>

uint8_t DEBUG_LOG_DRAVIK = 0;

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

int applyDebugConfig() {
    char build_type[PROPERTY_VALUE_MAX] = {};
    char debug_switch[PROPERTY_VALUE_MAX] = {};
    property_get("ro.build.type", build_type, "userdebug");
    int length = property_get("persist.vendor.tessaro.debug.draviklog", debug_switch, "0");
    // An empty build type leaves the flag alone, whatever the debug property says.
    if (build_type[0] == '\0') return length;
    if (strcmp(build_type, "eng") == 0 || strcmp(debug_switch, "1") == 0) DEBUG_LOG_DRAVIK = 1;
    return length;
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik

int InitDravikDebugConfig() {
    return aidl::vendor::korvane::hardware::tessaro::dravik::applyDebugConfig();
}
