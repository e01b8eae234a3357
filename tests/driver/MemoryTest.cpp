// Memory objects: allocations and imports shared by descriptor, the descriptors an import
// refuses, the release each kind takes, and an import whose file shrinks.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using MemoryAllocationTest = DriverTest;
using MemoryImportTest = DriverTest;

int shareableDescriptor(dravik_session* session, dravik_mem* mem) {
    return static_cast<int>(dravikSession_memGetInfoFromHostPtr(
            session, mem, DRAVIK_REFERENCE_MEM_INFO_SHAREABLE_DESCRIPTOR));
}

TEST_F(MemoryAllocationTest, ShareableMemoryShowsTheSameBytesThroughItsDescriptor) {
    ScopedSession session;
    constexpr uint32_t kSize = 3 * 4096 + 100;
    dravik_mem* shareable =
            dravikSession_memAlloc(session.get(), kSize, 0, DRAVIK_REFERENCE_MEM_TYPE_SHAREABLE, 0);
    const int descriptor = shareableDescriptor(session.get(), shareable);
    ASSERT_GT(descriptor, 2);
    struct stat status {};
    ASSERT_EQ(fstat(descriptor, &status), 0);
    EXPECT_EQ(status.st_size, kSize);
    void* mapped = mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    ASSERT_NE(mapped, MAP_FAILED);
    const std::unique_ptr<uint8_t, void (*)(uint8_t*)> client_mapping(
            static_cast<uint8_t*>(mapped), [](uint8_t* bytes) { munmap(bytes, kSize); });
    uint8_t* client_bytes = client_mapping.get();
    auto* driver_bytes = static_cast<uint8_t*>(hostAddress(session.get(), shareable));
    for (uint32_t index = 0; index < kSize; ++index) client_bytes[index] = index * 7 % 251;
    EXPECT_EQ(std::memcmp(client_bytes, driver_bytes, kSize), 0);
    driver_bytes[kSize - 1] = 0xEE;
    EXPECT_EQ(client_bytes[kSize - 1], 0xEE);
    // The descriptor is the driver's until the memory is freed.
    EXPECT_EQ(dravikSession_memFree(session.get(), shareable), 0);
    EXPECT_FALSE(descriptorIsOpen(descriptor));

    dravik_mem* private_memory =
            dravikSession_memAlloc(session.get(), 4096, 0, DRAVIK_REFERENCE_MEM_TYPE_PRIVATE, 0);
    EXPECT_EQ(shareableDescriptor(session.get(), private_memory), 0);
    EXPECT_GT(shareableDescriptor(session.get(), dravikSession_cmdBufAlloc(session.get(), 64, 0)),
              2);
}

TEST_F(MemoryImportTest, ImportedMemoryIsTheCallersFileThroughTheDriversOwnDescriptor) {
    ScopedSession session;
    Descriptor file = memoryFile(10000);
    ASSERT_EQ(pwrite(file.get(), "block 9000", 10, 9000), 10);
    dravik_mem* imported = dravikSession_memImport(session.get(), file.get(), 10000);
    const int driver_descriptor = shareableDescriptor(session.get(), imported);
    ASSERT_GT(driver_descriptor, 2);
    EXPECT_NE(driver_descriptor, file.get());
    struct stat caller_status {};
    struct stat driver_status {};
    ASSERT_EQ(fstat(file.get(), &caller_status), 0);
    ASSERT_EQ(fstat(driver_descriptor, &driver_status), 0);
    EXPECT_EQ(caller_status.st_ino, driver_status.st_ino);
    // Closing the caller's descriptor changes nothing for the import.
    file.reset();
    const auto* bytes = static_cast<const char*>(hostAddress(session.get(), imported));
    EXPECT_EQ(std::strncmp(bytes + 9000, "block 9000", 10), 0);
    EXPECT_EQ(dravikSession_memUnImport(session.get(), imported), 0);
    EXPECT_FALSE(descriptorIsOpen(driver_descriptor));
}

TEST_F(MemoryImportTest, DescriptorsThatCannotBeImportedAreRefused) {
    ScopedSession session;
    dravik_session* s = session.get();
    const Descriptor file = memoryFile(4096);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, -1, 4096)), EBADF);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, file.get(), 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, file.get(), 4097)), EINVAL);
    int pipe_ends[2];
    ASSERT_EQ(pipe2(pipe_ends, O_CLOEXEC), 0);
    const Descriptor reader(pipe_ends[0]), writer(pipe_ends[1]);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, reader.get(), 16)), EINVAL);
    const std::string path = "/proc/self/fd/" + std::to_string(file.get());
    const Descriptor read_only(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, read_only.get(), 4096)), EACCES);
    EXPECT_EQ(liveCounts().memory_objects, 0);
}

// Freeing an import or a command buffer as an allocation, or the like, would unmap memory its
// owner still maps: each release takes only its own kind.
TEST_F(MemoryImportTest, EachReleaseTakesOnlyItsOwnKind) {
    ScopedSession session;
    dravik_session* s = session.get();
    dravik_mem* allocation = dravikSession_memAlloc(s, 64, 0, 0, 0);
    dravik_mem* import = dravikSession_memImport(s, memoryFile(4096).get(), 4096);
    dravik_mem* command_buffer = dravikSession_cmdBufAlloc(s, 64, 0);
    ASSERT_TRUE(allocation && import && command_buffer);
    EXPECT_EQ(errnoOfFailure(dravikSession_memFree(s, import)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memFree(s, command_buffer)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memUnImport(s, allocation)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memUnImport(s, command_buffer)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_cmdBufFree(s, allocation)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_cmdBufFree(s, import)), EINVAL);
    EXPECT_EQ(dravikSession_memFree(s, allocation), 0);
    EXPECT_EQ(dravikSession_memUnImport(s, import), 0);
    EXPECT_EQ(dravikSession_cmdBufFree(s, command_buffer), 0);
}

// A run touching pages its owner has cut off the file would fault the process: it fails instead,
// and runs again once the file is whole.
TEST_F(MemoryImportTest, AnImportItsOwnerShrankFailsTheRun) {
    ScopedSession session;
    const Descriptor file = memoryFile(8192);
    dravik_mem* imported = dravikSession_memImport(session.get(), file.get(), 8192);
    ASSERT_NE(imported, nullptr) << "errno " << errno;
    const ProgramCommand made = makeProgramCommand(
            session.get(), {Program().fill(deviceAddress(session.get(), imported), 2.0f, 2048)});
    ASSERT_EQ(dravikCmd_run(made.command), 0) << "errno " << errno;
    ASSERT_EQ(ftruncate(file.get(), 4096), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(made.command)), EFAULT);
    ASSERT_EQ(ftruncate(file.get(), 8192), 0);
    EXPECT_EQ(dravikCmd_run(made.command), 0) << "whole again, it runs";
}

}  // namespace
}  // namespace dravik_test
