#include <android/log.h>

#include <cerrno>

#include "ServiceFixture.h"

namespace service_test {
namespace {

class CommandTest : public ServiceFixture {
  protected:
    void SetUp() override {
        ServiceFixture::SetUp();
        session_ = createSession();
        cmd_ = createCmd(session_);
        platform_recorder::reset();
        fake_driver::reset();
    }

    int64_t createCmd(uint64_t session) {
        int64_t cmd_id = 0;
        EXPECT_TRUE(service_->session_createCmd(session, &cmd_id).isOk());
        return cmd_id;
    }

    int64_t createSubCmd(int32_t type = 1) {
        int64_t sub_cmd_id = 0;
        EXPECT_TRUE(service_->cmd_createSubcmd(session_, cmd_, type, &sub_cmd_id).isOk());
        return sub_cmd_id;
    }

    static int64_t pointerValue(const void* pointer) {
        return static_cast<int64_t>(reinterpret_cast<uintptr_t>(pointer));
    }

    uint64_t session_ = 0;
    int64_t cmd_ = 0;
};

TEST_F(CommandTest, SubCommandsOnlyOfTheEngineTypes) {
    for (int32_t type : {5, 0, -1, 7}) {
        SCOPED_TRACE(type);
        int64_t sub_cmd_id = 99;
        EXPECT_EQ(service_->cmd_createSubcmd(session_, cmd_, type, &sub_cmd_id).getExceptionCode(),
                  EX_UNSUPPORTED_OPERATION);
        EXPECT_EQ(sub_cmd_id, 0);
    }
    EXPECT_EQ(countLines("non dravik device type"), 4u);
    EXPECT_TRUE(fake_driver::callsTo("dravikCmd_createSubcmd").empty());

    for (int32_t type : {1, 2, 3, 4, 6}) createSubCmd(type);
    auto created = fake_driver::callsTo("dravikCmd_createSubcmd");
    ASSERT_EQ(created.size(), 5u);
    EXPECT_EQ(created[4].arguments[1], 6);
    EXPECT_EQ(countLines("cmd_createSubcmd dravik_id:" + std::to_string(session_) +
                         " cmd_id:" + std::to_string(cmd_) + " sub_cmd_id:5!"),
              1u);

    // An unknown command leaves the out value as it was; a driver failure writes 0.
    int64_t sub_cmd_id = 99;
    EXPECT_EQ(service_->cmd_createSubcmd(session_, 12345, 1, &sub_cmd_id).getExceptionCode(),
              EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(sub_cmd_id, 99);
    EXPECT_EQ(countLines("dravikCmd_createSubcmd failed due to cmd nullptr!"), 1u);
    fake_driver::setResult("dravikCmd_createSubcmd", 0, ENOMEM);
    EXPECT_EQ(service_->cmd_createSubcmd(session_, cmd_, 1, &sub_cmd_id).getExceptionCode(),
              EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(sub_cmd_id, 0);
}

TEST_F(CommandTest, CommandIdsComeFromOneCounterAndDeletionIsChecked) {
    const uint64_t other = createSession();
    const int64_t second = createCmd(other);
    const int64_t third = createCmd(session_);
    EXPECT_EQ(second, cmd_ + 1);
    EXPECT_EQ(third, cmd_ + 2);

    int32_t ret = 0;
    platform_recorder::reset();
    ASSERT_TRUE(service_->session_deleteCmd(777, cmd_, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(logTexts(),
              (std::vector<std::string>{
                      "getDravikSession fail",
                      "getDravikCmd Failed",
                      "session_deleteCmd failed dravik_id=777, cmd_id=" + std::to_string(cmd_),
              }));

    fake_driver::setResult("dravikSession_deleteCmd", 3, EBUSY);
    ASSERT_TRUE(service_->session_deleteCmd(session_, cmd_, &ret).isOk());
    EXPECT_EQ(ret, 3);
    EXPECT_NE(service_->getDravikCmd(session_, cmd_), nullptr) << "kept after a failure";
    fake_driver::clearResult("dravikSession_deleteCmd");
    ASSERT_TRUE(service_->session_deleteCmd(session_, cmd_, &ret).isOk());
    EXPECT_EQ(ret, 0);
    ASSERT_TRUE(service_->session_deleteCmd(session_, cmd_, &ret).isOk());
    EXPECT_EQ(ret, -1);

    // A deleted command can no longer be built or run.
    ASSERT_TRUE(service_->cmd_build(session_, cmd_, &ret).isOk());
    EXPECT_EQ(ret, -1);
    ASSERT_TRUE(service_->cmd_run(session_, cmd_, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(countLines("cmd_build failed due to cmd nullptr"), 1u);
    EXPECT_EQ(countLines("dravikCmd_run failed due to cmd nullptr"), 1u);
}

TEST_F(CommandTest, SingleParameterReportsTheDriversValue) {
    int32_t ret = 0;
    ASSERT_TRUE(service_->cmd_setParam(777, cmd_, 1, 2, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(logTexts(), (std::vector<std::string>{
                                  "getDravikCmd Failed",
                                  "cmd_setParam failed due to dravik_cmd nullptr",
                          }));

    platform_recorder::reset();
    fake_driver::setResult("dravikCmd_setParam", 22, EIO);
    ASSERT_TRUE(service_->cmd_setParam(session_, cmd_, 1, 2, &ret).isOk());
    EXPECT_EQ(ret, 22);
    EXPECT_EQ(logTexts(ANDROID_LOG_ERROR),
              std::vector<std::string>{"dravikCmd_setParam failed errno(5/Input/output error)"});

    // The batch form answers -1 for the same failure.
    platform_recorder::reset();
    DRAVIK_CMD_PARAMS_HD param;
    param.cmd_id = cmd_;
    param.type = 1;
    param.value = 2;
    ASSERT_TRUE(service_->cmd_setParams(session_, {param}, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(logTexts(), std::vector<std::string>{
                                  "cmd_setParams dravik_id:" + std::to_string(session_) +
                                  " cmd_id:" + std::to_string(cmd_) + " type:1 value:2 failed!"});
}

TEST_F(CommandTest, BatchParametersStopAtTheFirstBadRecord) {
    int32_t ret = 5;
    ASSERT_TRUE(service_->cmd_setParams(session_, {}, &ret).isOk());
    EXPECT_EQ(ret, 0);
    ASSERT_TRUE(service_->cmd_setParams(777, {}, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(countLines("cmd_setParams invalid dravik_id:777"), 1u);

    const int64_t sub_cmd = createSubCmd();
    std::vector<DRAVIK_SUBCMD_PARAMS_HD> params(3);
    params[0].sub_cmd_id = sub_cmd;
    params[0].type = 1;
    params[0].value = 10;
    params[1].sub_cmd_id = 4242;
    params[2].sub_cmd_id = sub_cmd;
    params[2].type = 2;
    params[2].value = 30;
    fake_driver::reset();
    ASSERT_TRUE(service_->subCmd_setParams(session_, params, &ret).isOk());
    EXPECT_EQ(ret, -1);
    auto applied = fake_driver::callsTo("dravikSubCmd_setParam");
    ASSERT_EQ(applied.size(), 1u);
    EXPECT_EQ(applied[0].arguments[2], 10);
    EXPECT_EQ(countLines("subCmd_setParams invalid sub_cmd_id:4242"), 1u);
    EXPECT_EQ(countLines("subCmd_setParams dravik_id:" + std::to_string(session_) +
                         " sub_cmd_id:" + std::to_string(sub_cmd) + " type:1 value:10 success!"),
              1u);
}

TEST_F(CommandTest, CommandBuffersAttachOnlyWhenBothResolve) {
    const int64_t sub_cmd = createSubCmd();
    DRAVIK_CMDBUF_INFO_HD command_buffer;
    ASSERT_TRUE(service_->session_cmdBufAlloc(session_, 256, 0, &command_buffer).isOk());
    platform_recorder::reset();
    fake_driver::reset();

    int32_t ret = 0;
    ASSERT_TRUE(service_->subCmd_addCmdBuf(session_, sub_cmd, 999, 0, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_TRUE(fake_driver::calls().empty());
    EXPECT_EQ(logTexts(ANDROID_LOG_ERROR),
              (std::vector<std::string>{
                      "getDravikCmdBuf Failed",
                      "subCmd_setParam failed due to sub_cmd or cmd_buf nullptr!"}));

    ASSERT_TRUE(service_->subCmd_addCmdBuf(session_, sub_cmd, command_buffer.cmd_buf_id, 1, &ret)
                        .isOk());
    EXPECT_EQ(ret, 0);
    auto added = fake_driver::callsTo("dravikSubCmd_addCmdBuf");
    ASSERT_EQ(added.size(), 1u);
    EXPECT_EQ(added[0].arguments[1],
              pointerValue(service_->getDravikCmdBuf(session_, command_buffer.cmd_buf_id)));
    EXPECT_EQ(added[0].arguments[2], 1);
    EXPECT_EQ(countLines("SubCmd_addCmdBuf dravik_id:" + std::to_string(session_) +
                         " sub_cmd_id:" + std::to_string(sub_cmd) +
                         " cmd_buf_id:" + std::to_string(command_buffer.cmd_buf_id) + ", ret:0"),
              1u);
}

TEST_F(CommandTest, DependenciesResolveEveryIdFirst) {
    const int64_t first = createSubCmd();
    const int64_t second = createSubCmd();
    platform_recorder::reset();
    int32_t ret = 0;

    // An unknown predecessor: the successor is still looked up before the call fails.
    ASSERT_TRUE(service_->cmd_setDependencyEdge(session_, cmd_, 4242, 4343, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(logTexts(ANDROID_LOG_ERROR),
              (std::vector<std::string>{
                      "getDravikSubCmd Failed dravik_id:" + std::to_string(session_) +
                              " dravik_sub_cmd_id:4242",
                      "getDravikSubCmd Failed dravik_id:" + std::to_string(session_) +
                              " dravik_sub_cmd_id:4343",
                      "cmd_setDependencyEdge failed due to cmd or predecessor or successor nullptr",
              }));
    ASSERT_TRUE(service_->cmd_setDependencyEdge(session_, cmd_, first, second, &ret).isOk());
    EXPECT_EQ(ret, 0);
    ASSERT_TRUE(service_->cmd_setDependencyPack(session_, cmd_, first, second, &ret).isOk());
    EXPECT_EQ(ret, 0);
    auto pack = fake_driver::callsTo("dravikCmd_setDependencyPack");
    ASSERT_EQ(pack.size(), 1u);
    EXPECT_EQ(pack[0].arguments[1], pointerValue(service_->getDravikSubCmd(session_, first)));
    EXPECT_EQ(pack[0].arguments[2], pointerValue(service_->getDravikSubCmd(session_, second)));

    fake_driver::setResult("dravikCmd_build", -1, EINVAL);
    ASSERT_TRUE(service_->cmd_build(session_, cmd_, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(countLines("dravikCmd_build failed errno(22/Invalid argument)"), 1u);
}

TEST_F(CommandTest, TightDependencyTakesACommandAndTheMemoryRecord) {
    const int64_t predecessor = createSubCmd();
    const int64_t successor_cmd = createCmd(session_);
    // Shared memory filed through another session is found through this one too.
    const uint64_t other = createSession();
    DRAVIK_MEMINFO_HD shared;
    ASSERT_TRUE(service_->session_memAlloc(other, 64, 0, 1, 0, &shared).isOk());
    releaseSharedAtEnd(shared.mem_id);
    int32_t ret = 0;

    // A sub-command id as successor does not resolve in the command table.
    ASSERT_TRUE(service_->cmd_setDependencyTightly(session_, cmd_, predecessor, predecessor + 100,
                                                   shared.mem_id, &ret)
                        .isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(
            countLines(
                    "cmd_setDependencyTightly failed due to cmd or predecessor or successor or mem nullptr"),
            1u);

    fake_driver::reset();
    ASSERT_TRUE(service_->cmd_setDependencyTightly(session_, cmd_, predecessor, successor_cmd,
                                                   shared.mem_id, &ret)
                        .isOk());
    EXPECT_EQ(ret, 0);
    auto tightly = fake_driver::callsTo("dravikCmd_setDependencyTightly");
    ASSERT_EQ(tightly.size(), 1u);
    EXPECT_EQ(tightly[0].arguments[2],
              pointerValue(service_->getDravikCmd(session_, successor_cmd)));
    MemInfo* record = service_->getDravikMem(session_, shared.mem_id);
    EXPECT_EQ(tightly[0].arguments[3], pointerValue(record));
    EXPECT_NE(tightly[0].arguments[3], shared.mem_ptr) << "the record, not the driver memory";
}

TEST_F(CommandTest, TypedRunMovesTheGateWhateverItsResult) {
    int32_t ret = 0;
    ASSERT_TRUE(service_->cmd_runWithType(session_, 4242, 3, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(service_->getRunwithtypeFlagFromDravikId(session_), 0u) << "not touched";

    platform_recorder::reset();
    platform_recorder::enableTraceTags(uint64_t{1} << 25);
    fake_driver::setResult("dravikCmd_runWithType", 9, ETIMEDOUT);
    ASSERT_TRUE(service_->cmd_runWithType(session_, cmd_, 3, &ret).isOk());
    EXPECT_EQ(ret, 9);
    const std::string id = std::to_string(session_);
    EXPECT_EQ(logTexts(), (std::vector<std::string>{
                                  "setRunwithtypeFlagFromDravikId dravik_id:" + id + " run_flag:1",
                                  "dravikCmd_run failed errno(110/Connection timed out)",
                                  "setRunwithtypeFlagFromDravikId dravik_id:" + id + " run_flag:2",
                          }));
    EXPECT_TRUE(platform_recorder::traceEvents().empty()) << "no trace section of its own";
    EXPECT_EQ(fake_driver::callsTo("dravikCmd_runWithType")[0].arguments[1], 3);
}

TEST_F(CommandTest, RunsReportTheDriversAnswer) {
    int32_t ret = 0;
    ASSERT_TRUE(service_->cmd_run(session_, cmd_, &ret).isOk());
    EXPECT_EQ(ret, 0);
    ASSERT_TRUE(service_->cmd_runAsync(session_, cmd_, &ret).isOk());
    EXPECT_EQ(ret, 0);
    fake_driver::setResult("dravikCmd_wait", -1, ECANCELED);
    ASSERT_TRUE(service_->cmd_wait(session_, cmd_, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(countLines("cmd_wait failed errno(125/Operation canceled)"), 1u);

    // A fence result of 0 is logged as a failure and still returned; 5 is a descriptor.
    fake_driver::queueResult("dravikCmd_runFence", 0, EINVAL);
    fake_driver::queueResult("dravikCmd_runFence", 5);
    ASSERT_TRUE(service_->cmd_runFence(session_, cmd_, -1, 0, &ret).isOk());
    EXPECT_EQ(ret, 0);
    EXPECT_EQ(countLines("cmd_runFence failed errno(22/Invalid argument)"), 1u);
    ASSERT_TRUE(service_->cmd_runFence(session_, cmd_, 7, 2, &ret).isOk());
    EXPECT_EQ(ret, 5);
    EXPECT_EQ(countLines("cmd_runFence dravik_id=" + std::to_string(session_) +
                         ", cmd_id=" + std::to_string(cmd_) + ", ret=5"),
              1u);
    auto fenced = fake_driver::callsTo("dravikCmd_runFence");
    ASSERT_EQ(fenced.size(), 2u);
    EXPECT_EQ(fenced[1].arguments[1], 7);
    EXPECT_EQ(fenced[1].arguments[2], 2);
}

TEST_F(CommandTest, RunInformationAnswersEveryQuery) {
    const int64_t sub_cmd = createSubCmd();
    int64_t value = 7;
    ASSERT_TRUE(service_->subCmd_getRunInfo(session_, 4242, 1, &value).isOk());
    EXPECT_EQ(value, 0);
    EXPECT_EQ(countLines("subCmd_getRunInfo failed due to sub_cmd nullptr!"), 1u);
    fake_driver::setResult("dravikSubCmd_getRunInfo", int64_t{1} << 40);
    ASSERT_TRUE(service_->subCmd_getRunInfo(session_, sub_cmd, 1, &value).isOk());
    EXPECT_EQ(value, int64_t{1} << 40);

    std::vector<int64_t> answers;
    ASSERT_TRUE(service_->cmd_getRunInfos(session_, {}, &answers).isOk());
    EXPECT_TRUE(answers.empty());
    EXPECT_EQ(service_->cmd_getRunInfos(777, {}, &answers).getExceptionCode(), EX_NULL_POINTER);
    EXPECT_EQ(answers, std::vector<int64_t>{-1});

    std::vector<DRAVIK_CMD_RUNINFO_PARAMS_HD> queries(3);
    queries[0].cmd_id = cmd_;
    queries[0].type = 1;
    queries[1].cmd_id = 4242;
    queries[2].cmd_id = cmd_;
    queries[2].type = 2;
    fake_driver::queueResult("dravikCmd_getRunInfo", 11);
    fake_driver::queueResult("dravikCmd_getRunInfo", 33);
    answers.clear();
    ASSERT_TRUE(service_->cmd_getRunInfos(session_, queries, &answers).isOk());
    EXPECT_EQ(answers, (std::vector<int64_t>{11, 0, 33}));
    EXPECT_EQ(countLines("cmd_getRunInfos invalid cmd_id:4242"), 1u);
    EXPECT_EQ(countLines("cmd_getRunInfos dravik_id:" + std::to_string(session_) +
                         " cmd_id:" + std::to_string(cmd_) + " type:2 ret:33 success!"),
              1u);
}

}  // namespace
}  // namespace service_test
