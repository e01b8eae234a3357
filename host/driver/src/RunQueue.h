// The queued runs of one command (runAsync, runFence), executed one after another in submission
// order on the command's own worker thread, started with the first run. Shutting down cancels the
// runs not yet started and joins the worker.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

#include "UniqueDescriptor.h"

namespace dravik::reference {

// Executes a run, or with blocked_by non-zero records why it could not (EIO: its input fence
// failed; ECANCELED: the queue shut down). Answers 0 or the errno the run failed with.
using QueuedRunWork = std::function<int(int blocked_by)>;

struct QueuedRun {
    UniqueDescriptor input_fence;        // waited on first, when valid
    UniqueDescriptor completion_signal;  // signalled when over, when valid
    QueuedRunWork work;
};

class RunQueue {
  public:
    RunQueue() = default;
    ~RunQueue() { shutDown(); }
    RunQueue(const RunQueue&) = delete;
    RunQueue& operator=(const RunQueue&) = delete;

    // The future holds the run's result. Throws DriverError(EBUSY) when the queue is full,
    // DriverError(EINVAL) after shutDown.
    std::future<int> submit(QueuedRun run);
    void shutDown();

  private:
    struct Entry {
        QueuedRun run;
        std::promise<int> result;
    };

    void startWorkerLocked();
    void workerLoop();
    void execute(Entry& entry);

    std::mutex mutex_;
    std::condition_variable work_available_;
    std::deque<Entry> entries_;
    bool stopping_ = false;
    // Readable once shutting down, so a run waiting on its input fence stops waiting.
    UniqueDescriptor cancel_signal_;
    std::thread worker_;
};

}  // namespace dravik::reference
