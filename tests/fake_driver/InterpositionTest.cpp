// A library that links the real driver, loaded into an executable that links the fake, reaches
// the fake: the way a service test gets the fake under the service.
#include <gtest/gtest.h>

#include "FakeDriver.h"
#include "InterpositionProbe.h"

namespace {

TEST(InterpositionTest, ALibraryLinkedToTheRealDriverCallsTheFake) {
    fake_driver::reset();
    dravik_session* session = interpositionProbe_createSession();
    ASSERT_NE(session, nullptr);
    const std::vector<fake_driver::Call> created =
            fake_driver::callsTo("dravikSession_createInstance");
    ASSERT_EQ(created.size(), 1u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(session), static_cast<uintptr_t>(created[0].result));

    fake_driver::setResult("dravikSession_createInstance", 0x5e55, 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(interpositionProbe_createSession()), 0x5e55u);
    fake_driver::setResult("dravikSession_deleteInstance", -1, EPERM);
    errno = 0;
    EXPECT_EQ(interpositionProbe_deleteSession(session), -1);
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(fake_driver::calls().size(), 3u);

    // The real driver, loaded all the same, saw none of it.
    EXPECT_EQ(interpositionProbe_realDriverSessions(), 0);
}

}  // namespace
