// The fake driver: its defaults, its programmed results and its record of calls.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include "FakeDriver.h"
#include "dravik_mdw.h"

namespace {

class FakeDriverTest : public ::testing::Test {
  protected:
    void SetUp() override { fake_driver::reset(); }
};

TEST_F(FakeDriverTest, DefaultsSucceedWithDistinctHandlesAndRealDescriptors) {
    dravik_session* session = dravikSession_createInstance();
    dravik_mem* mem = dravikSession_memAlloc(session, 4096, 0, 0, 0);
    dravik_mem* buffer = dravikSession_cmdBufAllocWithName(session, 64, 0, "buffer", 0);
    dravik_cmd* command = dravikSession_createCmd(session);
    dravik_subcmd* sub_command = dravikCmd_createSubcmd(command, 1);
    const std::set<const void*> handles = {session, mem, buffer, command, sub_command};
    EXPECT_EQ(handles.size(), 5u);
    EXPECT_EQ(handles.count(nullptr), 0u);
    fake_driver::reset();
    EXPECT_NE(dravikSession_createInstance(), session) << "handles keep counting across resets";

    EXPECT_EQ(dravikCmd_build(command), 0);
    EXPECT_EQ(dravikSession_memFree(session, mem), 0);
    EXPECT_EQ(dravikSession_queryDeviceNum(session, 4), 1);

    const int descriptor = static_cast<int>(dravikSession_memGetInfoFromHostPtr(session, mem, 2));
    EXPECT_EQ(descriptor, fake_driver::sharedMemoryDescriptor());
    void* mapping = mmap(nullptr, fake_driver::kSharedMemorySize, PROT_READ | PROT_WRITE,
                         MAP_SHARED, descriptor, 0);
    ASSERT_NE(mapping, MAP_FAILED);
    munmap(mapping, fake_driver::kSharedMemorySize);
    EXPECT_EQ(dravikSession_memGetInfoFromHostPtr(session, mem, 1), 0);

    const int fence = dravikCmd_runFence(command, -1, 0);
    ASSERT_GT(fence, 0);
    EXPECT_NE(fence, descriptor);
    pollfd entry{fence, POLLIN, 0};
    EXPECT_EQ(poll(&entry, 1, 0), 1) << "already signalled";
    close(fence);
}

TEST_F(FakeDriverTest, ProgrammedResultsAnswerInOrderThenStay) {
    fake_driver::queueResult("dravikCmd_run", -1, EIO);
    fake_driver::queueResult("dravikCmd_run", 7);
    errno = 0;
    EXPECT_EQ(dravikCmd_run(nullptr), -1);
    EXPECT_EQ(errno, EIO);
    errno = 0;
    EXPECT_EQ(dravikCmd_run(nullptr), 7);
    EXPECT_EQ(errno, 0) << "no errno given, none set";
    EXPECT_EQ(dravikCmd_run(nullptr), 0) << "back to the default";

    fake_driver::setResult("dravikSession_memAlloc", 0, ENOMEM);
    fake_driver::queueResult("dravikSession_memAlloc", 0x1000);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(dravikSession_memAlloc(nullptr, 1, 0, 0, 0)), 0x1000u);
    for (int call = 0; call < 2; ++call) {
        errno = 0;
        EXPECT_EQ(dravikSession_memAlloc(nullptr, 1, 0, 0, 0), nullptr);
        EXPECT_EQ(errno, ENOMEM);
    }
    fake_driver::setResult("dravikSession_memGetInfoFromHostPtr", int64_t{1} << 40);
    EXPECT_EQ(dravikSession_memGetInfoFromHostPtr(nullptr, nullptr, 2), int64_t{1} << 40);
    fake_driver::clearResult("dravikSession_memAlloc");
    EXPECT_NE(dravikSession_memAlloc(nullptr, 1, 0, 0, 0), nullptr);

    EXPECT_THROW(fake_driver::setResult("dravikSession_memAllocate", 0), std::invalid_argument);
    EXPECT_THROW(fake_driver::callsTo("run"), std::invalid_argument);
}

TEST_F(FakeDriverTest, EveryCallIsRecordedWithItsArguments) {
    dravik_session* session = dravikSession_createInstance();
    dravik_mem* mem = dravikSession_memAllocV1(session, 1 << 20, 4096, 1, 3, "weights", -8);
    int token = 0;
    dravikCmd_setDependencyTightly(nullptr, nullptr, nullptr, &token);
    dravikSession_memSetParamViaHostPtr(session, mem, 2, -5);

    const std::vector<fake_driver::Call> calls = fake_driver::calls();
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[0].function, "dravikSession_createInstance");
    EXPECT_TRUE(calls[0].arguments.empty());
    EXPECT_EQ(calls[1].function, "dravikSession_memAllocV1");
    const int64_t session_number = static_cast<int64_t>(reinterpret_cast<uintptr_t>(session));
    EXPECT_EQ(calls[1].arguments, (std::vector<int64_t>{session_number, 1 << 20, 4096, 1, 3, -8}));
    EXPECT_EQ(calls[1].text, "weights");
    EXPECT_EQ(calls[1].result, static_cast<int64_t>(reinterpret_cast<uintptr_t>(mem)));
    EXPECT_EQ(calls[2].arguments[3], static_cast<int64_t>(reinterpret_cast<uintptr_t>(&token)));
    EXPECT_EQ(calls[3].arguments.back(), -5);
    EXPECT_EQ(fake_driver::callsTo("dravikSession_memSetParamViaHostPtr").size(), 1u);
}

TEST_F(FakeDriverTest, MetadataFillsWhatQueryInfoAnswered) {
    fake_driver::setResult("dravikSession_queryInfo", 24);
    ASSERT_EQ(dravikSession_queryInfo(nullptr, 1), 24);
    std::vector<unsigned char> buffer(40, 0);
    EXPECT_EQ(dravikSession_queryDeviceMetaData(nullptr, 3, buffer.data()), 0);
    for (std::size_t index = 0; index < buffer.size(); ++index) {
        EXPECT_EQ(buffer[index], index < 24 ? static_cast<unsigned char>(3 + index) : 0)
                << "byte " << index;
    }
    fake_driver::setResult("dravikSession_queryDeviceMetaData", -1, EIO);
    std::vector<unsigned char> untouched(40, 0);
    EXPECT_EQ(dravikSession_queryDeviceMetaData(nullptr, 3, untouched.data()), -1);
    EXPECT_EQ(untouched, std::vector<unsigned char>(40, 0));
}

TEST_F(FakeDriverTest, CallsFromManyThreadsAreAllRecorded) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int call = 0; call < 100; ++call) dravikCmd_setParam(nullptr, 3, call);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(fake_driver::callsTo("dravikCmd_setParam").size(), 400u);
}

}  // namespace
