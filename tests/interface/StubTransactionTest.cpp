// The generated stub and proxy, driven through real transactions on the service object.
#include <aidl/vendor/korvane/hardware/tessaro/dravik/BpTovanDravik.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <string>
#include <vector>

#include "service/TovanDravik.h"

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;

TEST(InterfaceDefinitionTest, TransactionCodesFollowDeclarationOrder) {
    const std::vector<uint32_t> codes = {
            ITovanDravik::TRANSACTION_cmd_build,
            ITovanDravik::TRANSACTION_cmd_cachedAndRun,
            ITovanDravik::TRANSACTION_cmd_cachedAndRunWithType,
            ITovanDravik::TRANSACTION_cmd_createSubcmd,
            ITovanDravik::TRANSACTION_cmd_getRunInfo,
            ITovanDravik::TRANSACTION_cmd_getRunInfos,
            ITovanDravik::TRANSACTION_cmd_run,
            ITovanDravik::TRANSACTION_cmd_runAsync,
            ITovanDravik::TRANSACTION_cmd_runWithType,
            ITovanDravik::TRANSACTION_cmd_runFence,
            ITovanDravik::TRANSACTION_cmd_setDependencyEdge,
            ITovanDravik::TRANSACTION_cmd_setDependencyPack,
            ITovanDravik::TRANSACTION_cmd_setDependencyTightly,
            ITovanDravik::TRANSACTION_cmd_setParam,
            ITovanDravik::TRANSACTION_cmd_setParams,
            ITovanDravik::TRANSACTION_cmd_wait,
            ITovanDravik::TRANSACTION_session_cmdBufAlloc,
            ITovanDravik::TRANSACTION_session_cmdBufFree,
            ITovanDravik::TRANSACTION_session_createCmd,
            ITovanDravik::TRANSACTION_session_createInstance,
            ITovanDravik::TRANSACTION_session_deleteCmd,
            ITovanDravik::TRANSACTION_session_deleteInstance,
            ITovanDravik::TRANSACTION_session_memAlloc,
            ITovanDravik::TRANSACTION_session_memFlush,
            ITovanDravik::TRANSACTION_session_memFree,
            ITovanDravik::TRANSACTION_session_memGetInfoFromHostPtr,
            ITovanDravik::TRANSACTION_session_memImport,
            ITovanDravik::TRANSACTION_session_memInvalidate,
            ITovanDravik::TRANSACTION_session_memSetParamViaHostPtr,
            ITovanDravik::TRANSACTION_session_memUnImport,
            ITovanDravik::TRANSACTION_session_queryDeviceMetaData,
            ITovanDravik::TRANSACTION_session_queryDeviceNum,
            ITovanDravik::TRANSACTION_session_queryInfo,
            ITovanDravik::TRANSACTION_setCallback,
            ITovanDravik::TRANSACTION_subCmd_addCmdBuf,
            ITovanDravik::TRANSACTION_subCmd_getRunInfo,
            ITovanDravik::TRANSACTION_subCmd_getRunInfos,
            ITovanDravik::TRANSACTION_subCmd_setParam,
            ITovanDravik::TRANSACTION_subCmd_setParams,
            ITovanDravik::TRANSACTION_session_memGetFdFromHostPtr,
            ITovanDravik::TRANSACTION_session_cmdBufAllocWithName,
            ITovanDravik::TRANSACTION_session_memAllocWithName,
            ITovanDravik::TRANSACTION_cmd_cachedAndRunWithTypeExt,
            ITovanDravik::TRANSACTION_session_memImportWithFlag,
            ITovanDravik::TRANSACTION_cmd_runFence_v2,
            ITovanDravik::TRANSACTION_unSetCallback,
            ITovanDravik::TRANSACTION_session_memAllocV1,
            ITovanDravik::TRANSACTION_session_memImportV1,
    };
    ASSERT_EQ(codes.size(), 48u);
    for (size_t position = 0; position < codes.size(); ++position) {
        EXPECT_EQ(codes[position], FIRST_CALL_TRANSACTION + position) << "position " << position;
    }
    EXPECT_EQ(std::string(ITovanDravik::descriptor),
              "vendor.korvane.hardware.tessaro.dravik.ITovanDravik");
    EXPECT_EQ(ITovanDravik::version, 5);
}

class StubTransactionTest : public ::testing::Test {
  protected:
    void SetUp() override {
        service_ = ndk::SharedRefBase::make<TovanDravik>();
        binder_ = service_->asBinder();
    }

    std::shared_ptr<TovanDravik> service_;
    ndk::SpAIBinder binder_;
};

TEST_F(StubTransactionTest, ProxyRefusesANullDescriptorBeforeSending) {
    auto proxy = ndk::SharedRefBase::make<BpTovanDravik>(binder_);
    std::vector<ndk::ScopedFileDescriptor> fds;
    fds.emplace_back(-1);
    DRAVIK_MEMINFO_HD info;
    ndk::ScopedAStatus status = proxy->session_memImport(1, fds, 4096, &info);
    EXPECT_FALSE(status.isOk());
    EXPECT_EQ(status.getStatus(), STATUS_UNEXPECTED_NULL);
}

}  // namespace
