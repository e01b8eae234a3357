// The process's thread pool: work runs on several threads at once, and the C functions' results.
#include <android/binder_process.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "thread_pool.h"

namespace {

TEST(ThreadPoolTest, RunsWorkInParallelAndAnswersItsState) {
    EXPECT_FALSE(ABinderProcess_setThreadPoolMaxThreadCount(0));
    EXPECT_TRUE(ABinderProcess_setThreadPoolMaxThreadCount(4));

    // Each task waits until all have started: only parallel threads can finish them.
    constexpr int kTasks = 4;
    std::mutex lock;
    std::condition_variable changed;
    int arrived = 0;
    int finished = 0;
    for (int task = 0; task < kTasks; ++task) {
        host_binder::ThreadPool::processPool().post([&] {
            std::unique_lock<std::mutex> guard(lock);
            ++arrived;
            changed.notify_all();
            changed.wait_for(guard, std::chrono::seconds(30), [&] { return arrived == kTasks; });
            if (arrived == kTasks) ++finished;
            changed.notify_all();
        });
    }
    std::unique_lock<std::mutex> guard(lock);
    EXPECT_TRUE(
            changed.wait_for(guard, std::chrono::seconds(60), [&] { return finished == kTasks; }));
    guard.unlock();

    EXPECT_FALSE(ABinderProcess_isThreadPoolStarted());  // on-demand threads do not start it
    ABinderProcess_startThreadPool();
    EXPECT_TRUE(ABinderProcess_isThreadPoolStarted());
    EXPECT_TRUE(ABinderProcess_setThreadPoolMaxThreadCount(15));
}

}  // namespace
