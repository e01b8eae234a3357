#include <android/log.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "OpenDescriptors.h"
#include "ServiceFixture.h"

namespace service_test {
namespace {

using MaintenanceTest = ServiceFixture;
using DeviceQueryTest = ServiceFixture;

TEST_F(MaintenanceTest, EachMethodReachesTheDriverWithTheMemoryObject) {
    const uint64_t id = createSession();
    DRAVIK_MEMINFO_HD memory;
    ASSERT_TRUE(service_->session_memAlloc(id, 64, 0, 0, 0, &memory).isOk());
    const int64_t mem = fake_driver::callsTo("dravikSession_memAlloc")[0].result;
    const std::string ids = "dravik_id=" + std::to_string(id) + ", dravik_mem_id=1";
    platform_recorder::reset();

    // Driver answers are passed back unjudged, a negative one logged as success.
    fake_driver::setResult("dravikSession_memFlush", -22, EINVAL);
    fake_driver::setResult("dravikSession_memInvalidate", 3);
    fake_driver::setResult("dravikSession_memSetParamViaHostPtr", -5);
    int32_t ret = 0;
    ASSERT_TRUE(service_->session_memFlush(id, 1, &ret).isOk());
    EXPECT_EQ(ret, -22);
    ASSERT_TRUE(service_->session_memInvalidate(id, 1, &ret).isOk());
    EXPECT_EQ(ret, 3);
    ASSERT_TRUE(service_->session_memSetParamViaHostPtr(id, 1, 2, 99, &ret).isOk());
    EXPECT_EQ(ret, -5);
    int64_t value = 0;
    ASSERT_TRUE(service_->session_memGetInfoFromHostPtr(id, 1, 3, &value).isOk());
    EXPECT_EQ(value, 0) << "the fake answers 0 for kind 3";

    for (const char* name : {"dravikSession_memFlush", "dravikSession_memInvalidate",
                             "dravikSession_memSetParamViaHostPtr"}) {
        auto calls = fake_driver::callsTo(name);
        ASSERT_EQ(calls.size(), 1u) << name;
        EXPECT_EQ(calls[0].arguments[0], static_cast<int64_t>(id));
        EXPECT_EQ(calls[0].arguments[1], mem) << name;
    }
    EXPECT_EQ(fake_driver::callsTo("dravikSession_memSetParamViaHostPtr")[0].arguments[2], 2);
    EXPECT_EQ(fake_driver::callsTo("dravikSession_memSetParamViaHostPtr")[0].arguments[3], 99);
    EXPECT_EQ(logTexts(ANDROID_LOG_INFO),
              (std::vector<std::string>{"session_memFlush " + ids + ", ret:-22",
                                        "session_memInvalidate " + ids + ", ret=3",
                                        "session_memSetParamViaHostPtr " + ids + ", ret:-5",
                                        "session_memGetInfoFromHostPtr " + ids}));
}

TEST_F(MaintenanceTest, UnresolvedIdsAnswerEachMethodsFailureValue) {
    const uint64_t id = createSession();
    DRAVIK_MEMINFO_HD shared;
    ASSERT_TRUE(service_->session_memAlloc(id, 64, 0, 1, 0, &shared).isOk());
    releaseSharedAtEnd(shared.mem_id);
    platform_recorder::reset();

    // Shared memory is found through any session id, but the session must resolve as well.
    const uint64_t unknown = 424242;
    int32_t ret = 0;
    int64_t value = 7;
    ASSERT_TRUE(service_->session_memFlush(unknown, shared.mem_id, &ret).isOk());
    EXPECT_EQ(ret, -1);
    ret = 0;
    ASSERT_TRUE(service_->session_memInvalidate(id, 999, &ret).isOk());
    EXPECT_EQ(ret, -1);
    ret = 0;
    ASSERT_TRUE(service_->session_memSetParamViaHostPtr(id, 999, 1, 1, &ret).isOk());
    EXPECT_EQ(ret, -1);
    ASSERT_TRUE(service_->session_memGetInfoFromHostPtr(id, 999, 2, &value).isOk());
    EXPECT_EQ(value, 0);
    const std::string ids = "dravik_id=" + std::to_string(id) + ", dravik_mem_id=999";
    EXPECT_EQ(logTexts(), (std::vector<std::string>{
                                  "getDravikSession fail",
                                  "session_memFlush failed! dravik_id=424242, dravik_mem_id=" +
                                          std::to_string(shared.mem_id) + ", ret:-1",
                                  "session_memInvalidate failed! " + ids,
                                  "session_memSetParamViaHostPtr failed " + ids,
                                  "session_memGetInfoFromHostPtr failed! " + ids,
                          }));
    EXPECT_TRUE(fake_driver::callsTo("dravikSession_memFlush").empty());

    // Through the shared id with a live session, the driver is reached.
    ASSERT_TRUE(service_->session_memFlush(id, shared.mem_id, &ret).isOk());
    EXPECT_EQ(ret, 0);
}

TEST_F(MaintenanceTest, EveryDescriptorQueryHandsOutANewDuplicate) {
    const uint64_t id = createSession();
    DRAVIK_MEMINFO_HD memory;
    ASSERT_TRUE(service_->session_memAlloc(id, 64, 0, 0, 0, &memory).isOk());
    const size_t before = openDescriptorCount();
    ndk::ScopedFileDescriptor first;
    ndk::ScopedFileDescriptor second;
    ASSERT_TRUE(service_->session_memGetFdFromHostPtr(id, 1, 2, &first).isOk());
    ASSERT_TRUE(service_->session_memGetFdFromHostPtr(id, 1, 2, &second).isOk());
    EXPECT_GT(first.get(), 2);
    EXPECT_NE(first.get(), second.get());
    EXPECT_NE(first.get(), fake_driver::sharedMemoryDescriptor());
    EXPECT_EQ(openDescriptorCount(), before + 2);
    EXPECT_EQ(countLines("session_memGetFdFromHostPtr dravik_id=" + std::to_string(id) +
                         ", dravik_mem_id=1, tmp_fd=" +
                         std::to_string(fake_driver::sharedMemoryDescriptor()) +
                         ", dup_fd=" + std::to_string(second.get())),
              1u);

    // A failure replaces what the holder had with descriptor 0, closing the old one.
    const int replaced = first.get();
    ASSERT_TRUE(service_->session_memGetFdFromHostPtr(id, 999, 2, &first).isOk());
    EXPECT_EQ(first.get(), 0);
    EXPECT_FALSE(isOpen(replaced));
    first.release();  // descriptor 0 is the test process's own
    EXPECT_EQ(countLines("session_memGetFdFromHostPtr failed! dravik_id=" + std::to_string(id) +
                         ", dravik_mem_id=999"),
              1u);
}

TEST_F(DeviceQueryTest, TheTypeGateHasItsGapAtFive) {
    const uint64_t id = createSession();
    for (int32_t type : {0, 5, 7, -1}) {
        int64_t count = 9;
        ASSERT_TRUE(service_->session_queryDeviceNum(id, type, &count).isOk());
        EXPECT_EQ(count, 0) << type;
        int32_t ret = 9;
        Ashmem region;
        ASSERT_TRUE(service_->session_queryDeviceMetaData(id, type, region, &ret).isOk());
        EXPECT_EQ(ret, -1) << type;
    }
    EXPECT_TRUE(fake_driver::callsTo("dravikSession_queryDeviceNum").empty());
    EXPECT_TRUE(fake_driver::callsTo("dravikSession_queryInfo").empty());
    EXPECT_EQ(countLines("non dravik device type"), 8u);

    fake_driver::setResult("dravikSession_queryDeviceNum", 4);
    for (int32_t type : {1, 2, 3, 4, 6}) {
        int64_t count = 0;
        ASSERT_TRUE(service_->session_queryDeviceNum(id, type, &count).isOk());
        EXPECT_EQ(count, 4);
    }
    EXPECT_EQ(fake_driver::callsTo("dravikSession_queryDeviceNum").size(), 5u);

    // An unknown session with a bad type says both; with a good type, its own line.
    platform_recorder::reset();
    int64_t count = 9;
    ASSERT_TRUE(service_->session_queryDeviceNum(31337, 5, &count).isOk());
    ASSERT_TRUE(service_->session_queryDeviceNum(31337, 1, &count).isOk());
    EXPECT_EQ(count, 0);
    int64_t value = 9;
    ASSERT_TRUE(service_->session_queryInfo(31337, 1, &value).isOk());
    EXPECT_EQ(value, 0);
    EXPECT_EQ(logTexts(),
              (std::vector<std::string>{
                      "getDravikSession fail", "non dravik device type", "getDravikSession fail",
                      "session_queryDeviceNum failed due to session nullptr!",
                      "getDravikSession fail",
                      "session_queryInfo failed due to session nullptr! value is 0"}));
}

TEST_F(DeviceQueryTest, MetadataLandsInTheClientsOwnSharedMemory) {
    const uint64_t id = createSession();
    const int64_t size = fake_driver::kMetadataSize;
    Ashmem region;
    region.fd.set(memfd_create("metadata", MFD_CLOEXEC));
    ASSERT_EQ(ftruncate(region.fd.get(), size), 0);
    const size_t before = openDescriptorCount();

    // Neither larger nor smaller than the block; only the low 32 bits are compared.
    int32_t ret = 0;
    for (int64_t wrong : {size - 1, size + 1}) {
        region.size = wrong;
        ASSERT_TRUE(service_->session_queryDeviceMetaData(id, 3, region, &ret).isOk());
        EXPECT_EQ(ret, -1);
        EXPECT_EQ(countLines("session_queryDeviceMetaData failed due to buffer size error, size:" +
                             std::to_string(wrong)),
                  1u);
    }
    EXPECT_TRUE(fake_driver::callsTo("dravikSession_queryDeviceMetaData").empty());

    region.size = size + (int64_t{1} << 32);
    ASSERT_TRUE(service_->session_queryDeviceMetaData(id, 3, region, &ret).isOk());
    EXPECT_EQ(ret, 0);
    void* mapping = mmap(nullptr, size, PROT_READ, MAP_SHARED, region.fd.get(), 0);
    ASSERT_NE(mapping, MAP_FAILED);
    const auto* bytes = static_cast<const uint8_t*>(mapping);
    for (int64_t index = 0; index < size; ++index) {
        ASSERT_EQ(bytes[index], static_cast<uint8_t>(3 + index)) << index;
    }
    munmap(mapping, size);
    EXPECT_EQ(openDescriptorCount(), before) << "the client's descriptor is borrowed";
    EXPECT_TRUE(isOpen(region.fd.get()));
    EXPECT_EQ(countLines("session_queryDeviceMetaData dravik_id:" + std::to_string(id) + ", size:" +
                         std::to_string(size) + ", fd:" + std::to_string(region.fd.get())),
              1u);
}

TEST_F(DeviceQueryTest, MetadataFailuresSayWhere) {
    const uint64_t id = createSession();
    platform_recorder::reset();
    Ashmem region;
    region.size = fake_driver::kMetadataSize;
    int32_t ret = 0;

    ASSERT_TRUE(service_->session_queryDeviceMetaData(5150, 2, region, &ret).isOk());
    EXPECT_EQ(ret, -1);

    // The driver's own refusal comes back as it is.
    fake_driver::setResult("dravikSession_queryDeviceMetaData", 17, EIO);
    ASSERT_TRUE(service_->session_queryDeviceMetaData(id, 2, region, &ret).isOk());
    EXPECT_EQ(ret, 17);
    fake_driver::clearResult("dravikSession_queryDeviceMetaData");

    // A descriptor that cannot be mapped: a pipe's.
    int pipe_ends[2];
    ASSERT_EQ(pipe2(pipe_ends, O_CLOEXEC), 0);
    ndk::ScopedFileDescriptor read_end(pipe_ends[0]);
    ndk::ScopedFileDescriptor write_end(pipe_ends[1]);
    region.fd.set(dup(read_end.get()));
    ASSERT_TRUE(service_->session_queryDeviceMetaData(id, 2, region, &ret).isOk());
    EXPECT_EQ(ret, -1);

    // A file that claims the right size but is empty: mapped, the copy would fault the service.
    region.fd.set(memfd_create("empty", MFD_CLOEXEC));
    ASSERT_TRUE(service_->session_queryDeviceMetaData(id, 2, region, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(logTexts(), (std::vector<std::string>{
                                  "getDravikSession fail",
                                  "session_queryDeviceMetaData failed due to session is nullptr",
                                  "session_queryDeviceMetaData failed!",
                                  "session_queryDeviceMetaData mmap failed!",
                                  "session_queryDeviceMetaData mmap failed!"}));
}

}  // namespace
}  // namespace service_test
