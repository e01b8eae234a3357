// Synchronous, typed and asynchronous runs, and what they leave in the run information.
#include <sys/eventfd.h>
#include <unistd.h>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using CommandRunTest = DriverTest;

int64_t runInfo(dravik_cmd* command, int32_t kind) {
    return dravikCmd_getRunInfo(command, kind);
}

TEST_F(CommandRunTest, RunsOfABuiltCommandAreRecorded) {
    ScopedSession session;
    dravik_cmd* unbuilt = dravikSession_createCmd(session.get());
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(unbuilt)), ENOEXEC);
    EXPECT_EQ(errnoOfFailure(dravikCmd_runWithType(unbuilt, 0)), ENOEXEC);
    EXPECT_EQ(errnoOfFailure(dravikCmd_runAsync(unbuilt)), ENOEXEC);
    EXPECT_EQ(runInfo(unbuilt, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT), 0);
    EXPECT_EQ(runInfo(unbuilt, DRAVIK_REFERENCE_CMD_RUN_INFO_EXTENSION_ID), 0);

    const BuiltCommand first = makeBuiltCommand(session.get());
    const BuiltCommand second = makeBuiltCommand(session.get());
    ASSERT_EQ(dravikCmd_run(first.command), 0);
    const int64_t first_extension =
            runInfo(first.command, DRAVIK_REFERENCE_CMD_RUN_INFO_EXTENSION_ID);
    EXPECT_GT(first_extension, 0);
    ASSERT_EQ(dravikCmd_run(second.command), 0);
    ASSERT_EQ(dravikCmd_runWithType(first.command, DRAVIK_REFERENCE_RUN_TYPE_LOW_POWER), 0);
    // Extension ids count runs across all commands.
    EXPECT_GT(runInfo(second.command, DRAVIK_REFERENCE_CMD_RUN_INFO_EXTENSION_ID), first_extension);
    EXPECT_GT(runInfo(first.command, DRAVIK_REFERENCE_CMD_RUN_INFO_EXTENSION_ID),
              runInfo(second.command, DRAVIK_REFERENCE_CMD_RUN_INFO_EXTENSION_ID));
    EXPECT_EQ(runInfo(first.command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_TYPE),
              DRAVIK_REFERENCE_RUN_TYPE_LOW_POWER);
    EXPECT_EQ(runInfo(first.command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT), 2);
    EXPECT_EQ(runInfo(first.command, DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS), 0);
    EXPECT_EQ(
            dravikSubCmd_getRunInfo(first.sub_command, DRAVIK_REFERENCE_SUBCMD_RUN_INFO_RUN_COUNT),
            2);

    EXPECT_EQ(errnoOfFailure(dravikCmd_runWithType(first.command, 3)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikCmd_runWithType(first.command, -1)), EINVAL);
    EXPECT_EQ(runInfo(first.command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT), 2);
    errno = 0;
    EXPECT_EQ(runInfo(first.command, 99), 0);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(dravikSubCmd_getRunInfo(first.sub_command, 0), 0);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(CommandRunTest, AnAsynchronousRunIsWaitedForOnce) {
    ScopedSession session;
    const BuiltCommand built = makeBuiltCommand(session.get());
    EXPECT_EQ(errnoOfFailure(dravikCmd_wait(built.command)), EINVAL) << "nothing to wait for";
    ASSERT_EQ(dravikCmd_runAsync(built.command), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_runAsync(built.command)), EBUSY);
    EXPECT_EQ(dravikCmd_wait(built.command), 0);
    EXPECT_EQ(runInfo(built.command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT), 1);
    EXPECT_EQ(errnoOfFailure(dravikCmd_wait(built.command)), EINVAL);
    ASSERT_EQ(dravikCmd_runAsync(built.command), 0);
    EXPECT_EQ(dravikCmd_wait(built.command), 0);
    EXPECT_EQ(runInfo(built.command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT), 2);
}

TEST_F(CommandRunTest, StructureCannotChangeWhileARunIsQueued) {
    ScopedSession session;
    const BuiltCommand built = makeBuiltCommand(session.get());
    const int input = eventfd(0, EFD_CLOEXEC);
    const int fence = dravikCmd_runFence(built.command, input, 0);
    ASSERT_GT(fence, 2);
    // The run cannot start before input is signalled, so it is still queued here.
    EXPECT_EQ(errnoOfFailure(dravikCmd_createSubcmd(built.command, 1)), EBUSY);
    EXPECT_EQ(errnoOfFailure(dravikCmd_build(built.command)), EBUSY);
    EXPECT_EQ(errnoOfFailure(dravikSubCmd_addCmdBuf(
                      built.sub_command, dravikSession_cmdBufAlloc(session.get(), 64, 0), 0)),
              EBUSY);
    EXPECT_EQ(dravikCmd_setParam(built.command, DRAVIK_REFERENCE_CMD_PARAM_PRIORITY, 3), 0)
            << "parameters may change at any time";

    const uint64_t one = 1;
    ASSERT_EQ(write(input, &one, sizeof(one)), static_cast<ssize_t>(sizeof(one)));
    ASSERT_TRUE(pollsReadable(fence, -1));
    EXPECT_NE(dravikCmd_createSubcmd(built.command, 1), nullptr);
    close(fence);
    close(input);
}

TEST_F(CommandRunTest, ARunWhoseCommandBufferWasFreedFailsWithEFAULT) {
    ScopedSession session;
    const BuiltCommand built = makeBuiltCommand(session.get());
    ASSERT_EQ(dravikCmd_run(built.command), 0);
    ASSERT_EQ(dravikSession_cmdBufFree(session.get(), built.command_buffer), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(built.command)), EFAULT);
    EXPECT_EQ(runInfo(built.command, DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS), EFAULT);
    EXPECT_EQ(runInfo(built.command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT), 2);
    EXPECT_EQ(
            dravikSubCmd_getRunInfo(built.sub_command, DRAVIK_REFERENCE_SUBCMD_RUN_INFO_RUN_COUNT),
            1);
    ASSERT_EQ(dravikCmd_runAsync(built.command), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_wait(built.command)), EFAULT);
}

}  // namespace
}  // namespace dravik_test
