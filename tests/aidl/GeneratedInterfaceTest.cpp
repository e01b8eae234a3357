// Generated interfaces at work on the probe: every argument kind through the proxy, the stub and
// the parcels between them, out parameters and failures, interfaces as arguments, and the proxy's
// version queries. Transaction codes and malformed transactions are checked on the real
// interface (tests/interface).

#include <aidl/tessaro/generator/probe/BnGeneratorProbe.h>
#include <aidl/tessaro/generator/probe/BnProbeListener.h>
#include <aidl/tessaro/generator/probe/BpGeneratorProbe.h>
#include <android/binder_parcel_utils.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <climits>
#include <stdexcept>

namespace aidl_generator_test {
namespace {

using ::aidl::android::hardware::common::NativeHandle;
using namespace ::aidl::tessaro::generator::probe;

ndk::ScopedFileDescriptor memoryFile(const std::string& text) {
    ndk::ScopedFileDescriptor file(::memfd_create("aidl-probe", MFD_CLOEXEC));
    if (file.get() < 0 ||
        ::pwrite(file.get(), text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("cannot make a memory file");
    }
    return file;
}

// What a short file holds.
std::string fileText(const ndk::ScopedFileDescriptor& file) {
    char buffer[64];
    ssize_t count = ::pread(file.get(), buffer, sizeof(buffer), 0);
    return count > 0 ? std::string(buffer, static_cast<size_t>(count)) : std::string();
}

// Answers from its arguments alone.
class ProbeService : public BnGeneratorProbe {
  public:
    ndk::ScopedAStatus pack(bool flag, int32_t count, int64_t total, const std::string& label,
                            const ndk::ScopedFileDescriptor& file, const std::vector<int32_t>& ints,
                            const std::vector<int64_t>& longs,
                            const std::vector<ndk::ScopedFileDescriptor>& files,
                            const ProbeInner& inner, const std::vector<ProbeInner>& inners,
                            ProbeRecord* record) override {
        std::vector<ndk::ScopedFileDescriptor> copies;
        for (const ndk::ScopedFileDescriptor& each : files) copies.push_back(each.dup());
        *record = {flag,  count, total, label, file.dup(), ints, longs, std::move(copies),
                   inner, inners};
        return ndk::ScopedAStatus::ok();
    }
    // Everything is filled before a failure: the caller must see none of it.
    ndk::ScopedAStatus split(const NativeHandle& handle, int32_t exception_code,
                             std::vector<int32_t>* ints, NativeHandle* copy,
                             int32_t* descriptor_count) override {
        *ints = handle.ints;
        copy->ints.assign(handle.ints.rbegin(), handle.ints.rend());
        for (const ndk::ScopedFileDescriptor& each : handle.fds) copy->fds.push_back(each.dup());
        *descriptor_count = static_cast<int32_t>(handle.fds.size());
        if (exception_code != 0) return ndk::ScopedAStatus::fromExceptionCode(exception_code);
        return ndk::ScopedAStatus::ok();
    }
    ndk::ScopedAStatus callListener(const std::shared_ptr<IProbeListener>& listener, int32_t value,
                                    int32_t* answer) override {
        ndk::ScopedAStatus status = listener->notify(value, answer);
        if (status.isOk()) *answer += 1;
        return status;
    }
};

class TimesTen : public BnProbeListener {
  public:
    ndk::ScopedAStatus notify(int32_t value, int32_t* answer) override {
        *answer = value * 10;
        return ndk::ScopedAStatus::ok();
    }
};

// A proxy over the service's local binder: calls go through AIBinder_transact and the generated
// onTransact, as they would from another process.
class GeneratedInterfaceTest : public ::testing::Test {
  protected:
    std::shared_ptr<ProbeService> service_ = ndk::SharedRefBase::make<ProbeService>();
    std::shared_ptr<IGeneratorProbe> proxy_ =
            ndk::SharedRefBase::make<BpGeneratorProbe>(service_->asBinder());
};

TEST_F(GeneratedInterfaceTest, EveryArgumentKindArrivesInItsPlace) {
    std::vector<ndk::ScopedFileDescriptor> files;
    files.push_back(memoryFile("first"));
    files.push_back(memoryFile("second"));
    const ProbeInner inner{7, "inner"};
    const std::vector<ProbeInner> inners = {{1, ""}, {0, "two \xc3\xa9"}};
    ProbeRecord record;
    ASSERT_TRUE(proxy_->pack(false, -41, INT64_MIN, "label \xe2\x82\xac", memoryFile("single"),
                             {3, -1, 4}, {INT64_MAX, 0}, files, inner, inners, &record)
                        .isOk());
    EXPECT_FALSE(record.flag);
    EXPECT_EQ(record.count, -41);
    EXPECT_EQ(record.total, INT64_MIN);
    EXPECT_EQ(record.label, "label \xe2\x82\xac");
    EXPECT_EQ(fileText(record.file), "single");
    EXPECT_EQ(record.ints, (std::vector<int32_t>{3, -1, 4}));
    EXPECT_EQ(record.longs, (std::vector<int64_t>{INT64_MAX, 0}));
    ASSERT_EQ(record.files.size(), 2u);
    EXPECT_EQ(fileText(record.files[0]), "first");
    EXPECT_EQ(fileText(record.files[1]), "second");
    EXPECT_EQ(record.inner, inner);
    EXPECT_EQ(record.inners, inners);
}

TEST_F(GeneratedInterfaceTest, OutParametersFollowTheReturnValueOnlyOnSuccess) {
    NativeHandle handle;
    handle.fds.push_back(memoryFile("fence"));
    handle.ints = {10, 20, 30};
    std::vector<int32_t> ints;
    NativeHandle copy;
    int32_t descriptor_count = 0;
    ASSERT_TRUE(proxy_->split(handle, 0, &ints, &copy, &descriptor_count).isOk());
    EXPECT_EQ(descriptor_count, 1);
    EXPECT_EQ(ints, handle.ints);
    EXPECT_EQ(copy.ints, (std::vector<int32_t>{30, 20, 10}));
    ASSERT_EQ(copy.fds.size(), 1u);
    EXPECT_EQ(fileText(copy.fds[0]), "fence");

    // A failed call carries only its status: what the caller had stays.
    std::vector<int32_t> kept_ints = {5};
    NativeHandle kept_copy;
    int32_t kept_count = -1;
    ndk::ScopedAStatus status =
            proxy_->split(handle, EX_ILLEGAL_ARGUMENT, &kept_ints, &kept_copy, &kept_count);
    EXPECT_EQ(status.getExceptionCode(), EX_ILLEGAL_ARGUMENT);
    EXPECT_EQ(kept_ints, std::vector<int32_t>{5});
    EXPECT_TRUE(kept_copy.ints.empty());
    EXPECT_EQ(kept_count, -1);
}

TEST_F(GeneratedInterfaceTest, InterfacesTravelAsBindersOfTheirClass) {
    std::shared_ptr<TimesTen> listener = ndk::SharedRefBase::make<TimesTen>();
    int32_t answer = 0;
    ASSERT_TRUE(proxy_->callListener(listener, 4, &answer).isOk());
    EXPECT_EQ(answer, 41);
    EXPECT_EQ(IGeneratorProbe::fromBinder(service_->asBinder()), service_);
    EXPECT_EQ(IGeneratorProbe::fromBinder(listener->asBinder()), nullptr);
    EXPECT_EQ(IProbeListener::fromBinder(listener->asBinder()), listener);
}

// A remote object of the probe's class that is not generated code: it fails the first query of
// each kind, then answers version 41 and hash "remote", counting the queries that reach it.
struct CountingRemote {
    int queries[2] = {0, 0};  // version, hash

    static void* onCreate(void* remote) { return remote; }
    static void onDestroy(void*) {}
    static binder_status_t onTransact(AIBinder* binder, transaction_code_t code, const AParcel*,
                                      AParcel* reply) {
        bool version = code == IGeneratorProbe::TRANSACTION_getInterfaceVersion;
        auto* remote = static_cast<CountingRemote*>(AIBinder_getUserData(binder));
        if (++remote->queries[version ? 0 : 1] == 1) {
            return AParcel_writeStatusHeader(
                    reply, ndk::ScopedAStatus::fromExceptionCode(EX_ILLEGAL_STATE).get());
        }
        AParcel_writeStatusHeader(reply, ndk::ScopedAStatus::ok().get());
        return version ? AParcel_writeInt32(reply, 41)
                       : ndk::AParcel_writeData(reply, std::string("remote"));
    }
};

TEST(VersionQueryTest, ProxyCachesTheFirstSuccessfulAnswer) {
    // The platform's reserved codes: the last two of the user range.
    EXPECT_EQ(IGeneratorProbe::TRANSACTION_getInterfaceVersion, 0x00ffffffu);
    EXPECT_EQ(IGeneratorProbe::TRANSACTION_getInterfaceHash, 0x00fffffeu);

    // Binder classes live as long as the process, as on the platform.
    static AIBinder_Class* const remote_class =
            AIBinder_Class_define(IGeneratorProbe::descriptor, CountingRemote::onCreate,
                                  CountingRemote::onDestroy, CountingRemote::onTransact);
    CountingRemote remote;
    auto proxy = ndk::SharedRefBase::make<BpGeneratorProbe>(
            ndk::SpAIBinder(AIBinder_new(remote_class, &remote)));
    int32_t version = 0;
    std::string hash;
    EXPECT_EQ(proxy->getInterfaceVersion(&version).getExceptionCode(), EX_ILLEGAL_STATE);
    EXPECT_EQ(proxy->getInterfaceHash(&hash).getExceptionCode(), EX_ILLEGAL_STATE);
    for (int attempt = 0; attempt < 2; ++attempt) {
        ASSERT_TRUE(proxy->getInterfaceVersion(&version).isOk());
        ASSERT_TRUE(proxy->getInterfaceHash(&hash).isOk());
        EXPECT_EQ(version, 41);
        EXPECT_EQ(hash, "remote");
    }
    EXPECT_EQ(remote.queries[0], 2);
    EXPECT_EQ(remote.queries[1], 2);
}

}  // namespace
}  // namespace aidl_generator_test
