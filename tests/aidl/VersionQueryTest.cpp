// getInterfaceVersion and getInterfaceHash: what the build put into the stub, what travels on the
// reserved codes, and the proxy's cache.

#include "ProbeService.h"

#include <aidl/tessaro/generator/probe/BpGeneratorProbe.h>
#include <android/binder_parcel_utils.h>
#include <gtest/gtest.h>

#include <fstream>

namespace aidl_generator_test {
namespace {

using ::aidl::tessaro::generator::probe::BpGeneratorProbe;
using ::aidl::tessaro::generator::probe::IGeneratorProbe;

// The hash a frozen version answers: the last non-empty line of its hash file.
std::string frozenHash() {
    std::ifstream file(PROBE_HASH_FILE);
    std::string line;
    std::string hash;
    while (std::getline(file, line)) {
        if (!line.empty()) hash = line;
    }
    return hash;
}

// The reply to a call without arguments, positioned after its OK status header.
ndk::ScopedAParcel transactWithoutArguments(const ndk::SpAIBinder& binder,
                                            transaction_code_t code) {
    ndk::ScopedAParcel request;
    ndk::ScopedAParcel reply;
    EXPECT_EQ(AIBinder_prepareTransaction(binder.get(), request.getR()), STATUS_OK);
    EXPECT_EQ(AIBinder_transact(binder.get(), code, request.getR(), reply.getR(), 0), STATUS_OK);
    ndk::ScopedAStatus status;
    EXPECT_EQ(AParcel_readStatusHeader(reply.get(), status.getR()), STATUS_OK);
    EXPECT_TRUE(status.isOk());
    return reply;
}

TEST(VersionQueryTest, StubAndProxyAnswerTheBuiltVersionAndHash) {
    ASSERT_FALSE(frozenHash().empty());
    EXPECT_EQ(IGeneratorProbe::version, PROBE_VERSION);
    EXPECT_EQ(IGeneratorProbe::hash, frozenHash());

    auto service = ndk::SharedRefBase::make<ProbeService>();
    auto proxy = ndk::SharedRefBase::make<BpGeneratorProbe>(service->asBinder());
    for (const std::shared_ptr<IGeneratorProbe>& probe :
         {std::static_pointer_cast<IGeneratorProbe>(service),
          std::static_pointer_cast<IGeneratorProbe>(proxy)}) {
        int32_t version = 0;
        ASSERT_TRUE(probe->getInterfaceVersion(&version).isOk());
        EXPECT_EQ(version, PROBE_VERSION);
        std::string hash;
        ASSERT_TRUE(probe->getInterfaceHash(&hash).isOk());
        EXPECT_EQ(hash, frozenHash());
    }

    // The reserved codes are the last two of the user range.
    ndk::SpAIBinder binder = service->asBinder();
    ndk::ScopedAParcel version_reply = transactWithoutArguments(binder, 0x00ffffff);
    int32_t version = 0;
    ASSERT_EQ(AParcel_readInt32(version_reply.get(), &version), STATUS_OK);
    EXPECT_EQ(version, PROBE_VERSION);
    ndk::ScopedAParcel hash_reply = transactWithoutArguments(binder, 0x00fffffe);
    std::string hash;
    ASSERT_EQ(ndk::AParcel_readData(hash_reply.get(), &hash), STATUS_OK);
    EXPECT_EQ(hash, frozenHash());
}

// A remote object of the probe's class that is not generated code: it counts the version queries
// it receives and fails the first of each, then answers version 41 and hash "remote".
struct CountingRemote {
    int version_queries = 0;
    int hash_queries = 0;

    static void* onCreate(void* arguments) { return arguments; }
    static void onDestroy(void*) {}

    static binder_status_t onTransact(AIBinder* binder, transaction_code_t code, const AParcel*,
                                      AParcel* reply) {
        auto* remote = static_cast<CountingRemote*>(AIBinder_getUserData(binder));
        int& queries = code == IGeneratorProbe::TRANSACTION_getInterfaceVersion
                               ? remote->version_queries
                               : remote->hash_queries;
        ++queries;
        if (queries == 1) {
            return AParcel_writeStatusHeader(
                    reply, ndk::ScopedAStatus::fromExceptionCode(EX_ILLEGAL_STATE).get());
        }
        binder_status_t status = AParcel_writeStatusHeader(reply, ndk::ScopedAStatus::ok().get());
        if (status != STATUS_OK) return status;
        if (code == IGeneratorProbe::TRANSACTION_getInterfaceVersion) {
            return AParcel_writeInt32(reply, 41);
        }
        return ndk::AParcel_writeData(reply, std::string("remote"));
    }
};

TEST(VersionQueryTest, ProxyCachesTheFirstSuccessfulAnswer) {
    // Binder classes live as long as the process, as on the platform.
    static AIBinder_Class* const remote_class =
            AIBinder_Class_define(IGeneratorProbe::descriptor, CountingRemote::onCreate,
                                  CountingRemote::onDestroy, CountingRemote::onTransact);
    ASSERT_NE(remote_class, nullptr);
    CountingRemote remote;
    ndk::SpAIBinder binder(AIBinder_new(remote_class, &remote));
    auto proxy = ndk::SharedRefBase::make<BpGeneratorProbe>(binder);

    int32_t version = 0;
    EXPECT_EQ(proxy->getInterfaceVersion(&version).getExceptionCode(), EX_ILLEGAL_STATE);
    for (int attempt = 0; attempt < 3; ++attempt) {
        ASSERT_TRUE(proxy->getInterfaceVersion(&version).isOk());
        EXPECT_EQ(version, 41);
    }
    EXPECT_EQ(remote.version_queries, 2);

    std::string hash;
    EXPECT_EQ(proxy->getInterfaceHash(&hash).getExceptionCode(), EX_ILLEGAL_STATE);
    for (int attempt = 0; attempt < 3; ++attempt) {
        ASSERT_TRUE(proxy->getInterfaceHash(&hash).isOk());
        EXPECT_EQ(hash, "remote");
    }
    EXPECT_EQ(remote.hash_queries, 2);
}

}  // namespace
}  // namespace aidl_generator_test
