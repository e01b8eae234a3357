// The process's pool of threads that run incoming work: transactions from other processes and
// death notifications. Threads are started on demand, one whenever work waits and none is idle,
// up to the maximum count; threads that join run work too, beyond that count. Work queued while
// the count is reached waits for a thread to finish its current work.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>

namespace host_binder {

class ThreadPool {
  public:
    static constexpr size_t kDefaultMaxThreads = 15;

    // The pool of this process. Never destroyed: its threads may run while the process exits.
    static ThreadPool& processPool();

    // Queues work to run on a pool thread; work is copied in by value.
    void post(std::function<void()> work);
    // Starts the first thread (if none runs yet) and marks the pool started.
    void start();
    // Runs queued work on the calling thread, forever.
    [[noreturn]] void join();
    bool setMaxThreads(size_t count);
    bool isStarted() const;

  private:
    ThreadPool() = default;
    // Starts a pool thread; called with lock_ held, when the count allows one more.
    void spawnLocked();
    [[noreturn]] void runWorker();

    mutable std::mutex lock_;
    std::condition_variable work_ready_;
    std::deque<std::function<void()>> queue_;  // guarded by lock_
    size_t max_threads_ = kDefaultMaxThreads;  // guarded by lock_
    size_t spawned_ = 0;                       // guarded by lock_
    size_t idle_ = 0;                          // guarded by lock_
    bool started_ = false;                     // guarded by lock_
};

}  // namespace host_binder
