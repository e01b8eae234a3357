#include "RunQueue.h"

#include "DriverError.h"
#include "Fence.h"
#include "dravik_reference_driver.h"

namespace dravik::reference {

std::future<int> RunQueue::submit(QueuedRun run) {
    std::lock_guard<std::mutex> lock(mutex_);
    require(!stopping_, EINVAL);
    require(entries_.size() < DRAVIK_REFERENCE_MAX_QUEUED_RUNS, EBUSY);
    if (!worker_.joinable()) startWorkerLocked();
    Entry& entry = entries_.emplace_back();
    entry.run = std::move(run);
    std::future<int> result = entry.result.get_future();
    work_available_.notify_one();
    return result;
}

void RunQueue::startWorkerLocked() {
    cancel_signal_ = createFence();
    worker_ = std::thread([this] { workerLoop(); });
}

void RunQueue::shutDown() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) return;
        stopping_ = true;
        if (cancel_signal_.valid()) signalFence(cancel_signal_.get());
    }
    work_available_.notify_all();
    if (worker_.joinable()) worker_.join();
}

void RunQueue::workerLoop() {
    for (;;) {
        Entry entry;
        {
            std::unique_lock<std::mutex> lock(mutex_);
            work_available_.wait(lock, [this] { return stopping_ || !entries_.empty(); });
            if (entries_.empty()) return;
            entry = std::move(entries_.front());
            entries_.pop_front();
        }
        execute(entry);
    }
}

void RunQueue::execute(Entry& entry) {
    int blocked_by = 0;
    if (entry.run.input_fence.valid()) {
        switch (waitForFence(entry.run.input_fence.get(), cancel_signal_.get())) {
            case FenceWait::kSignalled:
                break;
            case FenceWait::kFailed:
                blocked_by = EIO;
                break;
            case FenceWait::kCancelled:
                blocked_by = ECANCELED;
                break;
        }
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) blocked_by = ECANCELED;
    }
    const int result = entry.run.work(blocked_by);
    // The work lets go of what it holds before anyone learns that the run is over.
    entry.run.work = nullptr;
    if (entry.run.completion_signal.valid()) signalFence(entry.run.completion_signal.get());
    entry.result.set_value(result);
}

}  // namespace dravik::reference
