// Starts the service inside this process, as the hosting process does, then calls it as a client:
// through the service manager, the generated proxy and real transactions.
#include <aidl/vendor/korvane/hardware/tessaro/dravik/BpTovanDravik.h>
#include <android/binder_manager.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "service/ServiceStart.h"

using aidl::vendor::korvane::hardware::tessaro::dravik::BpTovanDravik;
using aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik;

namespace {

double millisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
            .count();
}

}  // namespace

int main() {
    auto start = std::chrono::steady_clock::now();
    TessaroDravikServerInitInternal();
    const std::string instance = std::string(ITovanDravik::descriptor) + "/default";
    ndk::SpAIBinder binder(AServiceManager_checkService(instance.c_str()));
    if (binder.get() == nullptr) {
        std::fprintf(stderr, "service %s is not registered\n", instance.c_str());
        return 1;
    }
    std::printf("registered    %s (%.3f ms)\n", instance.c_str(), millisecondsSince(start));

    auto service = ndk::SharedRefBase::make<BpTovanDravik>(binder);
    int32_t version = 0;
    std::string hash;
    start = std::chrono::steady_clock::now();
    if (!service->getInterfaceVersion(&version).isOk() ||
        !service->getInterfaceHash(&hash).isOk()) {
        std::fprintf(stderr, "the interface does not answer its version and hash\n");
        return 1;
    }
    std::printf("interface     version %d, hash %s (%.3f ms)\n", version, hash.c_str(),
                millisecondsSince(start));
    if (version != ITovanDravik::version || hash != ITovanDravik::hash) {
        std::fprintf(stderr, "expected version %d, hash %s\n", ITovanDravik::version,
                     ITovanDravik::hash.c_str());
        return 1;
    }

    start = std::chrono::steady_clock::now();
    int64_t session_id = 0;
    ndk::ScopedAStatus status = service->session_createInstance(&session_id);
    std::printf("session       %s (%.3f ms)\n",
                status.isOk() ? ("created, id " + std::to_string(session_id)).c_str()
                              : ("not created: " + status.getDescription()).c_str(),
                millisecondsSince(start));
    return 0;
}
