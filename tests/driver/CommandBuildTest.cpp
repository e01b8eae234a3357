// Commands and sub-commands: device types, command buffers, parameters, dependencies and build.
#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using CommandBuildTest = DriverTest;

int64_t runInfo(dravik_cmd* command, int32_t kind) {
    return dravikCmd_getRunInfo(command, kind);
}

TEST_F(CommandBuildTest, SubCommandsTakeOnlyTheDeviceTypesOfTheDevice) {
    ScopedSession session;
    dravik_cmd* command = dravikSession_createCmd(session.get());
    ASSERT_NE(command, nullptr);
    int created = 0;
    for (int32_t type = -1; type <= 8; ++type) {
        dravik_subcmd* sub_command = dravikCmd_createSubcmd(command, type);
        const int error = errnoOfFailure(sub_command);
        // The device types are those the device queries answer for.
        if (dravikSession_queryDeviceNum(session.get(), type) == 0) {
            EXPECT_EQ(error, EINVAL) << "type " << type;
            continue;
        }
        ASSERT_NE(sub_command, nullptr) << "type " << type;
        ++created;
        EXPECT_EQ(
                dravikSubCmd_getRunInfo(sub_command, DRAVIK_REFERENCE_SUBCMD_RUN_INFO_DEVICE_TYPE),
                type);
    }
    EXPECT_EQ(created, dravikSession_queryInfo(session.get(), DRAVIK_REFERENCE_INFO_DEVICE_TYPES));
    EXPECT_EQ(runInfo(command, DRAVIK_REFERENCE_CMD_RUN_INFO_SUB_COMMANDS), created);
    EXPECT_EQ(liveCounts().sub_commands, created);
    for (int index = created; index < DRAVIK_REFERENCE_MAX_SUB_COMMANDS; ++index) {
        ASSERT_NE(dravikCmd_createSubcmd(command, 1), nullptr);
    }
    EXPECT_EQ(errnoOfFailure(dravikCmd_createSubcmd(command, 1)), ENOSPC);
    EXPECT_EQ(dravikSession_deleteCmd(session.get(), command), 0);
    EXPECT_EQ(liveCounts().sub_commands, 0);
}

TEST_F(CommandBuildTest, SubCommandsTakeOnlyCommandBuffersOfTheirSession) {
    ScopedSession session;
    ScopedSession other;
    dravik_cmd* command = dravikSession_createCmd(session.get());
    dravik_subcmd* sub_command = dravikCmd_createSubcmd(command, 2);
    dravik_mem* buffer = dravikSession_cmdBufAlloc(session.get(), 128, 0);
    dravik_mem* second_buffer = dravikSession_cmdBufAlloc(session.get(), 128, 0);
    dravik_mem* plain_memory = dravikSession_memAlloc(session.get(), 128, 0, 0, 0);
    dravik_mem* foreign_buffer = dravikSession_cmdBufAlloc(other.get(), 128, 0);
    ASSERT_TRUE(command && sub_command && buffer && second_buffer && plain_memory &&
                foreign_buffer);
    auto held = [&] {
        return dravikSubCmd_getRunInfo(sub_command, DRAVIK_REFERENCE_SUBCMD_RUN_INFO_CMD_BUFS);
    };

    EXPECT_EQ(errnoOfFailure(dravikSubCmd_addCmdBuf(sub_command, plain_memory, 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSubCmd_addCmdBuf(sub_command, foreign_buffer, 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSubCmd_addCmdBuf(sub_command, buffer, 2)), EINVAL);
    EXPECT_EQ(held(), 0);
    EXPECT_EQ(dravikSubCmd_addCmdBuf(sub_command, buffer, DRAVIK_REFERENCE_ADD_CMD_BUF_APPEND), 0);
    EXPECT_EQ(errnoOfFailure(dravikSubCmd_addCmdBuf(sub_command, buffer,
                                                    DRAVIK_REFERENCE_ADD_CMD_BUF_APPEND)),
              EEXIST);
    EXPECT_EQ(
            dravikSubCmd_addCmdBuf(sub_command, second_buffer, DRAVIK_REFERENCE_ADD_CMD_BUF_APPEND),
            0);
    EXPECT_EQ(held(), 2);
    EXPECT_EQ(dravikSubCmd_addCmdBuf(sub_command, buffer, DRAVIK_REFERENCE_ADD_CMD_BUF_REPLACE), 0);
    EXPECT_EQ(held(), 1);
}

TEST_F(CommandBuildTest, ParametersAreCheckedAndKept) {
    ScopedSession session;
    dravik_cmd* command = dravikSession_createCmd(session.get());
    dravik_subcmd* sub_command =
            dravikCmd_createSubcmd(command, DRAVIK_REFERENCE_DEVICE_SCALAR_CORE);
    ASSERT_TRUE(command && sub_command);
    auto commandParameter = [&](int32_t kind) {
        int64_t value = -1;
        EXPECT_EQ(dravikReference_cmdGetParam(command, kind, &value), 0);
        return value;
    };
    EXPECT_EQ(dravikCmd_setParam(command, DRAVIK_REFERENCE_CMD_PARAM_CLIENT_PID, 4321), 0);
    EXPECT_EQ(dravikCmd_setParam(command, DRAVIK_REFERENCE_CMD_PARAM_PRIORITY,
                                 DRAVIK_REFERENCE_MAX_PRIORITY),
              0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_setParam(command, DRAVIK_REFERENCE_CMD_PARAM_PRIORITY,
                                                DRAVIK_REFERENCE_MAX_PRIORITY + 1)),
              EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikCmd_setParam(command, DRAVIK_REFERENCE_CMD_PARAM_CLIENT_PID, 0)),
              EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikCmd_setParam(command,
                                                DRAVIK_REFERENCE_CMD_PARAM_PERFORMANCE_HINT, 101)),
              EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikCmd_setParam(command, 0, 1)), EINVAL);
    EXPECT_EQ(commandParameter(DRAVIK_REFERENCE_CMD_PARAM_CLIENT_PID), 4321);
    EXPECT_EQ(commandParameter(DRAVIK_REFERENCE_CMD_PARAM_PRIORITY), DRAVIK_REFERENCE_MAX_PRIORITY);

    // A sub-command's device index ranges over the devices of its type.
    const int64_t devices =
            dravikSession_queryDeviceNum(session.get(), DRAVIK_REFERENCE_DEVICE_SCALAR_CORE);
    ASSERT_GT(devices, 1);
    EXPECT_EQ(dravikSubCmd_setParam(sub_command, DRAVIK_REFERENCE_SUBCMD_PARAM_DEVICE_INDEX,
                                    devices - 1),
              0);
    EXPECT_EQ(errnoOfFailure(dravikSubCmd_setParam(
                      sub_command, DRAVIK_REFERENCE_SUBCMD_PARAM_DEVICE_INDEX, devices)),
              EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSubCmd_setParam(sub_command, 9, 0)), EINVAL);
    int64_t device_index = -1;
    EXPECT_EQ(dravikReference_subCmdGetParam(
                      sub_command, DRAVIK_REFERENCE_SUBCMD_PARAM_DEVICE_INDEX, &device_index),
              0);
    EXPECT_EQ(device_index, devices - 1);
}

TEST_F(CommandBuildTest, BuildRefusesEmptyCommandsMissingBuffersAndCycles) {
    ScopedSession session;
    dravik_session* s = session.get();
    dravik_cmd* empty = dravikSession_createCmd(s);
    EXPECT_EQ(errnoOfFailure(dravikCmd_build(empty)), EINVAL);

    dravik_cmd* command = dravikSession_createCmd(s);
    dravik_subcmd* first = dravikCmd_createSubcmd(command, 1);
    dravik_subcmd* second = dravikCmd_createSubcmd(command, 1);
    dravik_subcmd* third = dravikCmd_createSubcmd(command, 2);
    ASSERT_TRUE(first && second && third);
    for (dravik_subcmd* sub_command : {first, second}) {
        ASSERT_EQ(dravikSubCmd_addCmdBuf(sub_command, dravikSession_cmdBufAlloc(s, 64, 0), 0), 0);
    }
    EXPECT_EQ(errnoOfFailure(dravikCmd_build(command)), EINVAL) << "third has no buffer";
    dravik_mem* freed_soon = dravikSession_cmdBufAlloc(s, 64, 0);
    ASSERT_EQ(dravikSubCmd_addCmdBuf(third, freed_soon, 0), 0);
    ASSERT_EQ(dravikSession_cmdBufFree(s, freed_soon), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_build(command)), EINVAL) << "third's buffer was freed";
    ASSERT_EQ(dravikSubCmd_addCmdBuf(third, dravikSession_cmdBufAlloc(s, 64, 0),
                                     DRAVIK_REFERENCE_ADD_CMD_BUF_REPLACE),
              0);

    EXPECT_EQ(dravikCmd_setDependencyEdge(command, first, second), 0);
    EXPECT_EQ(dravikCmd_setDependencyEdge(command, second, third), 0);
    EXPECT_EQ(dravikCmd_build(command), 0);
    EXPECT_EQ(runInfo(command, DRAVIK_REFERENCE_CMD_RUN_INFO_BUILT), 1);
    EXPECT_EQ(errnoOfFailure(dravikCmd_setDependencyEdge(command, first, first)), EINVAL);
    EXPECT_EQ(dravikCmd_setDependencyEdge(command, third, first), 0);
    EXPECT_EQ(runInfo(command, DRAVIK_REFERENCE_CMD_RUN_INFO_BUILT), 0) << "changed: not built";
    EXPECT_EQ(errnoOfFailure(dravikCmd_build(command)), EINVAL) << "first, second, third, first";
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(command)), ENOEXEC);
}

TEST_F(CommandBuildTest, DependenciesNameTheCommandsOwnSubCommands) {
    ScopedSession session;
    ScopedSession other_session;
    dravik_cmd* command = dravikSession_createCmd(session.get());
    dravik_cmd* successor = dravikSession_createCmd(session.get());
    dravik_cmd* foreign = dravikSession_createCmd(other_session.get());
    dravik_subcmd* matrix = dravikCmd_createSubcmd(command, 1);
    dravik_subcmd* matrix_appendix = dravikCmd_createSubcmd(command, 1);
    dravik_subcmd* vector = dravikCmd_createSubcmd(command, 2);
    dravik_subcmd* not_ours = dravikCmd_createSubcmd(successor, 1);
    ASSERT_TRUE(command && successor && foreign && matrix && matrix_appendix && vector && not_ours);
    int token = 0;

    EXPECT_EQ(errnoOfFailure(dravikCmd_setDependencyEdge(command, matrix, not_ours)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikCmd_setDependencyPack(command, matrix, vector)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikCmd_setDependencyPack(command, not_ours, matrix)), EINVAL);
    EXPECT_EQ(dravikCmd_setDependencyPack(command, matrix, matrix_appendix), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_setDependencyPack(command, matrix, matrix_appendix)),
              EEXIST);
    EXPECT_EQ(errnoOfFailure(dravikCmd_setDependencyTightly(command, matrix, successor, nullptr)),
              EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikCmd_setDependencyTightly(command, matrix, command, &token)),
              EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikCmd_setDependencyTightly(command, matrix, foreign, &token)),
              EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikCmd_setDependencyTightly(command, not_ours, successor, &token)),
              EINVAL);
    EXPECT_EQ(dravikCmd_setDependencyTightly(command, vector, successor, &token), 0);

    for (dravik_subcmd* sub_command : {matrix, matrix_appendix, vector}) {
        ASSERT_EQ(dravikSubCmd_addCmdBuf(sub_command,
                                         dravikSession_cmdBufAlloc(session.get(), 64, 0), 0),
                  0);
    }
    EXPECT_EQ(dravikCmd_build(command), 0);
    // A tightly chained command must still be there to build against.
    ASSERT_EQ(dravikSession_deleteCmd(session.get(), successor), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_build(command)), EINVAL);
}

}  // namespace
}  // namespace dravik_test
