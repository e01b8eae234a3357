// Who is calling: a per-thread value. In process it is this process itself; a transport that
// runs an incoming transaction on a thread sets the remote caller's identity for its duration.
#pragma once

#include <sys/types.h>

namespace host_binder {

struct CallingIdentity {
    pid_t pid;
    uid_t uid;
};

// The identity of the caller of the transaction this thread runs, or this process's own.
CallingIdentity currentCallingIdentity();

// Sets the calling identity of this thread while it lives, then restores the previous one
// (nested transactions restore their callers in turn).
class ScopedCallingIdentity {
  public:
    explicit ScopedCallingIdentity(CallingIdentity caller);
    ~ScopedCallingIdentity();
    ScopedCallingIdentity(const ScopedCallingIdentity&) = delete;
    ScopedCallingIdentity& operator=(const ScopedCallingIdentity&) = delete;

  private:
    const CallingIdentity* const previous_;
    const CallingIdentity caller_;
};

}  // namespace host_binder
