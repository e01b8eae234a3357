// Imports, the kinds each release accepts, and cache maintenance counts.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using MemoryImportTest = DriverTest;

// A memfd of size bytes holding a known pattern.
int makePatternedFile(std::size_t size) {
    const int descriptor = memfd_create("import-test", MFD_CLOEXEC);
    EXPECT_GE(descriptor, 0);
    EXPECT_EQ(ftruncate(descriptor, static_cast<off_t>(size)), 0);
    for (std::size_t offset = 0; offset < size; offset += 1000) {
        const std::string text = "block " + std::to_string(offset);
        EXPECT_EQ(pwrite(descriptor, text.data(), text.size(), static_cast<off_t>(offset)),
                  static_cast<ssize_t>(text.size()));
    }
    return descriptor;
}

const char* driverBytes(dravik_session* session, dravik_mem* mem) {
    return reinterpret_cast<const char*>(static_cast<uintptr_t>(dravikSession_memGetInfoFromHostPtr(
            session, mem, DRAVIK_REFERENCE_MEM_INFO_HOST_ADDRESS)));
}

TEST_F(MemoryImportTest, ImportedMemoryIsTheCallersFileThroughTheDriversOwnDescriptor) {
    ScopedSession session;
    constexpr std::size_t kFileSize = 10000;
    const int file = makePatternedFile(kFileSize);
    dravik_mem* whole = dravikSession_memImport(session.get(), file, kFileSize);
    dravik_mem* flagged = dravikSession_memImportWithFlag(session.get(), file, 4000, 3, 44);
    dravik_mem* versioned = dravikSession_memImportV1(session.get(), file, 2000, 5, 66);
    ASSERT_TRUE(whole && flagged && versioned) << "errno " << errno;

    const int driver_descriptor = static_cast<int>(dravikSession_memGetInfoFromHostPtr(
            session.get(), whole, DRAVIK_REFERENCE_MEM_INFO_SHAREABLE_DESCRIPTOR));
    ASSERT_GT(driver_descriptor, 2);
    EXPECT_NE(driver_descriptor, file);
    struct stat caller_status {};
    struct stat driver_status {};
    ASSERT_EQ(fstat(file, &caller_status), 0);
    ASSERT_EQ(fstat(driver_descriptor, &driver_status), 0);
    EXPECT_EQ(caller_status.st_ino, driver_status.st_ino);

    // The caller's descriptor is not the driver's: closing it changes nothing for the import.
    close(file);
    EXPECT_EQ(std::strncmp(driverBytes(session.get(), whole) + 9000, "block 9000", 10), 0);
    EXPECT_EQ(std::strncmp(driverBytes(session.get(), versioned) + 1000, "block 1000", 10), 0);
    EXPECT_EQ(dravikSession_memGetInfoFromHostPtr(session.get(), flagged,
                                                  DRAVIK_REFERENCE_MEM_INFO_SIZE),
              4000);
    EXPECT_EQ(dravikSession_memGetInfoFromHostPtr(session.get(), flagged,
                                                  DRAVIK_REFERENCE_MEM_INFO_FLAG),
              3);
    EXPECT_EQ(dravikSession_memGetInfoFromHostPtr(session.get(), versioned,
                                                  DRAVIK_REFERENCE_MEM_INFO_EXTRA),
              66);
    EXPECT_EQ(dravikSession_memGetInfoFromHostPtr(session.get(), whole,
                                                  DRAVIK_REFERENCE_MEM_INFO_OBJECT_KIND),
              DRAVIK_REFERENCE_OBJECT_KIND_IMPORT);
    EXPECT_NE(dravikSession_memGetInfoFromHostPtr(session.get(), whole,
                                                  DRAVIK_REFERENCE_MEM_INFO_DEVICE_ADDRESS),
              0);
    EXPECT_EQ(liveCounts().memory_objects, 3);

    EXPECT_EQ(dravikSession_memUnImport(session.get(), whole), 0);
    EXPECT_FALSE(descriptorIsOpen(driver_descriptor));
    EXPECT_EQ(errnoOfFailure(dravikSession_memUnImport(session.get(), whole)), EINVAL);
}

TEST_F(MemoryImportTest, DescriptorsThatCannotBeImportedAreRefused) {
    ScopedSession session;
    dravik_session* s = session.get();
    const int file = makePatternedFile(4096);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, -1, 4096)), EBADF);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, file, 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, file, 4097)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImportWithFlag(s, file, -1, 0, 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImportV1(
                      s, file, DRAVIK_REFERENCE_MAX_ALLOCATION_SIZE + 1, 0, 0)),
              ENOMEM);

    int pipe_ends[2];
    ASSERT_EQ(pipe2(pipe_ends, O_CLOEXEC), 0);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, pipe_ends[0], 16)), EINVAL);
    close(pipe_ends[0]);
    close(pipe_ends[1]);
    // Closed now: a descriptor number that names nothing.
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, pipe_ends[0], 16)), EBADF);

    const std::string path = "/proc/self/fd/" + std::to_string(file);
    const int read_only = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(read_only, 0);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, read_only, 4096)), EACCES);
    close(read_only);
    close(file);
    EXPECT_EQ(liveCounts().memory_objects, 0);
}

TEST_F(MemoryImportTest, EachReleaseTakesOnlyItsOwnKind) {
    ScopedSession session;
    dravik_session* s = session.get();
    const int file = makePatternedFile(4096);
    dravik_mem* allocation = dravikSession_memAlloc(s, 64, 0, 0, 0);
    dravik_mem* import = dravikSession_memImport(s, file, 4096);
    dravik_mem* command_buffer = dravikSession_cmdBufAlloc(s, 64, 0);
    close(file);
    ASSERT_TRUE(allocation && import && command_buffer);

    EXPECT_EQ(errnoOfFailure(dravikSession_memFree(s, import)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memFree(s, command_buffer)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memUnImport(s, allocation)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memUnImport(s, command_buffer)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_cmdBufFree(s, allocation)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_cmdBufFree(s, import)), EINVAL);
    // Every refusal left the objects as they were.
    EXPECT_EQ(liveCounts().memory_objects, 2);
    EXPECT_EQ(liveCounts().command_buffers, 1);

    EXPECT_EQ(dravikSession_memFree(s, allocation), 0);
    EXPECT_EQ(dravikSession_memUnImport(s, import), 0);
    EXPECT_EQ(dravikSession_cmdBufFree(s, command_buffer), 0);
    EXPECT_EQ(liveCounts().memory_objects, 0);
    EXPECT_EQ(liveCounts().command_buffers, 0);
}

TEST_F(MemoryImportTest, FlushAndInvalidateAreCountedPerObject) {
    ScopedSession session;
    dravik_session* s = session.get();
    const int file = makePatternedFile(4096);
    dravik_mem* allocation = dravikSession_memAlloc(s, 64, 0, 0, 0);
    dravik_mem* import = dravikSession_memImport(s, file, 4096);
    dravik_mem* command_buffer = dravikSession_cmdBufAlloc(s, 64, 0);
    close(file);
    ASSERT_TRUE(allocation && import && command_buffer);

    for (int round = 0; round < 3; ++round) EXPECT_EQ(dravikSession_memFlush(s, allocation), 0);
    EXPECT_EQ(dravikSession_memInvalidate(s, allocation), 0);
    EXPECT_EQ(dravikSession_memInvalidate(s, import), 0);
    EXPECT_EQ(dravikSession_memFlush(s, command_buffer), 0);

    auto counts = [&](dravik_mem* mem) {
        int64_t flushes = -1;
        int64_t invalidates = -1;
        EXPECT_EQ(dravikReference_memGetMaintenanceCounts(s, mem, &flushes, &invalidates), 0);
        return std::make_pair(flushes, invalidates);
    };
    EXPECT_EQ(counts(allocation), std::make_pair(int64_t{3}, int64_t{1}));
    EXPECT_EQ(counts(import), std::make_pair(int64_t{0}, int64_t{1}));
    EXPECT_EQ(counts(command_buffer), std::make_pair(int64_t{1}, int64_t{0}));

    int unknown = 0;
    EXPECT_EQ(errnoOfFailure(dravikSession_memFlush(s, reinterpret_cast<dravik_mem*>(&unknown))),
              EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memInvalidate(s, nullptr)), EINVAL);
}

}  // namespace
}  // namespace dravik_test
