#include "service/ServiceStart.h"

#include <android/binder_manager.h>
#include <cutils/properties.h>

#include <cstring>
#include <memory>
#include <string>

#include "service/DebugConfig.h"
#include "service/Logging.h"
#include "service/TovanDravik.h"

using aidl::vendor::korvane::hardware::tessaro::dravik::applyDebugConfig;
using aidl::vendor::korvane::hardware::tessaro::dravik::TovanDravik;

extern "C" void TessaroDravikServerInitInternal() {
    char value[PROPERTY_VALUE_MAX] = {};
    property_get("ro.vendor.qel_nn_baseline_support", value, "0");
    if (strcmp(value, "1") != 0) {
        DRAVIK_LOGW("Halvera is not enabled\n");
        return;
    }
    applyDebugConfig();

    memset(value, 0, sizeof(value));
    property_get("ro.vendor.qel_nn_lazyhal_support", value, "0");
    const bool lazy = strcmp(value, "1") == 0;

    std::shared_ptr<TovanDravik> service = ndk::SharedRefBase::make<TovanDravik>();
    if (service == nullptr) {
        DRAVIK_LOGE("Create dravik aidl service fail");
        return;
    }
    const std::string instance = std::string(TovanDravik::descriptor) + "/default";
    // The service manager takes its own reference; ours is released once the call returns.
    ndk::SpAIBinder binder = service->asBinder();
    if (lazy) {
        if (AServiceManager_registerLazyService(binder.get(), instance.c_str()) != STATUS_OK) {
            DRAVIK_LOGE("failed to register tessaro dravik lazy aidl interface");
        }
    } else {
        if (AServiceManager_addService(binder.get(), instance.c_str()) != EX_NONE) {
            DRAVIK_LOGE("failed to register tessaro dravik aidl interface");
        }
    }
}

extern "C" int TessaroDravikServerDeinitInternal() {
    char value[PROPERTY_VALUE_MAX] = {};
    int length = property_get("ro.vendor.qel_nn_baseline_support", value, "0");
    if (strcmp(value, "1") == 0) return length;
    return DRAVIK_LOGW("Halvera is not enabled\n");
}
