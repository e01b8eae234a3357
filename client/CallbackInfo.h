#pragma once

#include <android/binder_auto_utils.h>

#include <cstdint>

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

class TovanDravik;

// One registered client callback: the binder watched for its owner's death, and that owner's pid.
struct CallbackInfo {
    CallbackInfo(const ndk::SpAIBinder& binder, int32_t pid) : binder(binder), pid(pid) {}

    ndk::SpAIBinder binder;
    int32_t pid;
};

// The cookie of one death link: which service to tell, about which binder.
struct OnClientBinderDiedContext {
    TovanDravik* service;    // not owned
    const AIBinder* binder;  // not owned; the key of the service's death context map
};

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
