#include <android/log.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ServiceFixture.h"

namespace service_test {
namespace {

using MemoryTest = ServiceFixture;
using CommandBufferTest = ServiceFixture;

ino_t inodeOf(int fd) {
    struct stat status {};
    EXPECT_EQ(fstat(fd, &status), 0);
    return status.st_ino;
}

TEST_F(MemoryTest, TheTwoKindsComeBackDifferently) {
    const uint64_t id = createSession();
    DRAVIK_MEMINFO_HD shareable;
    ASSERT_TRUE(service_->session_memAlloc(id, 4096, 64, 0, 3, &shareable).isOk());
    EXPECT_EQ(shareable.mem_id, 1);
    EXPECT_EQ(shareable.mem_ptr, 0);
    EXPECT_EQ(shareable.reserved, 0);
    EXPECT_EQ(shareable.size, 4096);
    ASSERT_EQ(shareable.fds.size(), 1u);
    EXPECT_NE(shareable.fds[0].get(), fake_driver::sharedMemoryDescriptor());
    EXPECT_EQ(inodeOf(shareable.fds[0].get()), inodeOf(fake_driver::sharedMemoryDescriptor()));
    auto info_calls = fake_driver::callsTo("dravikSession_memGetInfoFromHostPtr");
    ASSERT_EQ(info_calls.size(), 1u);
    EXPECT_EQ(info_calls[0].arguments[2], 2);

    DRAVIK_MEMINFO_HD shared;
    ASSERT_TRUE(service_->session_memAllocWithName(id, 128, 0, 1, 0, "weights", &shared).isOk());
    EXPECT_EQ(shared.mem_id, 2);
    releaseSharedAtEnd(shared.mem_id);
    EXPECT_NE(shared.mem_ptr, 0);
    EXPECT_TRUE(shared.fds.empty());
    EXPECT_EQ(shared.size, 128);
    EXPECT_EQ(fake_driver::callsTo("dravikSession_memAllocWithName")[0].text, "weights");
    EXPECT_EQ(fake_driver::callsTo("dravikSession_memGetInfoFromHostPtr").size(), 1u);

    // Ids come from one counter for the whole service.
    const uint64_t other = createSession();
    DRAVIK_MEMINFO_HD in_other;
    ASSERT_TRUE(service_->session_memAlloc(other, 64, 0, 0, 0, &in_other).isOk());
    EXPECT_EQ(in_other.mem_id, 3);

    EXPECT_EQ(countLines("session_memAlloc dravik_id:" + std::to_string(id) +
                         ", mem_id:1, size:4096 align:64 mem_type:0 mem_flag:3, tmp_fd:" +
                         std::to_string(fake_driver::sharedMemoryDescriptor())),
              1u);
    EXPECT_EQ(countLines("session_memAllocWithName dravik_id:" + std::to_string(id) +
                         ", mem_id:2, size:128 align:0 mem_type:1 mem_flag:0"),
              1u);
}

TEST_F(MemoryTest, FailedAllocationsAnswerTheExceptionAndSayWhy) {
    DRAVIK_MEMINFO_HD record;
    EXPECT_EQ(service_->session_memAlloc(99, 64, 0, 0, 0, &record).getExceptionCode(),
              EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(logTexts(), (std::vector<std::string>{
                                  "getDravikSession fail",
                                  "session_memAlloc getDravikSession failed dravik_id:99",
                          }));

    const uint64_t id = createSession();
    platform_recorder::reset();
    fake_driver::setResult("dravikSession_memAllocV1", 0, ENOMEM);
    EXPECT_EQ(service_->session_memAllocV1(id, (int64_t{1} << 32) + 5, 64, 0, int64_t{1} << 33,
                                           "big", 9, &record)
                      .getExceptionCode(),
              EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(logTexts(),
              std::vector<std::string>{"session_memAllocV1 failed dravik_id:" + std::to_string(id) +
                                       " size:5 align:64 mem_type:0 mem_flag:0"});
    auto v1 = fake_driver::callsTo("dravikSession_memAllocV1");
    ASSERT_EQ(v1.size(), 1u);
    EXPECT_EQ(v1[0].arguments[1], (int64_t{1} << 32) + 5) << "size passed as 64 bits";
    EXPECT_EQ(v1[0].arguments[4], 0) << "mem_flag cut to its low 32 bits";

    // An unsupported mem_type is refused only after the driver allocated; that memory leaks.
    platform_recorder::reset();
    fake_driver::reset();
    EXPECT_EQ(service_->session_memAlloc(id, 64, 0, 2, 0, &record).getExceptionCode(),
              EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(logTexts(), std::vector<std::string>{"mem type not support!"});
    EXPECT_EQ(driverCalls(), std::vector<std::string>{"dravikSession_memAlloc"});

    // No descriptor for shareable memory: refused, but the entry stays for the sweep.
    platform_recorder::reset();
    fake_driver::reset();
    fake_driver::setResult("dravikSession_memGetInfoFromHostPtr", 0);
    EXPECT_EQ(service_->session_memAlloc(id, 64, 0, 0, 0, &record).getExceptionCode(),
              EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(logTexts(),
              std::vector<std::string>{"dravikSession_memGetInfoFromHostPtr failed,return:0"});
    EXPECT_EQ(record.mem_id, 0);
    EXPECT_TRUE(record.fds.empty());
    fake_driver::reset();
    EXPECT_EQ(deleteSession(id), 0);
    EXPECT_EQ(driverCalls(),
              (std::vector<std::string>{"dravikSession_memFree", "dravikSession_deleteInstance"}));
}

TEST_F(MemoryTest, FreeReleasesPrivateMemoryAndLeavesSharedEntriesBehind) {
    const uint64_t id = createSession();
    DRAVIK_MEMINFO_HD shareable;
    DRAVIK_MEMINFO_HD shared;
    ASSERT_TRUE(service_->session_memAlloc(id, 64, 0, 0, 0, &shareable).isOk());
    ASSERT_TRUE(service_->session_memAlloc(id, 64, 0, 1, 0, &shared).isOk());
    releaseSharedAtEnd(shared.mem_id);
    int32_t ret = 0;

    fake_driver::setResult("dravikSession_memFree", 7, EIO);
    ASSERT_TRUE(service_->session_memFree(id, shareable.mem_id, &ret).isOk());
    EXPECT_EQ(ret, 7);
    EXPECT_NE(service_->getDravikMem(id, shareable.mem_id), nullptr) << "kept after a failure";
    fake_driver::clearResult("dravikSession_memFree");

    ASSERT_TRUE(service_->session_memFree(id, shareable.mem_id, &ret).isOk());
    EXPECT_EQ(ret, 0);
    EXPECT_EQ(service_->getDravikMem(id, shareable.mem_id), nullptr);
    ASSERT_TRUE(service_->session_memFree(id, shareable.mem_id, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(countLines("memFree failed,dravik_id=" + std::to_string(id) +
                         ", dravik_mem_id=" + std::to_string(shareable.mem_id) + ", ret:-1"),
              1u);

    // Shared memory is freed through any session, yet its entry stays behind.
    const uint64_t other = createSession();
    ASSERT_TRUE(service_->session_memFree(other, shared.mem_id, &ret).isOk());
    EXPECT_EQ(ret, 0);
    EXPECT_NE(service_->getDravikMem(other, shared.mem_id), nullptr);

    // An unknown session is reported, and the memory is still looked up.
    platform_recorder::reset();
    ASSERT_TRUE(service_->session_memFree(12345, shared.mem_id, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(logTexts(), (std::vector<std::string>{
                                  "getDravikSession fail",
                                  "memFree failed,dravik_id=12345, dravik_mem_id=" +
                                          std::to_string(shared.mem_id) + ", ret:-1",
                          }));
}

TEST_F(CommandBufferTest, AllocationHandsOutOneDescriptorAndFreeingIsPerSession) {
    const uint64_t id = createSession();
    const uint64_t other = createSession();
    DRAVIK_CMDBUF_INFO_HD first;
    DRAVIK_CMDBUF_INFO_HD second;
    ASSERT_TRUE(service_->session_cmdBufAlloc(id, 256, 16, &first).isOk());
    ASSERT_TRUE(service_->session_cmdBufAllocWithName(other, 512, 0, "layer", 4, &second).isOk());
    EXPECT_EQ(first.cmd_buf_id, 1);
    EXPECT_EQ(second.cmd_buf_id, 2);
    EXPECT_EQ(first.size, 256);
    EXPECT_EQ(first.reserved, 0);
    ASSERT_EQ(first.fds.size(), 1u);
    EXPECT_EQ(inodeOf(first.fds[0].get()), inodeOf(fake_driver::sharedMemoryDescriptor()));
    auto named = fake_driver::callsTo("dravikSession_cmdBufAllocWithName");
    ASSERT_EQ(named.size(), 1u);
    EXPECT_EQ(named[0].text, "layer");
    EXPECT_EQ(named[0].arguments.back(), 4);

    // Another session's buffer is not found, and left alone.
    platform_recorder::reset();
    int32_t ret = 0;
    ASSERT_TRUE(service_->session_cmdBufFree(id, second.cmd_buf_id, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(logTexts(), (std::vector<std::string>{
                                  "getDravikCmdBuf Failed",
                                  "session_cmdBufFree failed dravik_id=" + std::to_string(id) +
                                          ", cmd_buf_id=2",
                          }));
    ASSERT_TRUE(service_->session_cmdBufFree(id, first.cmd_buf_id, &ret).isOk());
    EXPECT_EQ(ret, 0);
    ASSERT_TRUE(service_->session_cmdBufFree(id, first.cmd_buf_id, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(fake_driver::callsTo("dravikSession_cmdBufFree").size(), 1u);
}

TEST_F(CommandBufferTest, FailedAllocationsAnswerTheException) {
    DRAVIK_CMDBUF_INFO_HD record;
    EXPECT_EQ(service_->session_cmdBufAlloc(5, 64, 0, &record).getExceptionCode(),
              EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(logTexts(), (std::vector<std::string>{
                                  "getDravikSession fail",
                                  "session_cmdBufAlloc failed due to session nullptr!",
                          }));
    const uint64_t id = createSession();
    platform_recorder::reset();
    fake_driver::setResult("dravikSession_cmdBufAllocWithName", 0, ENOMEM);
    EXPECT_EQ(service_->session_cmdBufAllocWithName(id, 64, 0, "x", 0, &record).getExceptionCode(),
              EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(logTexts(),
              std::vector<std::string>{"session_cmdBufAllocWithName failed return nullptr!"});

    // Without a descriptor the buffer is still filed, for the session's sweep.
    platform_recorder::reset();
    fake_driver::setResult("dravikSession_memGetInfoFromHostPtr", 0);
    EXPECT_EQ(service_->session_cmdBufAlloc(id, 64, 0, &record).getExceptionCode(),
              EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(logTexts(),
              std::vector<std::string>{"dravikSession_memGetInfoFromHostPtr failed,return:0"});
    EXPECT_TRUE(record.fds.empty());
    EXPECT_NE(service_->getDravikCmdBuf(id, 1), nullptr);
}

}  // namespace
}  // namespace service_test
