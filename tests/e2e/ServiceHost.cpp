#include "ServiceHost.h"

#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <cutils/properties.h>
#include <dravik_reference_driver.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "service/ServiceStart.h"

namespace e2e {

namespace {

using aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik;

ndk::SpAIBinder hosted_service;

// Starts the service once, before any test, in a service directory of this run's own.
class ServiceHostEnvironment : public ::testing::Environment {
  public:
    void SetUp() override {
        char pattern[] = "/tmp/tessaro-e2e-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        directory_ = pattern;
        setenv("TESSARO_BINDER_DIR", pattern, 1);
        // A client that died must not take the test with it when the test writes to it.
        signal(SIGPIPE, SIG_IGN);
        property_set("ro.vendor.qel_nn_baseline_support", "1");
        property_set("persist.vendor.tessaro.debug.draviklog", "1");
        ABinderProcess_setThreadPoolMaxThreadCount(4);
        TessaroDravikServerInitInternal();
        ABinderProcess_startThreadPool();
        const std::string instance = std::string(ITovanDravik::descriptor) + "/default";
        hosted_service.set(AServiceManager_checkService(instance.c_str()));
        ASSERT_NE(hosted_service.get(), nullptr);
    }
    void TearDown() override {
        hosted_service.set(nullptr);
        std::filesystem::remove_all(directory_);
    }

  private:
    std::string directory_;
};

const auto* const kEnvironment = ::testing::AddGlobalTestEnvironment(new ServiceHostEnvironment);

}  // namespace

std::string holdings() {
    dravik_reference_live_counts counts{};
    dravikReference_getLiveCounts(&counts);
    std::ostringstream text;
    text << "driver: sessions " << counts.sessions << ", memory " << counts.memory_objects
         << ", command buffers " << counts.command_buffers << ", commands " << counts.commands
         << ", sub-commands " << counts.sub_commands << "\n";
    const ndk::ScopedFileDescriptor dump(memfd_create("dump", MFD_CLOEXEC));
    if (AIBinder_dump(hosted_service.get(), dump.get(), nullptr, 0) != STATUS_OK) text << "no dump";
    text << std::ifstream("/proc/self/fd/" + std::to_string(dump.get())).rdbuf();
    return text.str();
}

std::unique_ptr<ClientProcess> startClient() {
    auto client = std::make_unique<ClientProcess>(TESSARO_TEST_CLIENT, std::vector<std::string>{});
    EXPECT_EQ(client->readLine(), "ready");
    EXPECT_EQ(client->ask("callback"), "ok");
    return client;
}

}  // namespace e2e
