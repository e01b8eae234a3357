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
}

}  // namespace
}  // namespace service_test
