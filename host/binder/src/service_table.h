// The services registered in this process's service manager: name -> strong binder reference.
// The cross-process half publishes each registration in a service directory as well and looks
// there for names this table lacks; both sit behind the AServiceManager_* functions.
#pragma once

#include <android/binder_auto_utils.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace host_binder {

class ServiceTable {
  public:
    // The table of this process. It is never destroyed: services stay registered while the
    // process exits, as they would with a service manager in another process.
    static ServiceTable& processTable();

    // Registers binder under name, replacing (and releasing) any binder registered before.
    void add(const std::string& name, const ndk::SpAIBinder& binder, bool lazy);
    // The binder registered under name, or an empty one.
    ndk::SpAIBinder find(const std::string& name) const;
    // As find, waiting until a binder is registered under name, for at most limit when given.
    ndk::SpAIBinder waitFor(const std::string& name,
                            std::optional<std::chrono::steady_clock::duration> limit) const;
    // Whether name is registered as a lazy service.
    bool isLazy(const std::string& name) const;

  private:
    struct Registration {
        ndk::SpAIBinder binder;
        bool lazy;
    };

    mutable std::mutex lock_;
    mutable std::condition_variable registered_;
    std::map<std::string, Registration> services_;  // guarded by lock_
};

}  // namespace host_binder
