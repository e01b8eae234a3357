// Fenced runs: the fence a run hands back and the input fence it waits on.
#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using FenceTest = DriverTest;

// The second run waits on the first one's fence, the first on an eventfd; while they wait, the
// first command's structure is held. An input fence that fails fails its run.
TEST_F(FenceTest, RunsWaitForTheirInputFencesWhichChainAndMayFail) {
    ScopedSession session;
    const ProgramCommand first = makeProgramCommand(session.get(), {Program()});
    const ProgramCommand second = makeProgramCommand(session.get(), {Program()});
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
    EXPECT_EQ(dravikCmd_getRunInfo(first.command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_createSubcmd(first.command, 1)), EBUSY);
    EXPECT_EQ(errnoOfFailure(dravikCmd_build(first.command)), EBUSY);
    EXPECT_EQ(errnoOfFailure(dravikSubCmd_addCmdBuf(first.sub_commands[0], first.buffers[0],
                                                    DRAVIK_REFERENCE_ADD_CMD_BUF_REPLACE)),
              EBUSY);
    EXPECT_EQ(dravikCmd_setParam(first.command, DRAVIK_REFERENCE_CMD_PARAM_PRIORITY, 3), 0)
            << "parameters may change at any time";

    ASSERT_EQ(eventfd_write(input.get(), 1), 0);
    EXPECT_TRUE(pollsReadable(second_fence.get(), kFailureBoundMs));
    for (const ProgramCommand* made : {&first, &second}) {
        EXPECT_EQ(dravikCmd_getRunInfo(made->command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT), 1);
        EXPECT_EQ(dravikCmd_getRunInfo(made->command, DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS), 0);
    }
    EXPECT_NE(dravikCmd_createSubcmd(first.command, 1), nullptr) << "the structure is free again";

    // A hang-up instead of a signal fails the run with EIO; the fence says it is over all the same.
    int pipe_ends[2];
    ASSERT_EQ(pipe2(pipe_ends, O_CLOEXEC), 0);
    const Descriptor reader(pipe_ends[0]);
    Descriptor writer(pipe_ends[1]);
    const Descriptor failed_fence(dravikCmd_runFence(second.command, reader.get(), 0));
    ASSERT_GT(failed_fence.get(), 2);
    writer.reset();
    EXPECT_TRUE(pollsReadable(failed_fence.get(), kFailureBoundMs));
    EXPECT_EQ(dravikCmd_getRunInfo(second.command, DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS), EIO);
    EXPECT_EQ(dravikSubCmd_getRunInfo(second.sub_commands[0],
                                      DRAVIK_REFERENCE_SUBCMD_RUN_INFO_RUN_COUNT),
              1);
}

}  // namespace
}  // namespace dravik_test
