#include <android/log.h>
#include <unistd.h>

#include <algorithm>

#include "ServiceFixture.h"

namespace service_test {
namespace {

// A session with one built command and two shareable memories (ids 1 and 2).
class CachedRunTest : public ServiceFixture {
  protected:
    void SetUp() override {
        ServiceFixture::SetUp();
        id_ = createSession();
        DRAVIK_MEMINFO_HD memory;
        ASSERT_TRUE(service_->session_memAlloc(id_, 64, 0, 0, 0, &memory).isOk());
        ASSERT_TRUE(service_->session_memAlloc(id_, 64, 0, 0, 0, &memory).isOk());
        ASSERT_TRUE(service_->session_createCmd(id_, &cmd_id_).isOk());
        cmd_ = fake_driver::callsTo("dravikSession_createCmd")[0].result;
        fake_driver::reset();
        platform_recorder::reset();
    }

    uint64_t id_ = 0;
    int64_t cmd_id_ = 0;
    int64_t cmd_ = 0;
};

TEST_F(CachedRunTest, FlushRunInvalidateInOrder) {
    int32_t ret = 99;
    ASSERT_TRUE(service_->cmd_cachedAndRun(id_, cmd_id_, {1, 2}, {2, 1}, &ret).isOk());
    EXPECT_EQ(ret, 0);
    EXPECT_EQ(driverCalls(),
              (std::vector<std::string>{"dravikSession_memFlush", "dravikSession_memFlush",
                                        "dravikCmd_run", "dravikSession_memInvalidate",
                                        "dravikSession_memInvalidate"}));
    // Each step is the remote method itself, with its own trace section.
    platform_recorder::enableTraceTags(uint64_t{1} << 25);
    ASSERT_TRUE(service_->cmd_cachedAndRun(id_, cmd_id_, {1}, {2}, &ret).isOk());
    EXPECT_EQ(platform_recorder::traceEvents(),
              (std::vector<std::string>{"begin cmd_cachedAndRun", "begin session_memFlush", "end",
                                        "begin cmd_run", "end", "begin session_memInvalidate",
                                        "end", "end"}));

    // With both lists empty it is exactly cmd_run, failure included.
    fake_driver::reset();
    fake_driver::setResult("dravikCmd_run", 5, EIO);
    ASSERT_TRUE(service_->cmd_cachedAndRun(id_, cmd_id_, {}, {}, &ret).isOk());
    EXPECT_EQ(ret, 5);
    EXPECT_EQ(driverCalls(), std::vector<std::string>{"dravikCmd_run"});
}

TEST_F(CachedRunTest, TheFirstFailingStepStopsTheRest) {
    // An unknown flush id: nothing runs, ret is the flush's failure.
    int32_t ret = 0;
    ASSERT_TRUE(service_->cmd_cachedAndRun(id_, cmd_id_, {1, 77, 2}, {1}, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(driverCalls(), std::vector<std::string>{"dravikSession_memFlush"});

    // A failed run leaves the invalidates undone.
    fake_driver::reset();
    fake_driver::setResult("dravikCmd_runWithType", -9, EIO);
    ASSERT_TRUE(service_->cmd_cachedAndRunWithType(id_, cmd_id_, {1}, {1, 2}, 1, &ret).isOk());
    EXPECT_EQ(ret, -9);
    EXPECT_EQ(driverCalls(),
              (std::vector<std::string>{"dravikSession_memFlush", "dravikCmd_runWithType"}));
    EXPECT_EQ(service_->getRunwithtypeFlagFromDravikId(id_), 2u) << "the typed run's gate";

    // A failed invalidate leaves the rest of its list undone.
    fake_driver::reset();
    fake_driver::queueResult("dravikSession_memInvalidate", 4);
    ASSERT_TRUE(service_->cmd_cachedAndRunWithType(id_, cmd_id_, {}, {2, 1}, 0, &ret).isOk());
    EXPECT_EQ(ret, 4);
    EXPECT_EQ(driverCalls(),
              (std::vector<std::string>{"dravikCmd_runWithType", "dravikSession_memInvalidate"}));
    EXPECT_EQ(countLines("cmd_cachedAndRunWithType dravik_id:" + std::to_string(id_) + " cmd_id:" +
                         std::to_string(cmd_id_) + " type:0 flushs_size:0, invalidates_size:2"),
              1u);
}

TEST_F(CachedRunTest, ExtendedRunTagsThePidAndAnswersTheExtensionId) {
    fake_driver::setResult("dravikCmd_getRunInfo", 4242);
    std::vector<int64_t> out;
    ASSERT_TRUE(service_->cmd_cachedAndRunWithTypeExt(id_, cmd_id_, {1}, {2}, 1, &out).isOk());
    EXPECT_EQ(out, std::vector<int64_t>{4242});
    EXPECT_EQ(driverCalls(),
              (std::vector<std::string>{"dravikCmd_setParam", "dravikSession_memFlush",
                                        "dravikCmd_runWithType", "dravikSession_memInvalidate",
                                        "dravikCmd_getRunInfo"}));
    const auto set_param = fake_driver::callsTo("dravikCmd_setParam")[0];
    EXPECT_EQ(set_param.arguments, (std::vector<int64_t>{cmd_, 3, getpid()}));
    EXPECT_EQ(fake_driver::callsTo("dravikCmd_getRunInfo")[0].arguments,
              (std::vector<int64_t>{cmd_, 2}));
    // Its two INFO lines are printed whatever the debug switch says.
    DEBUG_LOG_DRAVIK = 0;
    platform_recorder::reset();
    out.clear();
    ASSERT_TRUE(service_->cmd_cachedAndRunWithTypeExt(id_, cmd_id_, {}, {}, 1, &out).isOk());
    EXPECT_EQ(logTexts(), (std::vector<std::string>{"cmd_cachedAndRunWithTypeExt",
                                                    "setRunwithtypeFlagFromDravikId dravik_id:" +
                                                            std::to_string(id_) + " run_flag:1",
                                                    "setRunwithtypeFlagFromDravikId dravik_id:" +
                                                            std::to_string(id_) + " run_flag:2",
                                                    "cmd_cachedAndRunWithTypeExt - ext_id: 4242"}));
}

TEST_F(CachedRunTest, ExtendedRunFailuresAnswerASingleZero) {
    // Unknown command: the gate is not touched.
    std::vector<int64_t> out;
    ASSERT_TRUE(service_->cmd_cachedAndRunWithTypeExt(id_, 999, {}, {}, 1, &out).isOk());
    EXPECT_EQ(out, std::vector<int64_t>{0});
    EXPECT_EQ(service_->getRunwithtypeFlagFromDravikId(id_), 0u);
    EXPECT_TRUE(fake_driver::callsTo("dravikCmd_runWithType").empty());

    fake_driver::queueResult("dravikCmd_setParam", -1, EINVAL);
    out.clear();
    ASSERT_TRUE(service_->cmd_cachedAndRunWithTypeExt(id_, cmd_id_, {}, {}, 1, &out).isOk());
    EXPECT_EQ(out, std::vector<int64_t>{0});
    EXPECT_TRUE(fake_driver::callsTo("dravikCmd_runWithType").empty());

    fake_driver::setResult("dravikCmd_runWithType", 6, EIO);
    out = {11};  // appended to, never cleared
    ASSERT_TRUE(service_->cmd_cachedAndRunWithTypeExt(id_, cmd_id_, {}, {}, 1, &out).isOk());
    EXPECT_EQ(out, (std::vector<int64_t>{11, 0}));
    EXPECT_TRUE(fake_driver::callsTo("dravikCmd_getRunInfo").empty());

    std::vector<std::string> errors = logTexts(ANDROID_LOG_ERROR);
    // Leave out the look-ups' own lines and the test's own look at the gate.
    errors.erase(std::remove_if(errors.begin(), errors.end(),
                                [](const std::string& text) {
                                    return text == "getDravikCmd Failed" ||
                                           text.rfind("getRunwithtypeFlagFromDravikId", 0) == 0;
                                }),
                 errors.end());
    EXPECT_EQ(errors, (std::vector<std::string>{"Invalid cmd", "Fail to set pid",
                                                "dravikCmd_run failed errno(5/Input/output error)",
                                                "cmd_cachedAndRunWithType error. ret = 6"}));
}

}  // namespace
}  // namespace service_test
