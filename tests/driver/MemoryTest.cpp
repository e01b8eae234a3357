// Memory objects: what an import refuses and keeps, a run over an import whose file shrinks, and
// the release each kind takes.
#include <fcntl.h>
#include <unistd.h>

#include <string>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using MemoryTest = DriverTest;

// That a descriptor the driver hands out maps the very memory it stands for is the compliance
// suite's to prove, through the service; here, whose descriptor it is and how long it lives. A run
// touching pages the owner has cut off the file would fault the process: it fails instead, and
// runs again once the file is whole.
TEST_F(MemoryTest, ImportsRefuseWhatCannotBeMappedAndRunOnlyWhileTheirFileIsWhole) {
    ScopedSession session;
    dravik_session* s = session.get();
    Descriptor file = memoryFile(8192);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, -1, 8192)), EBADF);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, file.get(), 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, file.get(), 8193)), EINVAL);
    int pipe_ends[2];
    ASSERT_EQ(pipe2(pipe_ends, O_CLOEXEC), 0);
    const Descriptor reader(pipe_ends[0]), writer(pipe_ends[1]);
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, reader.get(), 16)), EINVAL);
    const std::string path = "/proc/self/fd/" + std::to_string(file.get());
    const Descriptor read_only(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(errnoOfFailure(dravikSession_memImport(s, read_only.get(), 8192)), EACCES);
    EXPECT_EQ(liveCounts().memory_objects, 0);

    dravik_mem* imported = dravikSession_memImport(s, file.get(), 8192);
    ASSERT_NE(imported, nullptr) << "errno " << errno;
    const int driver_descriptor = shareableDescriptor(s, imported);
    ASSERT_GT(driver_descriptor, 2);
    EXPECT_NE(driver_descriptor, file.get());
    const ProgramCommand made =
            makeProgramCommand(s, {Program().fill(deviceAddress(s, imported), 2.0f, 2048)});
    ASSERT_EQ(ftruncate(file.get(), 4096), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(made.command)), EFAULT);
    ASSERT_EQ(ftruncate(file.get(), 8192), 0);
    file.reset();  // changes nothing for the import
    EXPECT_TRUE(descriptorIsOpen(driver_descriptor));
    ASSERT_EQ(dravikCmd_run(made.command), 0) << "errno " << errno;
    EXPECT_EQ(static_cast<const float*>(hostAddress(s, imported))[2047], 2.0f);
}

// Freeing an import or a command buffer as an allocation, or the like, would unmap memory its
// owner still maps: each release takes only its own kind, and closes the descriptor the driver
// kept for the object.
TEST_F(MemoryTest, EachReleaseTakesOnlyItsOwnKindAndClosesItsDescriptor) {
    ScopedSession session;
    dravik_session* s = session.get();
    dravik_mem* allocation = dravikSession_memAlloc(s, 64, 0, 0, 0);
    dravik_mem* import = dravikSession_memImport(s, memoryFile(4096).get(), 4096);
    dravik_mem* command_buffer = dravikSession_cmdBufAlloc(s, 64, 0);
    ASSERT_TRUE(allocation && import && command_buffer);
    const int descriptors[] = {shareableDescriptor(s, allocation), shareableDescriptor(s, import),
                               shareableDescriptor(s, command_buffer)};
    EXPECT_EQ(errnoOfFailure(dravikSession_memFree(s, import)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memFree(s, command_buffer)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memUnImport(s, allocation)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memUnImport(s, command_buffer)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_cmdBufFree(s, allocation)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_cmdBufFree(s, import)), EINVAL);
    for (int descriptor : descriptors) EXPECT_GT(descriptor, 2);
    dravik_mem* private_memory =
            dravikSession_memAlloc(s, 64, 0, DRAVIK_REFERENCE_MEM_TYPE_PRIVATE, 0);
    EXPECT_EQ(shareableDescriptor(s, private_memory), 0) << "private memory has none";
    EXPECT_EQ(dravikSession_memFree(s, allocation), 0);
    EXPECT_EQ(dravikSession_memUnImport(s, import), 0);
    EXPECT_EQ(dravikSession_cmdBufFree(s, command_buffer), 0);
    for (int descriptor : descriptors) EXPECT_FALSE(descriptorIsOpen(descriptor)) << descriptor;
}

}  // namespace
}  // namespace dravik_test
