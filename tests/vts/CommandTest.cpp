// Command buffers, commands and sub-commands, their parameters and dependencies, and the build, as
// a client sees them: ids of one session are not found through another, and a bad id is answered
// -1 before anything reaches the driver.
#include <unistd.h>

#include "CopyCommand.h"
#include "TovanDravikHalTest.h"

namespace tessaro_vts {
namespace {

using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_CMD_PARAMS_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_CMDBUF_INFO_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_MEMINFO_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_SUBCMD_PARAMS_HD;

constexpr int32_t kSize = 4096;

TEST_P(TovanDravikHalTest, CommandBuffersHandOutADescriptorAndBelongToTheirSession) {
    const int64_t session = openSession();
    const int64_t other = openSession();
    DRAVIK_CMDBUF_INFO_HD plain, named;
    ASSERT_TRUE(isOk(service->session_cmdBufAlloc(session, kSize, 0, &plain)));
    ASSERT_TRUE(
            isOk(service->session_cmdBufAllocWithName(session, kSize, 0, "vts buffer", 7, &named)));
    for (const DRAVIK_CMDBUF_INFO_HD* buffer : {&plain, &named}) {
        EXPECT_GT(buffer->cmd_buf_id, 0);
        EXPECT_EQ(buffer->size, kSize);
        EXPECT_EQ(buffer->reserved, 0);
        ASSERT_EQ(buffer->fds.size(), 1u);
        const Mapping mapping(buffer->fds[0].get(), kSize);
        EXPECT_TRUE(mapping.valid()) << "the client maps the buffer to fill it";
    }
    EXPECT_NE(plain.fds[0].get(), named.fds[0].get());
    int32_t ret = -99;
    ASSERT_TRUE(isOk(service->session_cmdBufFree(other, plain.cmd_buf_id, &ret)));
    EXPECT_EQ(ret, -1) << "another session's buffer is not found";
    for (const int32_t expected : {0, -1}) {
        ASSERT_TRUE(isOk(service->session_cmdBufFree(session, plain.cmd_buf_id, &ret)));
        EXPECT_EQ(ret, expected) << "a buffer is freed once";
    }
}

TEST_P(TovanDravikHalTest, CommandsAndSubCommandsOfAcceptedTypes) {
    const int64_t session = openSession();
    const int64_t other = openSession();
    int64_t command = 0;
    ASSERT_TRUE(isOk(service->session_createCmd(session, &command)));
    EXPECT_GT(command, 0);
    for (const int32_t type : kRefusedDeviceTypes) {
        int64_t sub_command = 12345;
        EXPECT_TRUE(isException(service->cmd_createSubcmd(session, command, type, &sub_command),
                                kExceptionUnsupported))
                << "type " << type;
    }
    for (const int32_t type : kAcceptedDeviceTypes) {
        int64_t count = 0, sub_command = 0;
        ASSERT_TRUE(isOk(service->session_queryDeviceNum(session, type, &count)));
        if (count == 0) continue;
        EXPECT_TRUE(isOk(service->cmd_createSubcmd(session, command, type, &sub_command)))
                << "type " << type;
        EXPECT_GT(sub_command, 0);
        EXPECT_TRUE(isException(service->cmd_createSubcmd(other, command, type, &sub_command),
                                kExceptionUnsupported))
                << "another session's command is not found";
    }
    int32_t ret = -99;
    ASSERT_TRUE(isOk(service->session_deleteCmd(other, command, &ret)));
    EXPECT_EQ(ret, -1);
    for (const int32_t expected : {0, -1}) {
        ASSERT_TRUE(isOk(service->session_deleteCmd(session, command, &ret)));
        EXPECT_EQ(ret, expected) << "a command is deleted once";
    }
    ASSERT_TRUE(isOk(service->cmd_build(session, command, &ret)));
    EXPECT_EQ(ret, -1) << "a deleted command is not built";
}

// The command parameter that carries the client's pid is known to every driver; the batch stops
// at the first record whose id is unknown, and an empty batch is judged by its session alone.
TEST_P(TovanDravikHalTest, ParametersSingleAndInBatches) {
    const int64_t session = openSession();
    const int32_t type = availableDeviceType(session);
    if (type == 0) VTS_SKIP_BECAUSE("the driver reports no device of any accepted type");
    int64_t command = 0, sub_command = 0;
    ASSERT_TRUE(isOk(service->session_createCmd(session, &command)));
    ASSERT_TRUE(isOk(service->cmd_createSubcmd(session, command, type, &sub_command)));
    const int64_t pid = getpid();
    int32_t ret = -99;
    ASSERT_TRUE(isOk(service->cmd_setParam(session, command, kClientPidParameter, pid, &ret)));
    EXPECT_EQ(ret, 0);
    const struct {
        std::vector<DRAVIK_CMD_PARAMS_HD> records;
        int64_t session;
        int32_t expected;
    } batches[] = {
            {{}, session, 0},
            {{}, kNeverIssuedId, -1},
            {{{command, kClientPidParameter, pid}, {command, kClientPidParameter, pid}},
             session,
             0},
            {{{command, kClientPidParameter, pid}, {kNeverIssuedId, kClientPidParameter, pid}},
             session,
             -1},
    };
    for (const auto& batch : batches) {
        ASSERT_TRUE(isOk(service->cmd_setParams(batch.session, batch.records, &ret)));
        EXPECT_EQ(ret, batch.expected) << batch.records.size() << " records";
    }
    ASSERT_TRUE(isOk(service->subCmd_setParams(session, {}, &ret)));
    EXPECT_EQ(ret, 0);
    ASSERT_TRUE(isOk(service->subCmd_setParams(kNeverIssuedId, {}, &ret)));
    EXPECT_EQ(ret, -1);
    ASSERT_TRUE(isOk(service->subCmd_setParams(session, {{kNeverIssuedId, 1, 0}}, &ret)));
    EXPECT_EQ(ret, -1);
    // A sub-command parameter's meaning is the driver's: whatever it answers to the single form
    // comes back unchanged, and the same record in a batch succeeds exactly when it did.
    int32_t single = -99;
    ASSERT_TRUE(isOk(service->subCmd_setParam(session, sub_command, 2, 100, &single)));
    ASSERT_TRUE(isOk(service->subCmd_setParams(session, {{sub_command, 2, 100}}, &ret)));
    EXPECT_EQ(ret, single == 0 ? 0 : -1);
}

TEST_P(TovanDravikHalTest, DependenciesResolveEveryIdBeforeTheDriver) {
    const int64_t session = openSession();
    const int64_t other = openSession();
    const int32_t type = availableDeviceType(session);
    if (type == 0) VTS_SKIP_BECAUSE("the driver reports no device of any accepted type");
    int64_t command = 0, successor_command = 0, first = 0, second = 0;
    ASSERT_TRUE(isOk(service->session_createCmd(session, &command)));
    ASSERT_TRUE(isOk(service->session_createCmd(session, &successor_command)));
    ASSERT_TRUE(isOk(service->cmd_createSubcmd(session, command, type, &first)));
    ASSERT_TRUE(isOk(service->cmd_createSubcmd(session, command, type, &second)));
    int32_t ret = -99;
    ASSERT_TRUE(isOk(service->cmd_setDependencyEdge(session, command, first, second, &ret)));
    EXPECT_EQ(ret, 0);
    ASSERT_TRUE(
            isOk(service->cmd_setDependencyEdge(session, command, first, kNeverIssuedId, &ret)));
    EXPECT_EQ(ret, -1);
    ASSERT_TRUE(isOk(service->cmd_setDependencyEdge(other, command, first, second, &ret)));
    EXPECT_EQ(ret, -1);
    ASSERT_TRUE(isOk(service->cmd_setDependencyPack(session, command, first, second, &ret)));
    EXPECT_EQ(ret, 0);
    ASSERT_TRUE(isOk(service->cmd_setDependencyPack(session, command, kZeroId, second, &ret)));
    EXPECT_EQ(ret, -1);

    // A tight dependency names its successor by command id, and its memory through any session
    // when the memory has no descriptor (type 1), through its own session only otherwise.
    DRAVIK_MEMINFO_HD own, shared_by_other, private_of_other;
    ASSERT_TRUE(isOk(service->session_memAlloc(session, kSize, 0, 0, 0, &own)));
    ASSERT_TRUE(isOk(service->session_memAlloc(other, kSize, 0, 0, 0, &private_of_other)));
    ASSERT_TRUE(isOk(service->cmd_setDependencyTightly(session, command, first, successor_command,
                                                       own.mem_id, &ret)));
    if (ret != 0) VTS_SKIP_BECAUSE("the driver refuses a tight dependency: " + std::to_string(ret));
    if (second != successor_command && second != command) {
        ASSERT_TRUE(isOk(service->cmd_setDependencyTightly(session, command, first, second,
                                                           own.mem_id, &ret)));
        EXPECT_EQ(ret, -1) << "a sub-command id is no successor";
    }
    ASSERT_TRUE(isOk(service->cmd_setDependencyTightly(session, command, first, successor_command,
                                                       private_of_other.mem_id, &ret)));
    EXPECT_EQ(ret, -1) << "another session's private memory is not found";
    if (service->session_memAlloc(other, kSize, 0, kMemTypeWithoutDescriptor, 0, &shared_by_other)
                .isOk()) {
        ASSERT_TRUE(isOk(service->cmd_setDependencyTightly(
                session, command, first, successor_command, shared_by_other.mem_id, &ret)));
        EXPECT_EQ(ret, 0) << "memory of type 1 is found through every session";
    }
}

TEST_P(TovanDravikHalTest, BuildNeedsKnownCommandAndBuffers) {
    std::string reason;
    const std::unique_ptr<CopyCommand> prepared = prepareCopyCommand(&reason);
    if (prepared == nullptr) VTS_SKIP_BECAUSE(reason);
    const CopyCommand& copy = *prepared;
    const int64_t session = copy.session();
    const int64_t other = openSession();
    int32_t ret = -99;
    ASSERT_TRUE(isOk(service->cmd_build(session, copy.command(), &ret)));
    EXPECT_EQ(ret, 0) << "a built command builds again";
    ASSERT_TRUE(isOk(service->cmd_build(other, copy.command(), &ret)));
    EXPECT_EQ(ret, -1);
    DRAVIK_CMDBUF_INFO_HD buffer;
    ASSERT_TRUE(isOk(service->session_cmdBufAlloc(other, kSize, 0, &buffer)));
    ASSERT_TRUE(isOk(
            service->subCmd_addCmdBuf(session, copy.subCommand(), buffer.cmd_buf_id, 0, &ret)));
    EXPECT_EQ(ret, -1) << "another session's buffer is not attached";
    ASSERT_TRUE(
            isOk(service->subCmd_addCmdBuf(session, kNeverIssuedId, buffer.cmd_buf_id, 0, &ret)));
    EXPECT_EQ(ret, -1);
}

}  // namespace
}  // namespace tessaro_vts
