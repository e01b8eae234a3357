#include "ServiceConnection.h"

#include <android/binder_manager.h>

#include <cstdlib>

namespace tessaro_workload {

std::string serviceInstanceName() {
    return std::string(ITovanDravik::descriptor) + "/default";
}

std::shared_ptr<ITovanDravik> connectToService(std::string* error) {
    const std::string instance = serviceInstanceName();
    ndk::SpAIBinder binder(AServiceManager_checkService(instance.c_str()));
    if (binder.get() == nullptr) {
        const char* directory = std::getenv("TESSARO_BINDER_DIR");
        *error = "no service " + instance + " is running" +
                 (directory != nullptr ? std::string(" in ") + directory
                                       : std::string(" (TESSARO_BINDER_DIR is not set)"));
        return nullptr;
    }
    std::shared_ptr<ITovanDravik> service = ITovanDravik::fromBinder(binder);
    int32_t version = 0;
    const ndk::ScopedAStatus status = service->getInterfaceVersion(&version);
    if (!status.isOk()) {
        *error = "the service does not answer: " + status.getDescription();
        return nullptr;
    }
    if (version != ITovanDravik::version) {
        *error = "the service speaks interface version " + std::to_string(version) +
                 ", this client version " + std::to_string(ITovanDravik::version);
        return nullptr;
    }
    return service;
}

}  // namespace tessaro_workload
