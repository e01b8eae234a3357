// Generated interfaces at work: every argument and return type through the proxy, the stub and
// the parcels between them, plus the stub's answers to malformed transactions.

#include "ProbeService.h"

#include <aidl/tessaro/generator/probe/BpGeneratorProbe.h>
#include <aidl/tessaro/generator/probe/IGeneratorProbe.h>
#include <android/binder_parcel_utils.h>
#include <gtest/gtest.h>

namespace aidl_generator_test {
namespace {

using ::aidl::tessaro::generator::probe::BpGeneratorProbe;
using ::aidl::tessaro::generator::probe::IGeneratorProbe;
using ::aidl::tessaro::generator::probe::IGeneratorProbeDefault;

// A proxy over the service's local binder: calls go through AIBinder_transact and the generated
// onTransact, as they would from another process.
class GeneratedInterfaceTest : public ::testing::Test {
  protected:
    std::shared_ptr<ProbeService> service_ = ndk::SharedRefBase::make<ProbeService>();
    std::shared_ptr<IGeneratorProbe> proxy_ =
            ndk::SharedRefBase::make<BpGeneratorProbe>(service_->asBinder());
};

TEST_F(GeneratedInterfaceTest, PrimitivesAndStringsRoundTrip) {
    bool inverted = false;
    ASSERT_TRUE(proxy_->invert(false, &inverted).isOk());
    EXPECT_TRUE(inverted);
    int32_t sum = 0;
    ASSERT_TRUE(proxy_->add(-40, 2, &sum).isOk());
    EXPECT_EQ(sum, -38);
    int64_t negated = 0;
    ASSERT_TRUE(proxy_->negate(INT64_MAX, &negated).isOk());
    EXPECT_EQ(negated, -INT64_MAX);
    std::string echoed;
    ASSERT_TRUE(proxy_->echo("abc \xe2\x82\xac", &echoed).isOk());
    EXPECT_EQ(echoed, "<abc \xe2\x82\xac>");
    std::vector<int32_t> ints;
    ASSERT_TRUE(proxy_->reverseInts({1, 2, 3}, &ints).isOk());
    EXPECT_EQ(ints, (std::vector<int32_t>{3, 2, 1}));
    std::vector<int64_t> longs;
    ASSERT_TRUE(proxy_->reverseLongs({INT64_MIN, 5}, &longs).isOk());
    EXPECT_EQ(longs, (std::vector<int64_t>{5, INT64_MIN}));
    ASSERT_TRUE(proxy_->reverseLongs({}, &longs).isOk());
    EXPECT_TRUE(longs.empty());
    EXPECT_EQ(service_->calls(), 7);
}

TEST_F(GeneratedInterfaceTest, DescriptorsArriveAsNewDescriptorsOfTheSameFile) {
    ndk::ScopedFileDescriptor file = makeMemoryFile("payload");
    ndk::ScopedFileDescriptor returned;
    ASSERT_TRUE(proxy_->duplicate(file, &returned).isOk());
    ASSERT_GE(returned.get(), 0);
    EXPECT_NE(returned.get(), file.get());
    EXPECT_EQ(fileText(returned.get()), "payload");

    std::vector<ndk::ScopedFileDescriptor> files;
    files.push_back(makeMemoryFile("one"));
    files.push_back(makeMemoryFile("two"));
    std::vector<ndk::ScopedFileDescriptor> copies;
    ASSERT_TRUE(proxy_->duplicateAll(files, &copies).isOk());
    ASSERT_EQ(copies.size(), 2u);
    EXPECT_EQ(fileText(copies[0].get()), "one");
    EXPECT_EQ(fileText(copies[1].get()), "two");

    // A missing descriptor is refused before anything is sent.
    int calls_before = service_->calls();
    ndk::ScopedAStatus status = proxy_->duplicate(ndk::ScopedFileDescriptor(), &returned);
    EXPECT_EQ(status.getStatus(), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(service_->calls(), calls_before);
}

TEST_F(GeneratedInterfaceTest, RecordsRoundTrip) {
    ProbeRecord record;
    record.flag = false;
    record.count = 12;
    record.label = "record";
    record.file = makeMemoryFile("record file");
    record.longs = {9, 8};
    record.files.push_back(makeMemoryFile("listed"));
    record.inner.value = 4;
    record.inners.resize(1);
    record.inners[0].name = "only";
    ProbeRecord mirrored;
    ASSERT_TRUE(proxy_->mirror(record, &mirrored).isOk());
    EXPECT_EQ(mirrored.flag, false);
    EXPECT_EQ(mirrored.count, 12);
    EXPECT_EQ(mirrored.total, 16);
    EXPECT_EQ(mirrored.label, "record");
    EXPECT_EQ(fileText(mirrored.file.get()), "record file");
    EXPECT_EQ(mirrored.longs, record.longs);
    ASSERT_EQ(mirrored.files.size(), 1u);
    EXPECT_EQ(fileText(mirrored.files[0].get()), "listed");
    EXPECT_EQ(mirrored.inner, record.inner);
    EXPECT_EQ(mirrored.inners, record.inners);

    std::vector<ProbeInner> inners(3);
    inners[0].value = 3;
    inners[1].value = -1;
    inners[2].value = 2;
    std::vector<ProbeInner> sorted;
    ASSERT_TRUE(proxy_->sortInners(inners, &sorted).isOk());
    ASSERT_EQ(sorted.size(), 3u);
    EXPECT_EQ(sorted[0].value, -1);
    EXPECT_EQ(sorted[1].value, 2);
    EXPECT_EQ(sorted[2].value, 3);
}

TEST_F(GeneratedInterfaceTest, OutParametersFollowTheReturnValue) {
    NativeHandle handle;
    handle.fds.push_back(makeMemoryFile("fence"));
    handle.ints = {10, 20, 30};
    std::vector<int32_t> ints;
    NativeHandle copy;
    ASSERT_TRUE(proxy_->split(handle, &ints, &copy).isOk());
    EXPECT_EQ(ints, handle.ints);
    EXPECT_EQ(copy.ints, (std::vector<int32_t>{30, 20, 10}));
    ASSERT_EQ(copy.fds.size(), 1u);
    EXPECT_EQ(fileText(copy.fds[0].get()), "fence");
}

// A failed call carries only its status: out parameters keep what the caller had.
TEST_F(GeneratedInterfaceTest, FailedCallsCarryOnlyTheirStatus) {
    for (binder_exception_t exception : {EX_ILLEGAL_ARGUMENT, EX_UNSUPPORTED_OPERATION}) {
        ProbeInner inner;
        inner.value = 1;
        ndk::ScopedAStatus status = proxy_->refuse(exception, &inner);
        EXPECT_FALSE(status.isOk());
        EXPECT_EQ(status.getExceptionCode(), exception);
        EXPECT_EQ(inner.value, 1);
        EXPECT_TRUE(inner.name.empty());
    }
}

TEST_F(GeneratedInterfaceTest, InterfacesTravelAsBinders) {
    std::shared_ptr<ProbeListener> listener = ndk::SharedRefBase::make<ProbeListener>();
    int32_t answer = 0;
    ASSERT_TRUE(proxy_->callListener(listener, 4, &answer).isOk());
    EXPECT_EQ(answer, 41);

    int calls_before = service_->calls();
    ndk::ScopedAStatus status = proxy_->callListener(nullptr, 4, &answer);
    EXPECT_EQ(status.getStatus(), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(service_->calls(), calls_before);
}

TEST_F(GeneratedInterfaceTest, FromBinderFindsLocalObjectsAndChecksTheClass) {
    EXPECT_EQ(IGeneratorProbe::fromBinder(service_->asBinder()), service_);
    EXPECT_EQ(IGeneratorProbe::fromBinder(ndk::SpAIBinder()), nullptr);
    std::shared_ptr<ProbeListener> listener = ndk::SharedRefBase::make<ProbeListener>();
    EXPECT_EQ(IGeneratorProbe::fromBinder(listener->asBinder()), nullptr);
    EXPECT_EQ(IProbeListener::fromBinder(listener->asBinder()), listener);
    EXPECT_FALSE(proxy_->isRemote());  // the binder behind it is local
    EXPECT_STREQ(IGeneratorProbe::descriptor, "tessaro.generator.probe.IGeneratorProbe");
}

// Raw transactions: the arguments follow the token in declaration order, a short argument list
// fails without reaching the method, and unknown codes are refused.
TEST_F(GeneratedInterfaceTest, StubAnswersMalformedTransactions) {
    auto transact = [this](transaction_code_t code, const std::vector<int32_t>& arguments,
                           ndk::ScopedAParcel* reply) {
        ndk::SpAIBinder binder = service_->asBinder();
        ndk::ScopedAParcel request;
        EXPECT_EQ(AIBinder_prepareTransaction(binder.get(), request.getR()), STATUS_OK);
        for (int32_t argument : arguments) AParcel_writeInt32(request.get(), argument);
        return AIBinder_transact(binder.get(), code, request.getR(), reply->getR(), 0);
    };

    // add() is the second method: FIRST_CALL_TRANSACTION + 1.
    ndk::ScopedAParcel reply;
    ASSERT_EQ(transact(FIRST_CALL_TRANSACTION + 1, {20, 22}, &reply), STATUS_OK);
    ndk::ScopedAStatus status;
    ASSERT_EQ(AParcel_readStatusHeader(reply.get(), status.getR()), STATUS_OK);
    ASSERT_TRUE(status.isOk());
    int32_t sum = 0;
    ASSERT_EQ(AParcel_readInt32(reply.get(), &sum), STATUS_OK);
    EXPECT_EQ(sum, 42);
    EXPECT_EQ(service_->calls(), 1);

    ndk::ScopedAParcel short_reply;
    EXPECT_EQ(transact(FIRST_CALL_TRANSACTION + 1, {20}, &short_reply), STATUS_NOT_ENOUGH_DATA);
    EXPECT_EQ(service_->calls(), 1);

    ndk::ScopedAParcel unknown_reply;
    EXPECT_EQ(transact(FIRST_CALL_TRANSACTION + 13, {}, &unknown_reply),
              STATUS_UNKNOWN_TRANSACTION);
    EXPECT_EQ(service_->calls(), 1);
}

TEST(GeneratedDefaultTest, DefaultImplementationAnswersUnknownTransaction) {
    auto fallback = ndk::SharedRefBase::make<IGeneratorProbeDefault>();
    int32_t sum = 0;
    EXPECT_EQ(fallback->add(1, 2, &sum).getStatus(), STATUS_UNKNOWN_TRANSACTION);
    ProbeInner inner;
    EXPECT_EQ(fallback->refuse(EX_ILLEGAL_STATE, &inner).getStatus(), STATUS_UNKNOWN_TRANSACTION);
    EXPECT_FALSE(fallback->isRemote());
    EXPECT_EQ(fallback->asBinder().get(), nullptr);
}

}  // namespace
}  // namespace aidl_generator_test
