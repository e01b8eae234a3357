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

    // Sends code with the given arguments after a correct interface token.
    binder_status_t transact(transaction_code_t code, const std::vector<int64_t>& arguments,
                             ndk::ScopedAParcel* reply) {
        ndk::ScopedAParcel request;
        binder_status_t status = AIBinder_prepareTransaction(binder_.get(), request.getR());
        if (status != STATUS_OK) return status;
        for (int64_t argument : arguments) AParcel_writeInt64(request.get(), argument);
        return AIBinder_transact(binder_.get(), code, request.getR(), reply->getR(), 0);
    }

    std::shared_ptr<TovanDravik> service_;
    ndk::SpAIBinder binder_;
};

TEST_F(StubTransactionTest, MalformedTransactionsGetThePlatformStatus) {
    // Arguments cut short: cmd_build wants two int64 values.
    ndk::ScopedAParcel short_reply;
    EXPECT_EQ(transact(ITovanDravik::TRANSACTION_cmd_build, {1}, &short_reply),
              STATUS_NOT_ENOUGH_DATA);
    // A code that no method has.
    ndk::ScopedAParcel unknown_reply;
    EXPECT_EQ(transact(FIRST_CALL_TRANSACTION + 48, {1, 2}, &unknown_reply),
              STATUS_UNKNOWN_TRANSACTION);
    ndk::ScopedAParcel reply;

    // Another interface's token.
    ndk::ScopedAParcel request(AParcel_create());
    const std::string wrong_token = "vendor.korvane.hardware.tessaro.dravik.ISomethingElse";
    ASSERT_EQ(AParcel_writeString(request.get(), wrong_token.c_str(), wrong_token.size()),
              STATUS_OK);
    AParcel_writeInt64(request.get(), 1);
    AParcel_writeInt64(request.get(), 2);
    AParcel* raw_request = request.release();
    EXPECT_NE(AIBinder_transact(binder_.get(), ITovanDravik::TRANSACTION_cmd_build, &raw_request,
                                reply.getR(), 0),
              STATUS_OK);
}

TEST_F(StubTransactionTest, ReplyCarriesNothingAfterAFailedStatus) {
    // session_memAlloc on a session that does not exist: an exception, and no record after it.
    ndk::ScopedAParcel request;
    ASSERT_EQ(AIBinder_prepareTransaction(binder_.get(), request.getR()), STATUS_OK);
    AParcel_writeInt64(request.get(), 99);  // dravik_id
    for (int i = 0; i < 4; ++i) AParcel_writeInt32(request.get(), 64);
    ndk::ScopedAParcel failed_reply;
    ASSERT_EQ(AIBinder_transact(binder_.get(), ITovanDravik::TRANSACTION_session_memAlloc,
                                request.getR(), failed_reply.getR(), 0),
              STATUS_OK);
    ndk::ScopedAStatus failed_status;
    ASSERT_EQ(AParcel_readStatusHeader(failed_reply.get(), failed_status.getR()), STATUS_OK);
    EXPECT_EQ(failed_status.getExceptionCode(), EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(AParcel_getDataPosition(failed_reply.get()), AParcel_getDataSize(failed_reply.get()));

    // A successful call carries its result after the status.
    ndk::ScopedAParcel reply;
    ASSERT_EQ(transact(ITovanDravik::TRANSACTION_session_deleteInstance, {99}, &reply), STATUS_OK);
    ndk::ScopedAStatus status;
    ASSERT_EQ(AParcel_readStatusHeader(reply.get(), status.getR()), STATUS_OK);
    EXPECT_TRUE(status.isOk());
    int32_t ret = 0;
    ASSERT_EQ(AParcel_readInt32(reply.get(), &ret), STATUS_OK);
    EXPECT_EQ(ret, -1);
}

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
