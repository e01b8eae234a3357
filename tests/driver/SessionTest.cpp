// Sessions: handles of another session, freed or never made are refused and harm nothing, and
// deleting a session releases whatever it still holds.
#include <sys/eventfd.h>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using SessionTest = DriverTest;

TEST_F(SessionTest, ForeignStaleAndUnknownHandlesHarmNothingAndDeletionReleasesTheRest) {
    ScopedSession owner;
    ScopedSession stranger;
    dravik_session* deleted = dravikSession_createInstance();
    ASSERT_EQ(dravikSession_deleteInstance(deleted), 0);
    dravik_session* s = owner.get();
    dravik_mem* allocation = dravikSession_memAlloc(s, 64, 0, 0, 0);
    dravik_mem* import = dravikSession_memImport(s, memoryFile(4096).get(), 4096);
    dravik_cmd* command = dravikSession_createCmd(s);
    dravik_mem* freed = dravikSession_memAlloc(s, 64, 0, 0, 0);
    dravik_cmd* deleted_command = dravikSession_createCmd(s);
    ASSERT_TRUE(allocation && import && command && freed && deleted_command);
    ASSERT_EQ(dravikSession_memFree(s, freed), 0);
    ASSERT_EQ(dravikSession_deleteCmd(s, deleted_command), 0);
    int not_an_object = 0;

    dravik_session* other = stranger.get();
    EXPECT_EQ(errnoOfFailure(dravikSession_memFree(other, allocation)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memUnImport(other, import)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memFlush(other, import)), EINVAL);
    EXPECT_EQ(errnoOfQuery([&] { return dravikSession_memGetInfoFromHostPtr(other, import, 1); }),
              EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_deleteCmd(other, command)), EINVAL);
    for (dravik_mem* bad : {freed, reinterpret_cast<dravik_mem*>(&not_an_object),
                            static_cast<dravik_mem*>(nullptr)}) {
        EXPECT_EQ(errnoOfFailure(dravikSession_memFree(s, bad)), EINVAL);
        EXPECT_EQ(errnoOfFailure(dravikSession_memFlush(s, bad)), EINVAL);
    }
    for (dravik_cmd* bad : {deleted_command, reinterpret_cast<dravik_cmd*>(&not_an_object)}) {
        EXPECT_EQ(errnoOfFailure(dravikSession_deleteCmd(s, bad)), EINVAL);
        EXPECT_EQ(errnoOfFailure(dravikCmd_run(bad)), EINVAL);
    }
    for (dravik_session* bad : {deleted, reinterpret_cast<dravik_session*>(&not_an_object),
                                static_cast<dravik_session*>(nullptr)}) {
        EXPECT_EQ(errnoOfFailure(dravikSession_deleteInstance(bad)), EINVAL);
        EXPECT_EQ(errnoOfFailure(dravikSession_createCmd(bad)), EINVAL);
    }

    // The owner deletes what it still holds, with a sub-command more and a queued run that would
    // wait for ever on its input fence; the stranger keeps its session alone.
    const int allocation_descriptor = shareableDescriptor(s, allocation);
    ASSERT_NE(dravikCmd_createSubcmd(command, DRAVIK_REFERENCE_DEVICE_COPY_ENGINE), nullptr);
    const ProgramCommand waiting = makeProgramCommand(s, {Program()});
    const Descriptor never_signalled(eventfd(0, EFD_CLOEXEC));
    const Descriptor fence(dravikCmd_runFence(waiting.command, never_signalled.get(), 0));
    ASSERT_GT(fence.get(), 2);
    EXPECT_EQ(liveCounts(), (dravik_reference_live_counts{2, 2, 1, 2, 2}));
    ASSERT_EQ(owner.deleteNow(), 0);
    EXPECT_EQ(liveCounts(), (dravik_reference_live_counts{1, 0, 0, 0, 0}));
    EXPECT_FALSE(descriptorIsOpen(allocation_descriptor));
    EXPECT_TRUE(pollsReadable(fence.get(), kFailureBoundMs));  // a cancelled run signals too
}

}  // namespace
}  // namespace dravik_test
