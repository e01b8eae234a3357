// Failures injected through DRAVIK_MDW_FAIL: read at load and on reload, each listed operation
// failing with its errno and doing nothing.
#include <cstdlib>
#include <filesystem>
#include <string>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

constexpr char kVariable[] = "DRAVIK_MDW_FAIL";

class FailureInjectionTest : public DriverTest {
  protected:
    void TearDown() override {
        unsetenv(kVariable);
        dravikReference_resetFailureInjection();
        DriverTest::TearDown();
    }

    static int32_t injectFailures(const char* list) {
        setenv(kVariable, list, 1);
        return dravikReference_reloadFailureInjection();
    }
};

TEST_F(FailureInjectionTest, ListedOperationsFailWithTheirErrnoAndDoNothing) {
    ScopedSession session;
    const ProgramCommand built = makeProgramCommand(session.get(), {Program()});
    dravik_mem* mem = dravikSession_memAlloc(session.get(), 64, 0, 0, 0);
    ASSERT_EQ(injectFailures("dravikSession_memAlloc,dravikCmd_run:EIO,"
                             "dravikSession_memGetInfoFromHostPtr:ENODEV,dravikSession_createCmd:"
                             "12, dravikCmd_runFence , dravikSession_memFree:EBUSY"),
              0);
    const dravik_reference_live_counts before = liveCounts();
    EXPECT_EQ(errnoOfFailure(dravikSession_memAlloc(session.get(), 64, 0, 0, 0)), ENOMEM);
    EXPECT_EQ(errnoOfFailure(dravikSession_createCmd(session.get())), 12);
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(built.command)), EIO);
    EXPECT_EQ(errnoOfFailure(dravikCmd_runFence(built.command, -1, 0)), EIO);
    EXPECT_EQ(errnoOfFailure(dravikSession_memFree(session.get(), mem)), EBUSY);
    EXPECT_EQ(errnoOfQuery(
                      [&] { return dravikSession_memGetInfoFromHostPtr(session.get(), mem, 1); }),
              ENODEV);
    EXPECT_EQ(liveCounts(), before);
    EXPECT_EQ(dravikCmd_getRunInfo(built.command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT), 0);
    EXPECT_NE(dravikSession_memAllocWithName(session.get(), 64, 0, 0, 0, ""), nullptr)
            << "an operation not listed is untouched";

    // A reload replaces the list as a whole; entries not understood are ignored and reported.
    EXPECT_EQ(errnoOfFailure(injectFailures("dravikSession_bogus,dravikCmd_build:EWHAT,"
                                            "dravikCmd_wait : EBUSY,,dravikCmd_run:-5")),
              EINVAL);
    EXPECT_EQ(dravikCmd_build(built.command), 0);
    EXPECT_EQ(dravikCmd_run(built.command), 0);
    EXPECT_EQ(dravikSession_memGetInfoFromHostPtr(session.get(), mem, 1), 64);
    ASSERT_EQ(dravikCmd_runAsync(built.command), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_wait(built.command)), EBUSY);
    dravikReference_resetFailureInjection();
    EXPECT_EQ(dravikCmd_wait(built.command), 0);
}

// Runs itself again in a child whose environment lists the failure from the start, so the child
// sees what the library read when it was loaded, without any reload.
TEST(FailureInjectionAtLoadTest, TheListIsReadWhenTheLibraryIsLoaded) {
    if (std::getenv(kVariable) != nullptr) {
        EXPECT_EQ(errnoOfFailure(dravikSession_createInstance()), ENODEV);
        return;
    }
    const std::string child = std::string(kVariable) + "=dravikSession_createInstance:ENODEV '" +
                              std::filesystem::read_symlink("/proc/self/exe").string() +
                              "' '--gtest_filter=FailureInjectionAtLoadTest.*'";
    EXPECT_EQ(std::system(child.c_str()), 0);
    const ScopedSession session;  // this process was loaded without the list
    EXPECT_NE(session.get(), nullptr);
}

}  // namespace
}  // namespace dravik_test
