// The AServiceManager C functions: the process's own service table first, then the service
// directory, where registrations are published for other processes.
#include <android/binder_manager.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "log.h"
#include "outgoing_calls.h"
#include "service_publisher.h"
#include "service_table.h"
#include "vintf_manifest.h"

using host_binder::logError;
using host_binder::ServiceTable;

namespace {

constexpr size_t kMaxInstanceNameLength = 127;
// How long getService waits for a service that is not registered yet.
constexpr std::chrono::seconds kGetServiceWait{5};
// How often a wait looks in the service directory again.
constexpr std::chrono::milliseconds kDirectoryPollInterval{50};

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

// This process's registration of instance, else another process's.
ndk::SpAIBinder find(const std::string& instance) {
    ndk::SpAIBinder binder = ServiceTable::processTable().find(instance);
    if (binder.get() == nullptr) host_binder::lookupService(instance, &binder);
    return binder;
}

// As find, waiting for a registration up to limit when given.
ndk::SpAIBinder waitFor(const std::string& instance,
                        std::optional<std::chrono::steady_clock::duration> limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit.value_or(kGetServiceWait);
    for (;;) {
        ndk::SpAIBinder binder = find(instance);
        if (binder.get() != nullptr) return binder;
        if (limit.has_value() && std::chrono::steady_clock::now() >= deadline) return binder;
        // A registration in this process ends the pause at once.
        binder = ServiceTable::processTable().waitFor(instance, kDirectoryPollInterval);
        if (binder.get() != nullptr) return binder;
    }
}

}  // namespace

binder_exception_t AServiceManager_addService(AIBinder* binder, const char* instance) {
    if (binder == nullptr) {
        logError("AServiceManager_addService: null binder");
        return EX_ILLEGAL_ARGUMENT;
    }
    if (!isValidInstanceName(__func__, instance)) return EX_ILLEGAL_ARGUMENT;
    if (!host_binder::ServicePublisher::processPublisher().publish(instance)) {
        logError("AServiceManager_addService: cannot publish '%s' for other processes", instance);
        return EX_ILLEGAL_STATE;
    }
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
    if (!host_binder::ServicePublisher::processPublisher().publish(instance)) {
        logError("AServiceManager_registerLazyService: cannot publish '%s' for other processes",
                 instance);
        return STATUS_INVALID_OPERATION;
    }
    AIBinder_incStrong(binder);
    ServiceTable::processTable().add(instance, ndk::SpAIBinder(binder), /*lazy=*/true);
    return STATUS_OK;
}

AIBinder* AServiceManager_checkService(const char* instance) {
    if (!isValidInstanceName(__func__, instance)) return nullptr;
    return handOver(find(instance));
}

AIBinder* AServiceManager_getService(const char* instance) {
    if (!isValidInstanceName(__func__, instance)) return nullptr;
    return handOver(waitFor(instance, kGetServiceWait));
}

AIBinder* AServiceManager_waitForService(const char* instance) {
    if (!isValidInstanceName(__func__, instance)) return nullptr;
    return handOver(waitFor(instance, std::nullopt));
}

bool AServiceManager_isDeclared(const char* instance) {
    if (instance == nullptr) return false;
    for (const host_binder::DeclaredInstance& declared : host_binder::declaredInstances()) {
        if (declared.interface + "/" + declared.instance == instance) return true;
    }
    return false;
}

void AServiceManager_forEachDeclaredInstance(const char* interface, void* context,
                                             void (*callback)(const char*, void*)) {
    if (interface == nullptr || callback == nullptr) {
        logError("AServiceManager_forEachDeclaredInstance: null %s",
                 interface == nullptr ? "interface" : "callback");
        std::abort();
    }
    for (const host_binder::DeclaredInstance& declared : host_binder::declaredInstances()) {
        if (declared.interface == interface) callback(declared.instance.c_str(), context);
    }
}
