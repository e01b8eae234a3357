// What this process knows of another one, by endpoint name: whether it still runs. The first
// look-up of an endpoint connects to it once, takes its pid from the socket's credentials and
// watches a pidfd of that pid, so that the process's death, not the end of one connection, is
// what counts. When it dies, and once every call it sent here has run, the runtime tells the
// death recipients of its proxies and drops the references it held to this process's binders.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace host_binder {

class RemoteProcess : public std::enable_shared_from_this<RemoteProcess> {
  public:
    // The record of endpoint, made and watched on first use. Records stay for the process's
    // life (a few per peer process).
    static std::shared_ptr<RemoteProcess> get(const std::string& endpoint);

    explicit RemoteProcess(std::string endpoint) : endpoint_(std::move(endpoint)) {}
    const std::string& endpoint() const { return endpoint_; }
    bool isDead() const;
    // Runs action, under this record's lock, only while the process is not known dead; then
    // the death is reported after action. False, action not run, once dead.
    bool whileAlive(const std::function<void()>& action);

  private:
    // Connects once and starts watching; a process that cannot be reached is dead.
    void startWatching();
    // Marks the process dead, then reports it once its connections here have ended.
    void died();
    // Tells the death recipients of its proxies and drops what it held.
    void reportDeath();

    const std::string endpoint_;
    mutable std::mutex lock_;
    bool dead_ = false;  // guarded by lock_
};

}  // namespace host_binder
