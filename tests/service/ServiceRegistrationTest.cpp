#include <aidl/vendor/korvane/hardware/tessaro/dravik/BpTovanDravik.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <android/binder_manager.h>
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <host_properties.h>

#include <fstream>
#include <string>

#include "PlatformRecorder.h"
#include "service/ServiceStart.h"

namespace {

using aidl::vendor::korvane::hardware::tessaro::dravik::BpTovanDravik;
using aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_MEMINFO_HD;
using aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik;

constexpr const char* kInstance = "vendor.korvane.hardware.tessaro.dravik.ITovanDravik/default";

std::string frozenHash() {
    std::ifstream file(TESSARO_FROZEN_HASH_FILE);
    std::string hash;
    file >> hash;
    return hash;
}

class ServiceRegistrationTest : public ::testing::Test {
  protected:
    void SetUp() override {
        host_properties_reset();
        platform_recorder::reset();
        ASSERT_EQ(property_set("ro.vendor.qel_nn_baseline_support", "1"), 0);
    }
    void TearDown() override { host_properties_reset(); }
};

TEST_F(ServiceRegistrationTest, ClientsReachTheRegisteredService) {
    TessaroDravikServerInitInternal();

    ndk::SpAIBinder binder(AServiceManager_checkService(kInstance));
    ASSERT_NE(binder.get(), nullptr);
    std::shared_ptr<ITovanDravik> service = ITovanDravik::fromBinder(binder);
    ASSERT_NE(service, nullptr);

    // A call on an id that names no session answers by the result convention.
    int32_t ret = 0;
    ASSERT_TRUE(service->session_deleteInstance(12345, &ret).isOk());
    EXPECT_EQ(ret, -1);
}

TEST_F(ServiceRegistrationTest, VersionAndHashAnswerThroughARealTransaction) {
    TessaroDravikServerInitInternal();
    ndk::SpAIBinder binder(AServiceManager_checkService(kInstance));
    ASSERT_NE(binder.get(), nullptr);
    // A proxy marshals every call through parcels into the service's stub.
    auto proxy = ndk::SharedRefBase::make<BpTovanDravik>(binder);

    int32_t version = 0;
    ASSERT_TRUE(proxy->getInterfaceVersion(&version).isOk());
    EXPECT_EQ(version, 5);
    std::string hash;
    ASSERT_TRUE(proxy->getInterfaceHash(&hash).isOk());
    EXPECT_EQ(hash.size(), 40u);
    EXPECT_EQ(hash, frozenHash());
    EXPECT_EQ(ITovanDravik::hash, hash);

    // A failed creation comes back as the exception, with nothing else in the reply.
    DRAVIK_MEMINFO_HD info;
    ndk::ScopedAStatus status = proxy->session_memAlloc(777, 4096, 64, 0, 0, &info);
    EXPECT_EQ(status.getExceptionCode(), EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(info.mem_id, 0);
    EXPECT_TRUE(info.fds.empty());
}

TEST_F(ServiceRegistrationTest, ServiceManagerReferenceKeepsTheServiceAlive) {
    TessaroDravikServerInitInternal();
    ndk::SpAIBinder binder(AServiceManager_checkService(kInstance));
    ASSERT_NE(binder.get(), nullptr);
    // The start kept no reference of its own: only the service manager's and ours remain.
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), 2);
}

}  // namespace

namespace {

TEST_F(ServiceRegistrationTest, MethodsTraceUnderTheNeuralNetworkTagOnly) {
    TessaroDravikServerInitInternal();
    ndk::SpAIBinder binder(AServiceManager_checkService(kInstance));
    std::shared_ptr<ITovanDravik> service = ITovanDravik::fromBinder(binder);
    ASSERT_NE(service, nullptr);
    int32_t ret = 0;

    platform_recorder::enableTraceTags(~(uint64_t{1} << 25));
    ASSERT_TRUE(service->session_deleteInstance(1, &ret).isOk());
    EXPECT_TRUE(platform_recorder::traceEvents().empty());

    platform_recorder::enableTraceTags(uint64_t{1} << 25);
    ASSERT_TRUE(service->session_deleteInstance(1, &ret).isOk());
    EXPECT_EQ(platform_recorder::traceEvents(),
              (std::vector<std::string>{"begin session_deleteInstance", "end"}));
}

}  // namespace
