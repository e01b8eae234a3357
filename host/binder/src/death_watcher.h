// A runtime thread that waits for processes to end: it polls one descriptor per watched process
// (a pidfd, readable once the process has exited) and hands each death to the thread pool.
#pragma once

#include <android/binder_auto_utils.h>

#include <functional>
#include <map>
#include <mutex>

namespace host_binder {

class DeathWatcher {
  public:
    static DeathWatcher& processWatcher();

    // Runs on_death (copied) on a pool thread once fd polls readable or hung up; fd is owned
    // from here on. False, logged, when it cannot be watched.
    bool watch(ndk::ScopedFileDescriptor fd, std::function<void()> on_death);

  private:
    DeathWatcher();
    [[noreturn]] void run();

    ndk::ScopedFileDescriptor epoll_;
    std::mutex lock_;
    std::map<int, std::pair<ndk::ScopedFileDescriptor, std::function<void()>>>
            watched_;  // guarded by lock_
};

}  // namespace host_binder
