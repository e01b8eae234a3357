// Fenced runs: the fence a run hands back and the input fence it waits on.
#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using FenceTest = DriverTest;

int64_t runInfo(dravik_cmd* command, int32_t kind) {
    return dravikCmd_getRunInfo(command, kind);
}

// The second run waits on the first one's fence, the first on an eventfd; while they wait, the
// first command's structure is held.
TEST_F(FenceTest, ARunWaitsForItsInputFenceAndFencesChain) {
    ScopedSession session;
    const ProgramCommand first = makeEmptyCommand(session.get());
    const ProgramCommand second = makeEmptyCommand(session.get());
    const Descriptor input(eventfd(0, EFD_CLOEXEC));
    Descriptor handed_over(dup(input.get()));
    const Descriptor first_fence(dravikCmd_runFence(first.command, handed_over.get(), 0));
    ASSERT_GT(first_fence.get(), 2);
    EXPECT_NE(fcntl(first_fence.get(), F_GETFD) & FD_CLOEXEC, 0);
    handed_over.reset();  // the driver keeps its own copy
    const Descriptor second_fence(dravikCmd_runFence(second.command, first_fence.get(), 0));
    ASSERT_GT(second_fence.get(), 2);

    EXPECT_FALSE(pollsReadable(first_fence.get(), 100));
    EXPECT_FALSE(pollsReadable(second_fence.get(), 0));
    EXPECT_EQ(runInfo(first.command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_createSubcmd(first.command, 1)), EBUSY);
    EXPECT_EQ(errnoOfFailure(dravikCmd_build(first.command)), EBUSY);
    EXPECT_EQ(errnoOfFailure(dravikSubCmd_addCmdBuf(first.sub_commands[0], first.buffers[0],
                                                    DRAVIK_REFERENCE_ADD_CMD_BUF_REPLACE)),
              EBUSY);
    EXPECT_EQ(dravikCmd_setParam(first.command, DRAVIK_REFERENCE_CMD_PARAM_PRIORITY, 3), 0)
            << "parameters may change at any time";

    signalEvent(input.get());
    EXPECT_TRUE(pollsReadable(second_fence.get(), -1));
    EXPECT_TRUE(pollsReadable(first_fence.get(), 0));
    for (const ProgramCommand* made : {&first, &second}) {
        EXPECT_EQ(runInfo(made->command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT), 1);
        EXPECT_EQ(runInfo(made->command, DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS), 0);
    }
    EXPECT_NE(dravikCmd_createSubcmd(first.command, 1), nullptr) << "the structure is free again";
}

// A hang-up instead of a signal fails the run with EIO; the fence says it is over all the same.
TEST_F(FenceTest, AnInputFenceThatFailsFailsTheRun) {
    ScopedSession session;
    const ProgramCommand built = makeEmptyCommand(session.get());
    int pipe_ends[2];
    ASSERT_EQ(pipe2(pipe_ends, O_CLOEXEC), 0);
    const Descriptor reader(pipe_ends[0]);
    Descriptor writer(pipe_ends[1]);
    const Descriptor fence(dravikCmd_runFence(built.command, reader.get(), 0));
    ASSERT_GT(fence.get(), 2);
    writer.reset();
    EXPECT_TRUE(pollsReadable(fence.get(), -1));
    EXPECT_EQ(runInfo(built.command, DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS), EIO);
    EXPECT_EQ(dravikSubCmd_getRunInfo(built.sub_commands[0],
                                      DRAVIK_REFERENCE_SUBCMD_RUN_INFO_RUN_COUNT),
              0);
}

}  // namespace
}  // namespace dravik_test
