// Many threads at once on one session and one command, against the session's deletion, and an
// unimport racing a run that uses the memory.
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using ConcurrencyTest = DriverTest;

constexpr int kThreads = 4;

// Runs body(thread) on kThreads threads at once; the number of its calls that went wrong.
template <typename Body>
int failuresOnThreads(Body body) {
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] { failures += body(thread); });
    }
    for (std::thread& thread : threads) thread.join();
    return failures;
}

TEST_F(ConcurrencyTest, ThreadsSharingOneSessionAndOneCommand) {
    ScopedSession session;
    const ProgramCommand built = makeProgramCommand(session.get(), {Program()});
    const int failures = failuresOnThreads([&](int thread) {
        int failed = 0;
        for (int round = 0; round < 50; ++round) {
            dravik_mem* mem = dravikSession_memAlloc(session.get(), 64 + round, 0, 0, 0);
            failed += !(mem != nullptr && dravikSession_memFlush(session.get(), mem) == 0 &&
                        dravikCmd_run(built.command) == 0 &&
                        dravikCmd_setParam(built.command, 1, thread) == 0 &&
                        dravikSession_memFree(session.get(), mem) == 0);
        }
        return failed;
    });
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(dravikCmd_getRunInfo(built.command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT),
              kThreads * 50);
}

// Until the deletion, calls succeed; after it, they fail with EINVAL (or what the state of the
// shared command explains) and nothing else, and nothing is left behind.
TEST_F(ConcurrencyTest, DeletingASessionWhileOthersStillCallIntoIt) {
    for (int round = 0; round < 20; ++round) {
        dravik_session* session = dravikSession_createInstance();
        ASSERT_NE(session, nullptr);
        const ProgramCommand built = makeProgramCommand(session, {Program()});
        std::atomic<int> started{0};
        std::thread deleter([&] {
            while (started < kThreads) std::this_thread::yield();
            EXPECT_EQ(dravikSession_deleteInstance(session), 0);
        });
        const int unexplained = failuresOnThreads([&](int) {
            ++started;
            int wrong = 0;
            for (int call = 0; call < 200; ++call) {
                wrong += dravikSession_memAlloc(session, 64, 0, 0, 0) == nullptr && errno != EINVAL;
                wrong += dravikSession_createCmd(session) == nullptr && errno != EINVAL;
                wrong += dravikCmd_createSubcmd(built.command, 2) == nullptr && errno != EINVAL &&
                         errno != ENOSPC && errno != EBUSY;
                wrong += dravikCmd_run(built.command) != 0 && errno != EINVAL && errno != EBUSY &&
                         errno != ENOEXEC;
            }
            return wrong;
        });
        EXPECT_EQ(unexplained, 0);
        deleter.join();  // the fixture sees that nothing is left
    }
}

// A run holds what it uses: an unimport while the run waits leaves the run writing to memory that
// is still mapped (the caller's file sees it), or, had it come first, fails the run cleanly.
TEST_F(ConcurrencyTest, MemoryLetGoDuringARunStaysMappedUntilTheRunIsOver) {
    ScopedSession session;
    const Descriptor file = memoryFile(4096);
    dravik_mem* imported = dravikSession_memImport(session.get(), file.get(), 4096);
    ASSERT_NE(imported, nullptr) << "errno " << errno;
    const uint64_t address = deviceAddress(session.get(), imported);
    const ProgramCommand made = makeProgramCommand(
            session.get(), {Program().wait(200'000'000), Program().fill(address, 5.0f, 1024)},
            {{0, 1}});
    ASSERT_EQ(dravikCmd_runAsync(made.command), 0);
    usleep(20'000);
    ASSERT_EQ(dravikSession_memUnImport(session.get(), imported), 0);
    if (dravikCmd_wait(made.command) != 0) {
        EXPECT_EQ(errno, EFAULT);
    } else {
        float last = 0.0f;
        ASSERT_EQ(pread(file.get(), &last, sizeof(last), 4096 - sizeof(last)),
                  static_cast<ssize_t>(sizeof(last)));
        EXPECT_EQ(last, 5.0f);
    }
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(made.command)), EFAULT) << "now it is gone";
}

}  // namespace
}  // namespace dravik_test
