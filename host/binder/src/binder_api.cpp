// The AIBinder C functions about a binder's identity, class and liveness.
#include <android/binder_ibinder.h>
#include <android/binder_stability.h>

#include "binder.h"
#include "binder_class.h"
#include "local_binder.h"
#include "log.h"

using host_binder::logError;

AIBinder* AIBinder_new(const AIBinder_Class* clazz, void* args) {
    if (clazz == nullptr) {
        logError("AIBinder_new: null class");
        return nullptr;
    }
    return new host_binder::LocalBinder(clazz, args);
}

bool AIBinder_isRemote(const AIBinder* binder) {
    return binder != nullptr && binder->isRemote();
}

bool AIBinder_isAlive(const AIBinder* binder) {
    return binder != nullptr && binder->isAlive();
}

binder_status_t AIBinder_ping(AIBinder* binder) {
    if (binder == nullptr) return STATUS_UNEXPECTED_NULL;
    return binder->ping();
}

binder_status_t AIBinder_dump(AIBinder* binder, int fd, const char** args, uint32_t numArgs) {
    if (binder == nullptr || (args == nullptr && numArgs > 0)) {
        logError("AIBinder_dump: null %s", binder == nullptr ? "binder" : "arguments");
        return STATUS_UNEXPECTED_NULL;
    }
    return binder->dump(fd, args, numArgs);
}

bool AIBinder_associateClass(AIBinder* binder, const AIBinder_Class* clazz) {
    if (binder == nullptr || clazz == nullptr) {
        logError("AIBinder_associateClass: null %s", binder == nullptr ? "binder" : "class");
        return false;
    }
    return binder->associateClass(clazz);
}

const AIBinder_Class* AIBinder_getClass(AIBinder* binder) {
    return binder == nullptr ? nullptr : binder->binderClass();
}

void* AIBinder_getUserData(AIBinder* binder) {
    return binder == nullptr ? nullptr : binder->userData();
}

void AIBinder_markVintfStability(AIBinder* binder) {
    if (binder == nullptr || binder->isRemote()) {
        logError("AIBinder_markVintfStability: only a local binder can be marked, not a %s one",
                 binder == nullptr ? "null" : "remote");
        return;
    }
    binder->setStability(host_binder::Stability::kVintf);
}
