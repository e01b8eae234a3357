// This process's endpoint: the name under which other processes reach the binders it exports,
// and the socket at that name in the service directory.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "listener.h"

namespace host_binder {

class ProcessEndpoint {
  public:
    // The endpoint of this process. Never destroyed: its socket serves while the process exits.
    static ProcessEndpoint& self();

    // "p<pid>-<16 random hex digits>": unique even when a pid is reused.
    const std::string& name() const { return name_; }
    // Listens at the endpoint socket from the first call on; false, logged, when it cannot.
    bool ensureListening();

  private:
    ProcessEndpoint();

    const std::string name_;
    std::mutex lock_;
    std::unique_ptr<Listener> listener_;  // guarded by lock_
};

}  // namespace host_binder
