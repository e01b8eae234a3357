#include "calling_identity.h"

#include <android/binder_ibinder.h>
#include <unistd.h>

namespace host_binder {

namespace {
// The identity set by the innermost ScopedCallingIdentity of this thread; null when none is.
thread_local const CallingIdentity* thread_caller = nullptr;
}  // namespace

CallingIdentity currentCallingIdentity() {
    if (thread_caller != nullptr) return *thread_caller;
    return CallingIdentity{::getpid(), ::getuid()};
}

ScopedCallingIdentity::ScopedCallingIdentity(CallingIdentity caller)
    : previous_(thread_caller), caller_(caller) {
    thread_caller = &caller_;
}

ScopedCallingIdentity::~ScopedCallingIdentity() {
    thread_caller = previous_;
}

}  // namespace host_binder

pid_t AIBinder_getCallingPid() {
    return host_binder::currentCallingIdentity().pid;
}

uid_t AIBinder_getCallingUid() {
    return host_binder::currentCallingIdentity().uid;
}
