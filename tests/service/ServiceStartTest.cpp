#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <android/log.h>
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <host_properties.h>

#include "PlatformRecorder.h"
#include "service/DebugConfig.h"
#include "service/ServiceStart.h"

namespace {

namespace recorder = platform_recorder;

constexpr const char* kInstance = "vendor.korvane.hardware.tessaro.dravik.ITovanDravik/default";
constexpr const char* kDisabled = "Halvera is not enabled\n";

class ServiceStartTest : public ::testing::Test {
  protected:
    void SetUp() override {
        host_properties_reset();
        recorder::reset();
        DEBUG_LOG_DRAVIK = 0;
    }
    void TearDown() override {
        host_properties_reset();
        recorder::reset();
        DEBUG_LOG_DRAVIK = 0;
    }
    static void setProperty(const char* key, const char* value) {
        ASSERT_EQ(property_set(key, value), 0);
    }
    static void enableService() { setProperty("ro.vendor.qel_nn_baseline_support", "1"); }
};

TEST_F(ServiceStartTest, DebugFlagFollowsBuildTypeAndDebugProperty) {
    struct Case {
        const char* build_type;  // null: unset
        const char* debug;       // null: unset
        uint8_t expected;
    };
    const Case cases[] = {
            {"eng", "0", 1},         {"eng", nullptr, 1},      {"engineering", "0", 0},
            {"eng2", "0", 0},        {"en", "0", 0},           {"user", "1", 1},
            {"engineering", "1", 1}, {"userdebug", "true", 0}, {"user", "1 ", 0},
            {"user", "10", 0},       {nullptr, nullptr, 0},    {nullptr, "1", 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.build_type ? c.build_type : "(unset)") + " / " +
                     (c.debug ? c.debug : "(unset)"));
        host_properties_reset();
        DEBUG_LOG_DRAVIK = 0;
        if (c.build_type) setProperty("ro.build.type", c.build_type);
        if (c.debug) setProperty("persist.vendor.tessaro.debug.draviklog", c.debug);
        int length = InitDravikDebugConfig();
        EXPECT_EQ(DEBUG_LOG_DRAVIK, c.expected);
        // The length of the last read: the debug property, or its default "0".
        EXPECT_EQ(length, static_cast<int>(std::string(c.debug ? c.debug : "0").size()));
    }
}

TEST_F(ServiceStartTest, EmptyBuildTypeLeavesFlagAloneAndFlagIsNeverReset) {
    recorder::overrideProperty("ro.build.type", "");
    setProperty("persist.vendor.tessaro.debug.draviklog", "1");
    InitDravikDebugConfig();
    EXPECT_EQ(DEBUG_LOG_DRAVIK, 0);

    DEBUG_LOG_DRAVIK = 1;
    InitDravikDebugConfig();
    EXPECT_EQ(DEBUG_LOG_DRAVIK, 1);

    recorder::reset();
    setProperty("ro.build.type", "user");
    setProperty("persist.vendor.tessaro.debug.draviklog", "0");
    InitDravikDebugConfig();
    EXPECT_EQ(DEBUG_LOG_DRAVIK, 1);
}

TEST_F(ServiceStartTest, DisabledServiceRegistersNothingAndSaysSoOnce) {
    const char* baselines[] = {nullptr, "0", "true", "1 ", "11", ""};
    for (const char* baseline : baselines) {
        SCOPED_TRACE(baseline ? baseline : "(unset)");
        host_properties_reset();
        recorder::reset();
        if (baseline) setProperty("ro.vendor.qel_nn_baseline_support", baseline);
        setProperty("ro.build.type", "eng");

        TessaroDravikServerInitInternal();
        auto lines = recorder::logLinesWithText(kDisabled);
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].priority, ANDROID_LOG_WARN);
        EXPECT_EQ(lines[0].tag, "tessaro_server");
        EXPECT_TRUE(recorder::registrations().empty());
        EXPECT_EQ(DEBUG_LOG_DRAVIK, 0) << "the debug rule runs only for an enabled service";

        TessaroDravikServerDeinitInternal();
        EXPECT_EQ(recorder::logLinesWithText(kDisabled).size(), 2u);
    }
}

TEST_F(ServiceStartTest, EnabledServiceStopsQuietly) {
    enableService();
    EXPECT_EQ(TessaroDravikServerDeinitInternal(), 1);
    EXPECT_TRUE(recorder::logLines().empty());
}

TEST_F(ServiceStartTest, LazyPropertyChoosesTheRegistration) {
    struct Case {
        const char* lazy;  // null: unset
        bool expected_lazy;
    };
    const Case cases[] = {{"1", true}, {"0", false}, {nullptr, false}, {"true", false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.lazy ? c.lazy : "(unset)");
        host_properties_reset();
        recorder::reset();
        enableService();
        if (c.lazy) setProperty("ro.vendor.qel_nn_lazyhal_support", c.lazy);

        TessaroDravikServerInitInternal();
        auto registrations = recorder::registrations();
        ASSERT_EQ(registrations.size(), 1u);
        EXPECT_EQ(registrations[0].lazy, c.expected_lazy);
        EXPECT_EQ(registrations[0].instance, kInstance);
        EXPECT_TRUE(recorder::logLines().empty());
    }
}

TEST_F(ServiceStartTest, StartSetsTheDebugFlagBeforeRegistering) {
    enableService();
    setProperty("ro.build.type", "eng");
    TessaroDravikServerInitInternal();
    EXPECT_EQ(DEBUG_LOG_DRAVIK, 1);
    EXPECT_EQ(recorder::registrations().size(), 1u);
}

TEST_F(ServiceStartTest, RegistrationFailureIsLoggedOnceAndStartReturns) {
    struct Case {
        const char* lazy;
        const char* message;
    };
    const Case cases[] = {
            {"0", "failed to register tessaro dravik aidl interface"},
            {"1", "failed to register tessaro dravik lazy aidl interface"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        host_properties_reset();
        recorder::reset();
        enableService();
        setProperty("ro.vendor.qel_nn_lazyhal_support", c.lazy);
        recorder::failRegistrations(c.lazy[0] == '1'
                                            ? STATUS_UNKNOWN_ERROR
                                            : static_cast<binder_status_t>(EX_ILLEGAL_STATE));

        TessaroDravikServerInitInternal();
        auto lines = recorder::logLinesWithText(c.message);
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].priority, ANDROID_LOG_ERROR);
        EXPECT_EQ(lines[0].tag, "tessaro_server");
        EXPECT_EQ(recorder::logLines().size(), 1u);
        EXPECT_EQ(recorder::registrations().size(), 1u) << "no retry";
    }
}

TEST_F(ServiceStartTest, TheServiceManagersReferenceIsTheOnlyOneKept) {
    enableService();
    TessaroDravikServerInitInternal();
    ndk::SpAIBinder binder(AServiceManager_checkService(kInstance));
    ASSERT_NE(binder.get(), nullptr);
    // No global pointer: only the service manager's reference and this test's remain.
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), 2);
}

}  // namespace
