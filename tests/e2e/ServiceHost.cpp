#include "ServiceHost.h"

#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "service/ServiceStart.h"

namespace e2e {

namespace {

std::string& serviceDirectory() {
    static std::string directory;
    return directory;
}

// Starts the service once, before any test, in a service directory of this run's own.
class ServiceHostEnvironment : public ::testing::Environment {
  public:
    void SetUp() override {
        char pattern[] = "/tmp/tessaro-e2e-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        serviceDirectory() = pattern;
        setenv("TESSARO_BINDER_DIR", pattern, 1);
        property_set("ro.vendor.qel_nn_baseline_support", "1");
        property_set("persist.vendor.tessaro.debug.draviklog", "1");
        ABinderProcess_setThreadPoolMaxThreadCount(4);
        TessaroDravikServerInitInternal();
        ABinderProcess_startThreadPool();
        ASSERT_NE(hostedService(), nullptr);
    }
    void TearDown() override { std::filesystem::remove_all(serviceDirectory()); }
};

const auto* const kEnvironment = ::testing::AddGlobalTestEnvironment(new ServiceHostEnvironment);

}  // namespace

std::shared_ptr<TovanDravik> hostedService() {
    const std::string instance =
            std::string(
                    aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik::descriptor) +
            "/default";
    ndk::SpAIBinder binder(AServiceManager_checkService(instance.c_str()));
    return std::static_pointer_cast<TovanDravik>(
            aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik::fromBinder(binder));
}

std::string serviceDump() {
    ndk::ScopedFileDescriptor output(memfd_create("dump", MFD_CLOEXEC));
    if (AIBinder_dump(hostedService()->asBinder().get(), output.get(), nullptr, 0) != STATUS_OK) {
        return "";
    }
    std::string text(static_cast<size_t>(lseek(output.get(), 0, SEEK_END)), '\0');
    if (pread(output.get(), text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
        return "";
    }
    return text;
}

dravik_reference_live_counts liveCounts() {
    dravik_reference_live_counts counts{};
    dravikReference_getLiveCounts(&counts);
    return counts;
}

bool sameCounts(const dravik_reference_live_counts& left,
                const dravik_reference_live_counts& right) {
    return left.sessions == right.sessions && left.memory_objects == right.memory_objects &&
           left.command_buffers == right.command_buffers && left.commands == right.commands &&
           left.sub_commands == right.sub_commands;
}

std::string testClientPath() {
    return TESSARO_TEST_CLIENT;
}

}  // namespace e2e
