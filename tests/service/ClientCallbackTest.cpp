#include <aidl/vendor/korvane/hardware/tessaro/dravik/BnTovanDravikCallback.h>
#include <android/log.h>
#include <unistd.h>

#include "ServiceFixture.h"

namespace service_test {
namespace {

using ClientCallbackTest = ServiceFixture;

class Callback : public BnTovanDravikCallback {};

TEST_F(ClientCallbackTest, ACallbackInTheServicesOwnProcessCannotBeWatched) {
    // Death links are for binders of other processes; the runtime refuses a local one.
    const auto callback = ndk::SharedRefBase::make<Callback>();
    EXPECT_EQ(service_->setCallback(callback).getExceptionCode(), EX_NULL_POINTER);
    EXPECT_EQ(logTexts(ANDROID_LOG_ERROR), std::vector<std::string>{"Cannot link to death"});

    // Never registered: the unlink fails and is reported the same way.
    platform_recorder::reset();
    EXPECT_EQ(service_->unSetCallback(callback).getExceptionCode(), EX_NULL_POINTER);
    EXPECT_EQ(logTexts(ANDROID_LOG_ERROR), std::vector<std::string>{"Cannot unlink to death"});

    // A death notice for a binder that is not registered changes nothing and says nothing.
    const uint64_t id = createSession();
    platform_recorder::reset();
    service_->handleClientBinderDeath(callback->asBinder().get());
    EXPECT_TRUE(logTexts().empty());
    EXPECT_EQ(service_->getDravikSession(id), reinterpret_cast<dravik_session*>(id));
    EXPECT_TRUE(fake_driver::callsTo("dravikSession_deleteInstance").empty());
}

TEST_F(ClientCallbackTest, CrashCleanupTriesEverySessionAndDropsTheClient) {
    const uint64_t first = createSession();
    const uint64_t second = createSession();
    const uint64_t third = createSession();
    fake_driver::reset();
    platform_recorder::reset();
    fake_driver::queueResult("dravikSession_deleteInstance", 0);
    fake_driver::queueResult("dravikSession_deleteInstance", 5, EBUSY);

    EXPECT_EQ(service_->releaseCrashClient(getpid()), 0) << "the third deletion's result";
    const auto deletions = fake_driver::callsTo("dravikSession_deleteInstance");
    ASSERT_EQ(deletions.size(), 3u);
    EXPECT_EQ(static_cast<uint64_t>(deletions[0].arguments[0]), first);
    EXPECT_EQ(static_cast<uint64_t>(deletions[1].arguments[0]), second);
    EXPECT_EQ(static_cast<uint64_t>(deletions[2].arguments[0]), third);
    EXPECT_EQ(
            countLines("releaseCrashClient delete session:" + std::to_string(second) + " failed!"),
            1u);
    EXPECT_EQ(
            countLines("releaseCrashClient delete session:" + std::to_string(third) + " success!"),
            1u);

    // The failed session stays registered, but the client's list is gone.
    EXPECT_EQ(service_->getDravikSession(second), reinterpret_cast<dravik_session*>(second));
    EXPECT_EQ(service_->getDravikSession(first), nullptr);
    EXPECT_EQ(service_->releaseCrashClient(getpid()), -1);
    sessions_ = {second};
}

}  // namespace
}  // namespace service_test
