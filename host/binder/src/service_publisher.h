// The sockets of the services this process registered: one listener per instance name, so that
// other processes can look the service up in the service directory.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "listener.h"

namespace host_binder {

class ServicePublisher {
  public:
    static ServicePublisher& processPublisher();

    // Listens at instance's socket (replacing a stale one, or another process's registration,
    // as a new registration does) and at this process's endpoint. False, logged, on failure.
    bool publish(const std::string& instance);

  private:
    ServicePublisher() = default;

    std::mutex lock_;
    std::map<std::string, std::unique_ptr<Listener>> listeners_;  // guarded by lock_
};

}  // namespace host_binder
