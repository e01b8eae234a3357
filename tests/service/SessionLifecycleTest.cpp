#include <android/log.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <thread>

#include "ServiceFixture.h"

namespace service_test {
namespace {

using SessionLifecycleTest = ServiceFixture;

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

TEST_F(SessionLifecycleTest, DeletionSweepsEverythingOfTheSessionInOrder) {
    const uint64_t id = createSession();
    const uint64_t other = createSession();
    auto* session = service_->getDravikSession(id);
    auto pointer = [](uintptr_t value) { return reinterpret_cast<void*>(value); };

    // Imported memory (its own descriptor), allocated memory, shared memory of the session,
    // memory of another session, then a command buffer, a command and a sub-command.
    const int imported_fd = dup(fake_driver::sharedMemoryDescriptor());
    ASSERT_GE(imported_fd, 1);
    service_->generateDravikMemId(id, pointer(0xa1), imported_fd, false);
    service_->generateDravikMemId(id, pointer(0xa2), 0, false);
    const uint64_t shared_id = service_->generateDravikMemId(id, pointer(0xa3), 0, true);
    const uint64_t others_id = service_->generateDravikMemId(other, pointer(0xa4), 0, false);
    service_->generateDravikCmdBufId(id, pointer(0xb1));
    const uint64_t cmd_id = service_->generateDravikCmdId(id, reinterpret_cast<dravik_cmd*>(0xc1));
    const uint64_t sub_cmd_id =
            service_->generateDravikSubCmdId(id, reinterpret_cast<dravik_subcmd*>(0xd1));
    const bool stdin_open = isOpen(0);
    fake_driver::reset();

    EXPECT_EQ(deleteSession(id), 0);
    auto calls = fake_driver::calls();
    ASSERT_EQ(driverCalls(), (std::vector<std::string>{
                                     "dravikSession_memUnImport",
                                     "dravikSession_memFree",
                                     "dravikSession_cmdBufFree",
                                     "dravikSession_deleteCmd",
                                     "dravikSession_deleteInstance",
                             }));
    for (const auto& call : calls) {
        EXPECT_EQ(call.arguments[0], static_cast<int64_t>(reinterpret_cast<uintptr_t>(session)));
    }
    EXPECT_EQ(calls[0].arguments[1], 0xa1);
    EXPECT_EQ(calls[1].arguments[1], 0xa2);
    EXPECT_EQ(calls[2].arguments[1], 0xb1);
    EXPECT_EQ(calls[3].arguments[1], 0xc1);
    EXPECT_FALSE(isOpen(imported_fd)) << "the import's duplicate is closed";
    EXPECT_EQ(isOpen(0), stdin_open) << "descriptor 0 is never closed";

    EXPECT_NE(service_->getDravikMem(id, shared_id), nullptr) << "shared memory stays";
    EXPECT_NE(service_->getDravikMem(other, others_id), nullptr);
    EXPECT_EQ(service_->getDravikCmd(id, cmd_id), nullptr);
    EXPECT_EQ(service_->getDravikSubCmd(id, sub_cmd_id), nullptr);
    EXPECT_EQ(deleteSession(other), 0);
    EXPECT_TRUE(service_->eraseDravikMem(kSharedOwner, shared_id));
}

TEST_F(SessionLifecycleTest, FailedDriverDeletionKeepsTheEmptySessionForARetry) {
    const uint64_t id = createSession();
    service_->generateDravikCmdBufId(id, reinterpret_cast<void*>(0xb1));
    fake_driver::setResult("dravikSession_deleteInstance", 5, EBUSY);
    EXPECT_EQ(deleteSession(id), 5);
    EXPECT_NE(service_->getDravikSession(id), nullptr);
    EXPECT_EQ(service_->getDravikCmdBuf(id, 1), nullptr) << "resources are not rolled back";

    fake_driver::clearResult("dravikSession_deleteInstance");
    fake_driver::reset();
    EXPECT_EQ(deleteSession(id), 0);
    EXPECT_EQ(driverCalls(), std::vector<std::string>{"dravikSession_deleteInstance"});
}

TEST_F(SessionLifecycleTest, DeletionWaitsForATypedRunInFlight) {
    const uint64_t id = createSession();
    service_->setRunwithtypeFlagFromDravikId(id, 1);
    std::thread run_returns([this, id] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        // The deletion holds the session lock; the gate is separate, so the run can finish.
        service_->setRunwithtypeFlagFromDravikId(id, 2);
    });
    EXPECT_EQ(deleteSession(id), 0);
    run_returns.join();
    auto texts = logTexts();
    auto released =
            std::find(texts.begin(), texts.end(),
                      "checkRunwithtypeFlag dravik_id:" + std::to_string(id) + " run_flag is 2...");
    auto deleted =
            std::find(texts.begin(), texts.end(), "deleteInstance dravik_id=" + std::to_string(id));
    ASSERT_NE(released, texts.end());
    EXPECT_LT(released, deleted);
}

TEST_F(SessionLifecycleTest, CrashCleanupTriesEverySessionAndDropsTheClient) {
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

    // The failed session stays registered, but the client's list is gone.
    EXPECT_EQ(service_->getDravikSession(second), reinterpret_cast<dravik_session*>(second));
    EXPECT_EQ(service_->getDravikSession(first), nullptr);
    EXPECT_EQ(service_->releaseCrashClient(getpid()), -1);
    sessions_ = {second};
}

}  // namespace
}  // namespace service_test
