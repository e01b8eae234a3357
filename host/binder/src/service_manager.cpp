// The AServiceManager C functions, in front of the process's service table.
#include <android/binder_manager.h>

#include <chrono>
#include <cstring>
#include <string>

#include "log.h"
#include "service_table.h"

using host_binder::logError;
using host_binder::ServiceTable;

namespace {

constexpr size_t kMaxInstanceNameLength = 127;
// How long getService waits for a service that is not registered yet.
constexpr std::chrono::seconds kGetServiceWait{5};

bool isValidInstanceName(const char* function, const char* instance) {
    if (instance == nullptr) {
        logError("%s: null instance name", function);
        return false;
    }
    const size_t length = std::strlen(instance);
    bool valid = length > 0 && length <= kMaxInstanceNameLength;
    for (size_t index = 0; valid && index < length; ++index) {
        const char character = instance[index];
        valid = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
                (character >= '0' && character <= '9') || std::strchr("_.-/", character) != nullptr;
    }
    if (!valid) logError("%s: invalid instance name '%s'", function, instance);
    return valid;
}

// A strong reference of the caller's own to binder.
AIBinder* handOver(const ndk::SpAIBinder& binder) {
    AIBinder_incStrong(binder.get());
    return binder.get();
}

}  // namespace

binder_exception_t AServiceManager_addService(AIBinder* binder, const char* instance) {
    if (binder == nullptr) {
        logError("AServiceManager_addService: null binder");
        return EX_ILLEGAL_ARGUMENT;
    }
    if (!isValidInstanceName(__func__, instance)) return EX_ILLEGAL_ARGUMENT;
    AIBinder_incStrong(binder);
    ServiceTable::processTable().add(instance, ndk::SpAIBinder(binder), /*lazy=*/false);
    return EX_NONE;
}

binder_status_t AServiceManager_registerLazyService(AIBinder* binder, const char* instance) {
    if (binder == nullptr || instance == nullptr) {
        logError("AServiceManager_registerLazyService: null %s",
                 binder == nullptr ? "binder" : "instance name");
        return STATUS_UNEXPECTED_NULL;
    }
    if (!isValidInstanceName(__func__, instance)) return STATUS_BAD_VALUE;
    AIBinder_incStrong(binder);
    ServiceTable::processTable().add(instance, ndk::SpAIBinder(binder), /*lazy=*/true);
    return STATUS_OK;
}

AIBinder* AServiceManager_checkService(const char* instance) {
    if (!isValidInstanceName(__func__, instance)) return nullptr;
    return handOver(ServiceTable::processTable().find(instance));
}

AIBinder* AServiceManager_getService(const char* instance) {
    if (!isValidInstanceName(__func__, instance)) return nullptr;
    return handOver(ServiceTable::processTable().waitFor(instance, kGetServiceWait));
}

AIBinder* AServiceManager_waitForService(const char* instance) {
    if (!isValidInstanceName(__func__, instance)) return nullptr;
    return handOver(ServiceTable::processTable().waitFor(instance, std::nullopt));
}
