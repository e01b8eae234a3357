#include "thread_pool.h"

#include <android/binder_process.h>

#include <system_error>
#include <thread>
#include <utility>

#include "log.h"

namespace host_binder {

ThreadPool& ThreadPool::processPool() {
    static auto* pool = new ThreadPool;
    return *pool;
}

void ThreadPool::post(std::function<void()> work) {
    std::lock_guard<std::mutex> guard(lock_);
    queue_.push_back(std::move(work));
    if (idle_ < queue_.size() && spawned_ < max_threads_) spawnLocked();
    work_ready_.notify_one();
}

void ThreadPool::start() {
    std::lock_guard<std::mutex> guard(lock_);
    started_ = true;
    if (spawned_ == 0) spawnLocked();
}

void ThreadPool::join() {
    {
        std::lock_guard<std::mutex> guard(lock_);
        started_ = true;
    }
    runWorker();
}

bool ThreadPool::setMaxThreads(size_t count) {
    if (count == 0) {
        logError("ABinderProcess_setThreadPoolMaxThreadCount: a pool needs at least one thread");
        return false;
    }
    std::lock_guard<std::mutex> guard(lock_);
    max_threads_ = count;
    return true;
}

bool ThreadPool::isStarted() const {
    std::lock_guard<std::mutex> guard(lock_);
    return started_;
}

void ThreadPool::spawnLocked() {
    try {
        std::thread([this] { runWorker(); }).detach();
        ++spawned_;
    } catch (const std::system_error& error) {
        // The work stays queued for the threads that run.
        logError("binder thread pool: cannot start a thread: %s", error.what());
    }
}

void ThreadPool::runWorker() {
    std::unique_lock<std::mutex> guard(lock_);
    for (;;) {
        ++idle_;
        work_ready_.wait(guard, [this] { return !queue_.empty(); });
        --idle_;
        std::function<void()> work = std::move(queue_.front());
        queue_.pop_front();
        guard.unlock();
        work();
        // The work's own objects go before the lock is taken again: they may queue more.
        work = nullptr;
        guard.lock();
    }
}

}  // namespace host_binder

using host_binder::ThreadPool;

void ABinderProcess_startThreadPool(void) {
    ThreadPool::processPool().start();
}

bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads) {
    return ThreadPool::processPool().setMaxThreads(numThreads);
}

bool ABinderProcess_isThreadPoolStarted(void) {
    return ThreadPool::processPool().isStarted();
}

void ABinderProcess_joinThreadPool(void) {
    ThreadPool::processPool().join();
}
