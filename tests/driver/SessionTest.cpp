// Sessions: one session's objects are out of another's reach, unknown pointers are refused, and
// deleting a session releases whatever it still holds.
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

#include <set>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using SessionTest = DriverTest;

TEST_F(SessionTest, ObjectsOfAnotherSessionAreRefusedAndUnharmed) {
    ScopedSession owner;
    ScopedSession stranger;
    const int file = memfd_create("foreign", MFD_CLOEXEC);
    ASSERT_EQ(ftruncate(file, 4096), 0);
    dravik_mem* allocation = dravikSession_memAlloc(owner.get(), 64, 0, 0, 0);
    dravik_mem* import = dravikSession_memImport(owner.get(), file, 4096);
    dravik_mem* command_buffer = dravikSession_cmdBufAlloc(owner.get(), 64, 0);
    dravik_cmd* command = dravikSession_createCmd(owner.get());
    close(file);
    ASSERT_TRUE(allocation && import && command_buffer && command);

    dravik_session* other = stranger.get();
    EXPECT_EQ(errnoOfFailure(dravikSession_memFree(other, allocation)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memUnImport(other, import)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_cmdBufFree(other, command_buffer)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memFlush(other, allocation)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memInvalidate(other, import)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memSetParamViaHostPtr(other, allocation, 1, 1)), EINVAL);
    errno = 0;
    EXPECT_EQ(dravikSession_memGetInfoFromHostPtr(other, command_buffer, 2), 0);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_deleteCmd(other, command)), EINVAL);

    // All still the owner's, whole.
    EXPECT_EQ(dravikSession_memGetInfoFromHostPtr(owner.get(), allocation, 1), 64);
    EXPECT_EQ(dravikSession_memFree(owner.get(), allocation), 0);
    EXPECT_EQ(dravikSession_memUnImport(owner.get(), import), 0);
    EXPECT_EQ(dravikSession_cmdBufFree(owner.get(), command_buffer), 0);
    EXPECT_EQ(dravikSession_deleteCmd(owner.get(), command), 0);
}

TEST_F(SessionTest, UnknownAndStalePointersAreRefused) {
    int not_an_object = 0;
    auto* bogus_session = reinterpret_cast<dravik_session*>(&not_an_object);
    auto* bogus_command = reinterpret_cast<dravik_cmd*>(&not_an_object);
    auto* bogus_sub_command = reinterpret_cast<dravik_subcmd*>(&not_an_object);
    EXPECT_EQ(errnoOfFailure(dravikSession_deleteInstance(bogus_session)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_deleteInstance(nullptr)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_createCmd(bogus_session)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(bogus_command)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikCmd_createSubcmd(nullptr, 1)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSubCmd_setParam(bogus_sub_command, 1, 0)), EINVAL);
    errno = 0;
    EXPECT_EQ(dravikCmd_getRunInfo(bogus_command, 1), 0);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(dravikSession_queryInfo(bogus_session, 1), 0);
    EXPECT_EQ(errno, EINVAL);

    ScopedSession session;
    dravik_mem* mem = dravikSession_memAlloc(session.get(), 64, 0, 0, 0);
    dravik_cmd* command = dravikSession_createCmd(session.get());
    dravik_subcmd* sub_command = dravikCmd_createSubcmd(command, 1);
    ASSERT_TRUE(mem && command && sub_command);
    ASSERT_EQ(dravikSession_memFree(session.get(), mem), 0);
    ASSERT_EQ(dravikSession_deleteCmd(session.get(), command), 0);
    EXPECT_EQ(errnoOfFailure(dravikSession_memFree(session.get(), mem)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_deleteCmd(session.get(), command)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikCmd_build(command)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSubCmd_setParam(sub_command, 1, 0)), EINVAL);
    dravik_session* deleted = session.get();
    ASSERT_EQ(session.deleteNow(), 0);
    EXPECT_EQ(errnoOfFailure(dravikSession_deleteInstance(deleted)), EINVAL);
}

TEST_F(SessionTest, LiveSessionsHaveDistinctHandles) {
    std::set<dravik_session*> handles;
    for (int index = 0; index < 20; ++index) {
        dravik_session* session = dravikSession_createInstance();
        ASSERT_NE(session, nullptr);
        EXPECT_TRUE(handles.insert(session).second);
    }
    EXPECT_EQ(liveCounts().sessions, 20);
    for (dravik_session* session : handles) EXPECT_EQ(dravikSession_deleteInstance(session), 0);
}

TEST_F(SessionTest, DeletingASessionReleasesEverythingStillInIt) {
    ScopedSession session;
    const int file = memfd_create("left-behind", MFD_CLOEXEC);
    ASSERT_EQ(ftruncate(file, 4096), 0);
    dravik_mem* allocation = dravikSession_memAlloc(session.get(), 64, 0, 0, 0);
    ASSERT_NE(dravikSession_memImport(session.get(), file, 4096), nullptr);
    close(file);
    const int allocation_descriptor = static_cast<int>(dravikSession_memGetInfoFromHostPtr(
            session.get(), allocation, DRAVIK_REFERENCE_MEM_INFO_SHAREABLE_DESCRIPTOR));
    const BuiltCommand built = makeBuiltCommand(session.get());
    ASSERT_NE(dravikCmd_createSubcmd(built.command, DRAVIK_REFERENCE_DEVICE_COPY_ENGINE), nullptr);
    ASSERT_EQ(dravikCmd_build(built.command), -1);  // the new sub-command has no buffer

    // A queued run that would wait for ever on its input fence.
    const BuiltCommand waiting = makeBuiltCommand(session.get());
    const int never_signalled = eventfd(0, EFD_CLOEXEC);
    const int fence = dravikCmd_runFence(waiting.command, never_signalled, 0);
    ASSERT_GT(fence, 2);
    EXPECT_EQ(liveCounts(), (dravik_reference_live_counts{1, 2, 2, 2, 3}));

    ASSERT_EQ(session.deleteNow(), 0);
    EXPECT_EQ(liveCounts(), dravik_reference_live_counts{});
    EXPECT_FALSE(descriptorIsOpen(allocation_descriptor));
    EXPECT_TRUE(pollsReadable(fence, -1)) << "a cancelled run still signals its fence";
    close(fence);
    close(never_signalled);
}

}  // namespace
}  // namespace dravik_test
