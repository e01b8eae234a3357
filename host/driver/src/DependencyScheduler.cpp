#include "DependencyScheduler.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

namespace dravik::reference {

namespace {

class Schedule {
  public:
    Schedule(const std::vector<std::size_t>& order,
             const std::set<std::pair<std::size_t, std::size_t>>& edges,
             const std::function<void(std::size_t)>& task)
        : task_(task),
          position_(order.size()),
          successors_(order.size()),
          waiting_on_(order.size(), 0) {
        for (std::size_t position = 0; position < order.size(); ++position) {
            position_[order[position]] = position;
        }
        for (const auto& [before, after] : edges) {
            successors_[before].push_back(after);
            ++waiting_on_[after];
        }
        for (std::size_t index = 0; index < order.size(); ++index) {
            if (waiting_on_[index] == 0) ready_.emplace(position_[index], index);
        }
    }

    // Takes ready sub-commands until all are done.
    void work() {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            changed_.wait(lock,
                          [this] { return !ready_.empty() || finished_ == position_.size(); });
            if (ready_.empty()) return;
            const std::size_t index = ready_.begin()->second;
            ready_.erase(ready_.begin());
            lock.unlock();
            task_(index);
            lock.lock();
            ++finished_;
            for (const std::size_t after : successors_[index]) {
                if (--waiting_on_[after] == 0) ready_.emplace(position_[after], after);
            }
            changed_.notify_all();
        }
    }

  private:
    const std::function<void(std::size_t)>& task_;
    std::vector<std::size_t> position_;  // index -> place in run order
    std::vector<std::vector<std::size_t>> successors_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::size_t> waiting_on_;
    std::set<std::pair<std::size_t, std::size_t>> ready_;  // (place in run order, index)
    std::size_t finished_ = 0;
};

// Joins its threads when it goes, whichever way the scope is left.
class JoinedThreads {
  public:
    JoinedThreads() = default;
    ~JoinedThreads() {
        for (std::thread& thread : threads_) thread.join();
    }
    JoinedThreads(const JoinedThreads&) = delete;
    JoinedThreads& operator=(const JoinedThreads&) = delete;

    // false when no thread could be started; the work is then done by the threads there are.
    bool start(const std::function<void()>& body) {
        try {
            threads_.emplace_back(body);
            return true;
        } catch (const std::system_error&) {
            return false;
        }
    }

  private:
    std::vector<std::thread> threads_;
};

}  // namespace

void runInDependencyOrder(const std::vector<std::size_t>& order,
                          const std::set<std::pair<std::size_t, std::size_t>>& edges,
                          std::size_t max_threads, const std::function<void(std::size_t)>& task) {
    Schedule schedule(order, edges, task);
    {
        JoinedThreads helpers;
        for (std::size_t extra = 1; extra < std::min(max_threads, order.size()); ++extra) {
            if (!helpers.start([&schedule] { schedule.work(); })) break;
        }
        schedule.work();
    }
}

}  // namespace dravik::reference
