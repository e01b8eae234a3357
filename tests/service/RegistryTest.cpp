#include <android/log.h>

#include <thread>

#include "ServiceFixture.h"

namespace service_test {
namespace {

using RegistryTest = ServiceFixture;

TEST_F(RegistryTest, IdsCountPerTableFromOneAndAreNeverReused) {
    auto* pointer = reinterpret_cast<void*>(0x10);
    EXPECT_EQ(service_->generateDravikMemId(7, pointer, 0, false), 1u);
    EXPECT_EQ(service_->generateDravikCmdId(7, reinterpret_cast<dravik_cmd*>(pointer)), 1u);
    EXPECT_EQ(service_->generateDravikCmdBufId(7, pointer), 1u);
    EXPECT_EQ(service_->generateDravikSubCmdId(7, reinterpret_cast<dravik_subcmd*>(pointer)), 1u);

    EXPECT_TRUE(service_->eraseDravikCmd(7, 1));
    EXPECT_FALSE(service_->eraseDravikCmd(7, 1));
    EXPECT_EQ(service_->generateDravikCmdId(7, reinterpret_cast<dravik_cmd*>(pointer)), 2u);
    EXPECT_TRUE(service_->eraseDravikMem(7, 1));
    EXPECT_EQ(service_->generateDravikMemId(8, pointer, 0, false), 2u);
    EXPECT_TRUE(service_->eraseDravikMem(8, 2));
    EXPECT_TRUE(service_->eraseDravikCmdBuf(7, 1));
    EXPECT_FALSE(service_->eraseDravikCmdBuf(7, 1));
    // A failed erase cannot happen through the methods, which erase only what they just found.
    EXPECT_EQ(logTexts(ANDROID_LOG_ERROR),
              (std::vector<std::string>{"eraseDravikCmd Failed", "eraseDravikCmdBuf Failed"}));
}

TEST_F(RegistryTest, SharedMemoryIsFoundThroughAnySessionAndPrivateMemoryOnlyThroughItsOwn) {
    auto* shared_memory = reinterpret_cast<void*>(0x100);
    auto* private_memory = reinterpret_cast<void*>(0x200);
    const uint64_t shared_id = service_->generateDravikMemId(7, shared_memory, 0, true);
    const uint64_t private_id = service_->generateDravikMemId(7, private_memory, 5, false);

    for (uint64_t session : {uint64_t{7}, uint64_t{8}, uint64_t{0}, kSharedOwner}) {
        MemInfo* found = service_->getDravikMem(session, shared_id);
        ASSERT_NE(found, nullptr) << session;
        EXPECT_EQ(found->mem, shared_memory);
    }
    EXPECT_EQ(service_->getDravikMem(7, private_id)->newfd, 5);
    EXPECT_EQ(service_->getDravikMem(8, private_id), nullptr);
    EXPECT_EQ(service_->getDravikMem(7, 999), nullptr);

    // Erasing shared memory through a session id finds nothing; the entry stays.
    EXPECT_FALSE(service_->eraseDravikMem(7, shared_id));
    EXPECT_NE(service_->getDravikMem(7, shared_id), nullptr);
    EXPECT_TRUE(service_->eraseDravikMem(kSharedOwner, shared_id));
    EXPECT_EQ(service_->getDravikMem(7, shared_id), nullptr);
    EXPECT_TRUE(service_->eraseDravikMem(7, private_id));
    // The memory table is silent in every case.
    EXPECT_TRUE(platform_recorder::logLines().empty());
}

TEST_F(RegistryTest, GatePassesAtOnceUnlessATypedRunIsInTheDriver) {
    service_->setRunwithtypeFlagFromDravikId(42, 2);
    service_->checkRunwithtypeFlag(42);
    EXPECT_EQ(
            logTexts(ANDROID_LOG_DEBUG),
            (std::vector<std::string>{
                    "setRunwithtypeFlagFromDravikId dravik_id:42 run_flag:2",
                    "checkRunwithtypeFlag dravik_id:42 run_flag is not 1, continuing execution...",
            }));
}

TEST_F(RegistryTest, GateReleasesTheWaiterWhenTheRunReturns) {
    DEBUG_LOG_DRAVIK = 0;  // the gate's lines are printed regardless
    service_->setRunwithtypeFlagFromDravikId(42, 1);
    std::thread run_returns([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        service_->setRunwithtypeFlagFromDravikId(42, 2);
    });
    service_->checkRunwithtypeFlag(42);
    run_returns.join();
    EXPECT_EQ(logTexts(ANDROID_LOG_DEBUG).back(),
              "checkRunwithtypeFlag dravik_id:42 run_flag is 2...");
    EXPECT_TRUE(logTexts(ANDROID_LOG_ERROR).empty());
}

TEST_F(RegistryTest, GateGivesUpOnAStuckRunAfterItsBound) {
    service_->setRunwithtypeFlagFromDravikId(42, 1);
    service_->checkRunwithtypeFlag(42);
    EXPECT_EQ(logTexts(ANDROID_LOG_ERROR),
              std::vector<std::string>{
                      "checkRunwithtypeFlag dravik_id:42 run_flag become 2 timeout"});
    EXPECT_EQ(service_->getRunwithtypeFlagFromDravikId(42), 1u);
}

}  // namespace
}  // namespace service_test
