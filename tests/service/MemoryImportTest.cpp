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
    ASSERT_EQ(record.fds.size(), 1u);
    // Only the first descriptor is imported, through a duplicate of the service's own.
    auto imports = fake_driver::callsTo("dravikSession_memImport");
    ASSERT_EQ(imports.size(), 1u);
    const int newfd = static_cast<int>(imports[0].arguments[1]);
    EXPECT_EQ(imports[0].arguments[2], 8192);
    for (const auto& fd : client) EXPECT_NE(newfd, fd.get());
    EXPECT_TRUE(isOpen(newfd));
    EXPECT_EQ(openDescriptorCount(), before + 2) << "newfd and the record's duplicate";

    int32_t ret = -7;
    ASSERT_TRUE(service_->session_memUnImport(id, record.mem_id, &ret).isOk());
    EXPECT_EQ(ret, 0);
    EXPECT_FALSE(isOpen(newfd));
    record.fds.clear();
    EXPECT_EQ(openDescriptorCount(), before);
    EXPECT_EQ(service_->getDravikMem(id, 1), nullptr);

    // Gone now: the second un-import finds nothing and calls no driver.
    ASSERT_TRUE(service_->session_memUnImport(id, 1, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(fake_driver::callsTo("dravikSession_memUnImport").size(), 1u);
}

}  // namespace
}  // namespace service_test
