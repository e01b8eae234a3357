// The C++ marshalling templates: every type the generated code moves, and their null checks.
#include <android/binder_auto_utils.h>
#include <android/binder_parcel_utils.h>
#include <android/binder_parcelable_utils.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "AdderInterface.h"

namespace {

// A record in the shape of a generated one.
struct Sample {
    int64_t id = 0;
    std::string name;
    std::vector<int32_t> values;
    ndk::ScopedFileDescriptor fd;
    static constexpr ndk::parcelable_stability_t _aidl_stability = ndk::STABILITY_VINTF;

    binder_status_t writeToParcel(AParcel* parcel) const {
        binder_status_t status = ndk::AParcel_writeData(parcel, id);
        if (status == STATUS_OK) status = ndk::AParcel_writeData(parcel, name);
        if (status == STATUS_OK) status = ndk::AParcel_writeData(parcel, values);
        if (status == STATUS_OK) status = ndk::AParcel_writeData(parcel, fd);
        return status;
    }
    binder_status_t readFromParcel(const AParcel* parcel) {
        binder_status_t status = ndk::AParcel_readData(parcel, &id);
        if (status == STATUS_OK) status = ndk::AParcel_readData(parcel, &name);
        if (status == STATUS_OK) status = ndk::AParcel_readData(parcel, &values);
        if (status == STATUS_OK) status = ndk::AParcel_readData(parcel, &fd);
        return status;
    }
};

// The inode behind fd, to tell that two descriptors are the same open file.
ino_t inodeOf(int fd) {
    struct stat status {};
    return fstat(fd, &status) == 0 ? status.st_ino : 0;
}

Sample makeSample(int64_t id, const char* name) {
    Sample sample;
    sample.id = id;
    sample.name = name;
    sample.values = {static_cast<int32_t>(id), -1};
    sample.fd.set(open("/dev/null", O_RDONLY | O_CLOEXEC));
    return sample;
}

TEST(ParcelUtilsTest, EveryContractTypeRoundTrips) {
    const int32_t number = -5;
    const int64_t wide = int64_t{1} << 40;
    const std::string text = "grüße";
    const std::vector<int32_t> numbers = {3, 2, 1};
    const std::vector<int64_t> wides = {wide, -wide};
    const std::vector<uint8_t> bytes = {0, 255, 7};
    const std::vector<std::vector<int32_t>> nested = {{1}, {}, {2, 3}};
    std::vector<ndk::ScopedFileDescriptor> fds;
    fds.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    std::vector<Sample> samples;
    samples.push_back(makeSample(1, "one"));
    samples.push_back(makeSample(2, "two"));
    const Sample single = makeSample(9, "nine");
    auto local_adder = ndk::SharedRefBase::make<adder::Adder>();
    std::shared_ptr<adder::IAdder> adder = local_adder;

    ndk::ScopedAParcel parcel(AParcel_create());
    AParcel* out = parcel.get();
    ASSERT_EQ(ndk::AParcel_writeData(out, number), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeData(out, wide), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeData(out, true), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeData(out, text), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeData(out, numbers), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeData(out, wides), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeData(out, bytes), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeData(out, nested), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeData(out, fds), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeData(out, single), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeData(out, samples), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeData(out, adder), STATUS_OK);
    AParcel_setDataPosition(parcel.get(), 0);

    int32_t number_read = 0;
    int64_t wide_read = 0;
    bool flag_read = false;
    std::string text_read;
    std::vector<int32_t> numbers_read;
    std::vector<int64_t> wides_read;
    std::vector<uint8_t> bytes_read;
    std::vector<std::vector<int32_t>> nested_read;
    std::vector<ndk::ScopedFileDescriptor> fds_read;
    Sample single_read;
    std::vector<Sample> samples_read;
    std::shared_ptr<adder::IAdder> adder_read;
    const AParcel* in = parcel.get();
    EXPECT_EQ(ndk::AParcel_readData(in, &number_read), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_readData(in, &wide_read), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_readData(in, &flag_read), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_readData(in, &text_read), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_readData(in, &numbers_read), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_readData(in, &wides_read), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_readData(in, &bytes_read), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_readData(in, &nested_read), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_readData(in, &fds_read), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_readData(in, &single_read), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_readData(in, &samples_read), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_readData(in, &adder_read), STATUS_OK);
    EXPECT_EQ(AParcel_getDataPosition(in), AParcel_getDataSize(in));

    EXPECT_EQ(number_read, number);
    EXPECT_EQ(wide_read, wide);
    EXPECT_TRUE(flag_read);
    EXPECT_EQ(text_read, text);
    EXPECT_EQ(numbers_read, numbers);
    EXPECT_EQ(wides_read, wides);
    EXPECT_EQ(bytes_read, bytes);
    EXPECT_EQ(nested_read, nested);
    ASSERT_EQ(fds_read.size(), 1u);
    EXPECT_NE(fds_read[0], fds[0]);
    EXPECT_EQ(inodeOf(fds_read[0].get()), inodeOf(fds[0].get()));
    EXPECT_EQ(std::tie(single_read.id, single_read.name, single_read.values),
              std::tie(single.id, single.name, single.values));
    EXPECT_EQ(inodeOf(single_read.fd.get()), inodeOf(single.fd.get()));
    ASSERT_EQ(samples_read.size(), 2u);
    EXPECT_EQ(samples_read[1].name, "two");
    EXPECT_EQ(samples_read[1].values, samples[1].values);
    // A local interface comes back as the very same object.
    EXPECT_EQ(adder_read, adder);
}

TEST(ParcelUtilsTest, NonNullableValuesRefuseNull) {
    ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(ndk::AParcel_writeData(parcel.get(), std::shared_ptr<adder::IAdder>()),
              STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(ndk::AParcel_writeData(parcel.get(), ndk::SpAIBinder()), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AParcel_getDataSize(parcel.get()), 0);

    // Null markers and null arrays, as a nullable writer would send them.
    ASSERT_EQ(AParcel_writeInt32(parcel.get(), 0), STATUS_OK);  // null record
    ASSERT_EQ(AParcel_writeInt64Array(parcel.get(), nullptr, -1), STATUS_OK);
    ASSERT_EQ(AParcel_writeStrongBinder(parcel.get(), nullptr), STATUS_OK);
    ASSERT_EQ(AParcel_writeStringArray(parcel.get(), nullptr, -1, nullptr), STATUS_OK);
    AParcel_setDataPosition(parcel.get(), 0);
    Sample sample;
    std::vector<int64_t> wides;
    std::shared_ptr<adder::IAdder> adder;
    std::vector<std::string> strings;
    EXPECT_EQ(ndk::AParcel_readData(parcel.get(), &sample), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(ndk::AParcel_readData(parcel.get(), &wides), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(ndk::AParcel_readData(parcel.get(), &adder), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(ndk::AParcel_readData(parcel.get(), &strings), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(ndk::AParcel_readData(parcel.get(), static_cast<int32_t*>(nullptr)),
              STATUS_UNEXPECTED_NULL);
}

TEST(ParcelUtilsTest, ScopedFileDescriptorOwnsItsDescriptor) {
    const int raw = open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(raw, 0);
    {
        ndk::ScopedFileDescriptor owner(raw);
        ndk::ScopedFileDescriptor copy = owner.dup();
        EXPECT_NE(copy.get(), raw);
        EXPECT_EQ(inodeOf(copy.get()), inodeOf(raw));
        EXPECT_TRUE(owner < copy || copy < owner);
        ndk::ScopedFileDescriptor moved = std::move(owner);
        EXPECT_EQ(owner.get(), -1);
        EXPECT_EQ(moved.get(), raw);
        EXPECT_EQ(ndk::ScopedFileDescriptor().dup().get(), -1);
    }
    EXPECT_EQ(fcntl(raw, F_GETFD), -1);  // closed with its last owner
}

}  // namespace
