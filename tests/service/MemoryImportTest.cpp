#include <sys/mman.h>
#include <unistd.h>

#include "OpenDescriptors.h"
#include "ServiceFixture.h"

namespace service_test {
namespace {

class MemoryImportTest : public ServiceFixture {
  protected:
    void SetUp() override {
        ServiceFixture::SetUp();
        // The fake opens the descriptor it answers on first use; open it before any counting.
        fake_driver::sharedMemoryDescriptor();
    }
};

ndk::ScopedFileDescriptor newMemfd(const char* name) {
    return ndk::ScopedFileDescriptor(memfd_create(name, MFD_CLOEXEC));
}

std::vector<ndk::ScopedFileDescriptor> descriptorList(int count) {
    std::vector<ndk::ScopedFileDescriptor> list;
    for (int index = 0; index < count; ++index) list.push_back(newMemfd("client"));
    return list;
}

TEST_F(MemoryImportTest, ImportKeepsADuplicateUntilUnImportClosesIt) {
    const uint64_t id = createSession();
    const std::vector<ndk::ScopedFileDescriptor> client = descriptorList(3);
    const size_t before = openDescriptorCount();

    DRAVIK_MEMINFO_HD record;
    ASSERT_TRUE(service_->session_memImport(id, client, 8192, &record).isOk());
    EXPECT_EQ(record.mem_id, 1);
    EXPECT_EQ(record.size, 8192);
    EXPECT_EQ(record.mem_ptr, 0);
    ASSERT_EQ(record.fds.size(), 1u);
    // Only the first descriptor is imported, through a duplicate of the service's own.
    auto imports = fake_driver::callsTo("dravikSession_memImport");
    ASSERT_EQ(imports.size(), 1u);
    const int newfd = static_cast<int>(imports[0].arguments[1]);
    EXPECT_EQ(imports[0].arguments[2], 8192);
    for (const auto& fd : client) EXPECT_NE(newfd, fd.get());
    EXPECT_TRUE(isOpen(newfd));
    EXPECT_EQ(openDescriptorCount(), before + 2) << "newfd and the record's duplicate";
    EXPECT_EQ(countLines("session_memImport dravik_id=" + std::to_string(id) +
                         ", newfd:" + std::to_string(newfd) + ", tmp_fd:" +
                         std::to_string(fake_driver::sharedMemoryDescriptor()) + ", mem_id=1"),
              1u);

    int32_t ret = -7;
    ASSERT_TRUE(service_->session_memUnImport(id, record.mem_id, &ret).isOk());
    EXPECT_EQ(ret, 0);
    EXPECT_FALSE(isOpen(newfd));
    record.fds.clear();
    EXPECT_EQ(openDescriptorCount(), before);
    EXPECT_EQ(service_->getDravikMem(id, 1), nullptr);

    // Gone now: the second un-import finds nothing and calls no driver.
    platform_recorder::reset();
    ASSERT_TRUE(service_->session_memUnImport(id, 1, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(logTexts(),
              std::vector<std::string>{"session_memUnImport failed! dravik_id=" +
                                       std::to_string(id) + ", dravik_mem_id=1, ret:-1"});
    EXPECT_EQ(fake_driver::callsTo("dravikSession_memUnImport").size(), 1u);
}

TEST_F(MemoryImportTest, RefusedImportsLeaveWhatTheyLeave) {
    const uint64_t id = createSession();
    platform_recorder::reset();
    DRAVIK_MEMINFO_HD record;
    const std::string invalid =
            "session_memImportWithFlag failed due to session nullptr or invalid parameters,id:";

    // An unknown session and an empty list answer the same text.
    EXPECT_EQ(service_->session_memImportWithFlag(77, descriptorList(1), 64, 0, 0, &record)
                      .getExceptionCode(),
              EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(service_->session_memImportWithFlag(id, {}, 64, 0, 0, &record).getExceptionCode(),
              EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(logTexts(), (std::vector<std::string>{"getDravikSession fail", invalid + "77",
                                                    invalid + std::to_string(id)}));

    // A descriptor that cannot be duplicated: refused without a word.
    platform_recorder::reset();
    std::vector<ndk::ScopedFileDescriptor> closed;
    closed.emplace_back(-1);
    EXPECT_EQ(service_->session_memImportV1(id, closed, 64, 0, 0, &record).getExceptionCode(),
              EX_UNSUPPORTED_OPERATION);
    EXPECT_TRUE(logTexts().empty());
    EXPECT_TRUE(fake_driver::callsTo("dravikSession_memImportV1").empty());

    // The driver refuses: the service's duplicate stays open.
    const std::vector<ndk::ScopedFileDescriptor> client = descriptorList(1);
    size_t before = openDescriptorCount();
    fake_driver::setResult("dravikSession_memImportV1", 0, EINVAL);
    EXPECT_EQ(service_->session_memImportV1(id, client, 64, 5, 6, &record).getExceptionCode(),
              EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(logTexts(),
              std::vector<std::string>{"session_memImportV1 failed due to mem nullptr"});
    EXPECT_EQ(openDescriptorCount(), before + 1);
    const int leaked =
            static_cast<int>(fake_driver::callsTo("dravikSession_memImportV1")[0].arguments[1]);
    close(leaked);

    // No descriptor for the import: nothing filed, nothing un-imported, the duplicate kept.
    fake_driver::clearResult("dravikSession_memImportV1");
    fake_driver::setResult("dravikSession_memGetInfoFromHostPtr", 0);
    platform_recorder::reset();
    before = openDescriptorCount();
    EXPECT_EQ(service_->session_memImport(id, client, 64, &record).getExceptionCode(),
              EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(logTexts(),
              std::vector<std::string>{"dravikSession_memGetInfoFromHostPtr failed,return:0"});
    EXPECT_EQ(openDescriptorCount(), before + 1);
    close(static_cast<int>(fake_driver::callsTo("dravikSession_memImport")[0].arguments[1]));
    EXPECT_TRUE(fake_driver::callsTo("dravikSession_memUnImport").empty());
    EXPECT_EQ(service_->getDravikMem(id, 1), nullptr);
    EXPECT_TRUE(record.fds.empty());
}

TEST_F(MemoryImportTest, SizesReachTheDriverAsEachMethodPassesThem) {
    const uint64_t id = createSession();
    const std::vector<ndk::ScopedFileDescriptor> client = descriptorList(1);
    const int64_t size = (int64_t{1} << 32) + 16;
    DRAVIK_MEMINFO_HD with_flag;
    DRAVIK_MEMINFO_HD v1;
    ASSERT_TRUE(service_->session_memImportWithFlag(id, client, size, 3, 4, &with_flag).isOk());
    ASSERT_TRUE(service_->session_memImportV1(id, client, size, 3, 4, &v1).isOk());
    const auto flag_call = fake_driver::callsTo("dravikSession_memImportWithFlag")[0];
    EXPECT_EQ(flag_call.arguments[2], 16) << "the low 32 bits";
    EXPECT_EQ(flag_call.arguments[3], 3);
    EXPECT_EQ(flag_call.arguments[4], 4);
    EXPECT_EQ(fake_driver::callsTo("dravikSession_memImportV1")[0].arguments[2], size);
    EXPECT_EQ(with_flag.size, 16);
    EXPECT_EQ(v1.size, 16);
    EXPECT_EQ(v1.mem_id, with_flag.mem_id + 1);
}

TEST_F(MemoryImportTest, DeletionUnImportsAndClosesImportsButFreesAllocations) {
    const uint64_t id = createSession();
    const std::vector<ndk::ScopedFileDescriptor> client = descriptorList(1);
    const size_t before = openDescriptorCount();
    DRAVIK_MEMINFO_HD imported;
    DRAVIK_MEMINFO_HD allocated;
    ASSERT_TRUE(service_->session_memImport(id, client, 64, &imported).isOk());
    ASSERT_TRUE(service_->session_memAlloc(id, 64, 0, 0, 0, &allocated).isOk());
    const int newfd =
            static_cast<int>(fake_driver::callsTo("dravikSession_memImport")[0].arguments[1]);
    imported.fds.clear();
    allocated.fds.clear();
    EXPECT_EQ(openDescriptorCount(), before + 1);

    // Un-importing allocated memory reaches the driver; its newfd is 0 and nothing is closed.
    fake_driver::setResult("dravikSession_memUnImport", -1, EINVAL);
    int32_t ret = 0;
    ASSERT_TRUE(service_->session_memUnImport(id, allocated.mem_id, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_TRUE(isOpen(0));
    EXPECT_NE(service_->getDravikMem(id, allocated.mem_id), nullptr) << "kept after a refusal";
    fake_driver::clearResult("dravikSession_memUnImport");

    fake_driver::reset();
    EXPECT_EQ(deleteSession(id), 0);
    sessions_.clear();
    EXPECT_EQ(driverCalls(),
              (std::vector<std::string>{"dravikSession_memUnImport", "dravikSession_memFree",
                                        "dravikSession_deleteInstance"}));
    EXPECT_FALSE(isOpen(newfd));
    EXPECT_EQ(openDescriptorCount(), before);
    EXPECT_TRUE(isOpen(0));
}

}  // namespace
}  // namespace service_test
