// Fenced runs: the fence a run hands back, the input fence it waits on, and cancellation.
#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <vector>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using FenceTest = DriverTest;

void signal(int eventfd_descriptor) {
    const uint64_t one = 1;
    ASSERT_EQ(write(eventfd_descriptor, &one, sizeof(one)), static_cast<ssize_t>(sizeof(one)));
}

int64_t runCount(dravik_cmd* command) {
    return dravikCmd_getRunInfo(command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT);
}

TEST_F(FenceTest, TheFencePollsReadableOnceTheRunIsOver) {
    ScopedSession session;
    const BuiltCommand built = makeBuiltCommand(session.get());
    const int fence = dravikCmd_runFence(built.command, -1, 0);
    ASSERT_GT(fence, 2);
    EXPECT_TRUE(pollsReadable(fence, -1));
    EXPECT_EQ(runCount(built.command), 1);
    EXPECT_EQ(dravikCmd_getRunInfo(built.command, DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS), 0);
    EXPECT_NE(fcntl(fence, F_GETFD) & FD_CLOEXEC, 0);
    close(fence);
}

TEST_F(FenceTest, ARunWaitsForItsInputFenceAndFencesChain) {
    ScopedSession session;
    const BuiltCommand first = makeBuiltCommand(session.get());
    const BuiltCommand second =
            makeBuiltCommand(session.get(), DRAVIK_REFERENCE_DEVICE_COPY_ENGINE);
    const int input = eventfd(0, EFD_CLOEXEC);
    const int handed_over = dup(input);
    const int first_fence = dravikCmd_runFence(first.command, handed_over, 0);
    ASSERT_GT(first_fence, 2);
    // The driver keeps its own copy of the input fence.
    close(handed_over);
    const int second_fence = dravikCmd_runFence(second.command, first_fence, 0);
    ASSERT_GT(second_fence, 2);

    // However long it is given, the first run waits for input, and the second for the first.
    EXPECT_FALSE(pollsReadable(first_fence, 100));
    EXPECT_FALSE(pollsReadable(second_fence, 0));
    EXPECT_EQ(runCount(first.command), 0);
    signal(input);
    EXPECT_TRUE(pollsReadable(second_fence, -1));
    EXPECT_TRUE(pollsReadable(first_fence, 0));
    EXPECT_EQ(runCount(first.command), 1);
    EXPECT_EQ(runCount(second.command), 1);
    close(first_fence);
    close(second_fence);
    close(input);
}

TEST_F(FenceTest, AnInputFenceThatFailsFailsTheRun) {
    ScopedSession session;
    const BuiltCommand built = makeBuiltCommand(session.get());
    int pipe_ends[2];
    ASSERT_EQ(pipe2(pipe_ends, O_CLOEXEC), 0);
    const int fence = dravikCmd_runFence(built.command, pipe_ends[0], 0);
    ASSERT_GT(fence, 2);
    close(pipe_ends[1]);  // hang-up, never readable data
    EXPECT_TRUE(pollsReadable(fence, -1));
    EXPECT_EQ(dravikCmd_getRunInfo(built.command, DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS), EIO);
    EXPECT_EQ(
            dravikSubCmd_getRunInfo(built.sub_command, DRAVIK_REFERENCE_SUBCMD_RUN_INFO_RUN_COUNT),
            0);
    close(pipe_ends[0]);
    close(fence);
}

TEST_F(FenceTest, BadFencedRunsAreRefused) {
    ScopedSession session;
    const BuiltCommand built = makeBuiltCommand(session.get());
    dravik_cmd* unbuilt = dravikSession_createCmd(session.get());
    const int closed = eventfd(0, EFD_CLOEXEC);
    close(closed);
    EXPECT_EQ(errnoOfFailure(dravikCmd_runFence(built.command, -1, 1)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikCmd_runFence(built.command, -2, 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikCmd_runFence(built.command, closed, 0)), EBADF);
    EXPECT_EQ(errnoOfFailure(dravikCmd_runFence(unbuilt, -1, 0)), ENOEXEC);
    EXPECT_EQ(runCount(built.command), 0);
}

TEST_F(FenceTest, DeletingACommandCancelsItsQueuedRunsAndSignalsTheirFences) {
    ScopedSession session;
    const BuiltCommand built = makeBuiltCommand(session.get());
    const int never = eventfd(0, EFD_CLOEXEC);
    std::vector<int> fences;
    int refusal = 0;
    while (refusal == 0 && fences.size() <= DRAVIK_REFERENCE_MAX_QUEUED_RUNS + 1) {
        const int fence = dravikCmd_runFence(built.command, never, 0);
        if (fence > 0) {
            fences.push_back(fence);
        } else {
            refusal = errno;
        }
    }
    EXPECT_EQ(refusal, EBUSY);
    // The first run may already have left the queue to wait on its input fence.
    EXPECT_GE(fences.size(), static_cast<std::size_t>(DRAVIK_REFERENCE_MAX_QUEUED_RUNS));
    EXPECT_LE(fences.size(), static_cast<std::size_t>(DRAVIK_REFERENCE_MAX_QUEUED_RUNS + 1));

    ASSERT_EQ(dravikSession_deleteCmd(session.get(), built.command), 0);
    for (const int fence : fences) {
        EXPECT_TRUE(pollsReadable(fence, -1));
        close(fence);
    }
    close(never);
}

}  // namespace
}  // namespace dravik_test
