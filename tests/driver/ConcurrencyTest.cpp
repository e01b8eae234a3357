// Many threads at once: on their own sessions, on one shared session, and against its deletion.
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using ConcurrencyTest = DriverTest;

constexpr int kThreads = 4;

// One whole life of a session; answers the number of calls that failed.
int sessionLife(int round) {
    int failures = 0;
    auto check = [&failures](bool ok) { failures += ok ? 0 : 1; };
    dravik_session* session = dravikSession_createInstance();
    if (session == nullptr) return 1;
    const std::string name = "round " + std::to_string(round);
    dravik_mem* shareable = dravikSession_memAllocWithName(session, 4096, 0, 0, 0, name.c_str());
    dravik_mem* kept = dravikSession_memAlloc(session, 100, 256, 1, 0);
    dravik_mem* buffer = dravikSession_cmdBufAlloc(session, 128, 0);
    dravik_cmd* command = dravikSession_createCmd(session);
    dravik_subcmd* sub_command = dravikCmd_createSubcmd(command, 1 + round % 4);
    check(shareable && kept && buffer && command && sub_command);
    check(dravikSession_memGetInfoFromHostPtr(session, shareable, 2) > 2);
    check(dravikSubCmd_addCmdBuf(sub_command, buffer, 0) == 0);
    // Each session's run writes only its own memory.
    const auto value = static_cast<float>(round);
    dravik_reference::Program program;
    program.fill(deviceAddress(session, shareable), value, 16)
            .copy(deviceAddress(session, shareable), deviceAddress(session, kept), 64);
    writeProgram(session, buffer, program);
    check(dravikCmd_build(command) == 0);
    check(dravikCmd_run(command) == 0);
    const auto* copied = static_cast<const float*>(hostAddress(session, kept));
    check(copied != nullptr && copied[0] == value && copied[15] == value);
    check(dravikCmd_runAsync(command) == 0);
    check(dravikCmd_wait(command) == 0);
    const int fence = dravikCmd_runFence(command, -1, 0);
    check(fence > 2 && pollsReadable(fence, -1));
    if (fence > 0) close(fence);
    check(dravikSession_memFree(session, shareable) == 0);
    // Every other round leaves the rest for the session's deletion.
    if (round % 2 == 0) {
        check(dravikSession_deleteCmd(session, command) == 0);
        check(dravikSession_cmdBufFree(session, buffer) == 0);
    }
    check(dravikSession_deleteInstance(session) == 0);
    return failures;
}

TEST_F(ConcurrencyTest, ThreadsLivingTheirOwnSessionsLeaveNothingBehind) {
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&failures, thread] {
            for (int round = thread; round < 120; round += kThreads) {
                failures += sessionLife(round);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures.load(), 0);
}

TEST_F(ConcurrencyTest, ThreadsSharingOneSessionAndOneCommand) {
    ScopedSession session;
    const BuiltCommand built = makeBuiltCommand(session.get());
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int round = 0; round < 50; ++round) {
                dravik_mem* mem = dravikSession_memAlloc(session.get(), 64 + round, 0, 0, 0);
                const bool ok = mem != nullptr && dravikSession_memFlush(session.get(), mem) == 0 &&
                                dravikCmd_run(built.command) == 0 &&
                                dravikCmd_getRunInfo(built.command, 2) > 0 &&
                                dravikCmd_setParam(built.command, 1, thread) == 0 &&
                                dravikSession_memFree(session.get(), mem) == 0;
                failures += ok ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(dravikCmd_getRunInfo(built.command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT),
              kThreads * 50);
}

TEST_F(ConcurrencyTest, DeletingASessionWhileOthersStillCallIntoIt) {
    for (int round = 0; round < 20; ++round) {
        dravik_session* session = dravikSession_createInstance();
        ASSERT_NE(session, nullptr);
        const BuiltCommand built = makeBuiltCommand(session);
        std::atomic<bool> started{false};
        std::atomic<int> wrong_errors{0};
        std::vector<std::thread> threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&] {
                started = true;
                // Until the deletion, calls succeed; after it, they fail with EINVAL and nothing
                // else.
                for (int call = 0; call < 200; ++call) {
                    dravik_mem* mem = dravikSession_memAlloc(session, 64, 0, 0, 0);
                    if (mem == nullptr && errno != EINVAL) ++wrong_errors;
                    dravik_cmd* command = dravikSession_createCmd(session);
                    if (command == nullptr && errno != EINVAL) ++wrong_errors;
                    if (dravikCmd_createSubcmd(built.command, 2) == nullptr && errno != EINVAL &&
                        errno != ENOSPC && errno != EBUSY) {
                        ++wrong_errors;
                    }
                    if (dravikCmd_run(built.command) != 0 && errno != EINVAL && errno != EBUSY &&
                        errno != ENOEXEC) {
                        ++wrong_errors;
                    }
                }
            });
        }
        while (!started) std::this_thread::yield();
        EXPECT_EQ(dravikSession_deleteInstance(session), 0);
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(wrong_errors.load(), 0);
        ASSERT_EQ(liveCounts(), dravik_reference_live_counts{}) << "round " << round;
    }
}

}  // namespace
}  // namespace dravik_test
