// Parcels: every value type through the C functions and the C++ templates over them, refusals
// of short and malformed data, positions and copies, and the descriptors and binders a parcel
// holds: who owns which copy, and when each is released.
#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>
#include <android/binder_parcel_utils.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "LocalAdder.h"

namespace {

// Writes values one after another into one parcel, then reads each back into a fresh object.
template <typename... T>
void expectRoundTrip(const T&... values) {
    ndk::ScopedAParcel parcel(AParcel_create());
    auto write = [&](const auto& value) {
        EXPECT_EQ(ndk::AParcel_writeData(parcel.get(), value), STATUS_OK);
    };
    (write(values), ...);
    EXPECT_EQ(AParcel_getDataSize(parcel.get()) % 4, 0);  // everything is padded to 4 bytes
    AParcel_setDataPosition(parcel.get(), 0);
    auto readBack = [&](const auto& value) {
        std::decay_t<decltype(value)> copy{};
        EXPECT_EQ(ndk::AParcel_readData(parcel.get(), &copy), STATUS_OK);
        EXPECT_EQ(copy, value);
    };
    (readBack(values), ...);
    EXPECT_EQ(AParcel_getDataPosition(parcel.get()), AParcel_getDataSize(parcel.get()));
}

TEST(ParcelTest, EveryTypeRoundTrips) {
    expectRoundTrip(INT32_MIN, UINT32_MAX, INT64_MIN, UINT64_MAX, -0.5f, -1e300, true, u'é',
                    int8_t{-128}, std::string("a\0b€", 6), std::string());
    // A packed array whose 5 bytes need padding before what follows, then the other kinds.
    expectRoundTrip(std::vector<int8_t>{1, -1, 127, 0, 5}, int32_t{7},
                    std::vector<int32_t>{1, -2, INT32_MAX}, std::vector<uint32_t>{UINT32_MAX},
                    std::vector<int64_t>{}, std::vector<uint64_t>{UINT64_MAX, 0},
                    std::vector<float>{0.25f}, std::vector<double>{-1e300, 2},
                    std::vector<char16_t>{u'x', u'€'}, std::vector<bool>{true, false, true},
                    std::vector<std::string>{"one", "", "drei"},
                    std::vector<std::vector<int32_t>>{{1}, {}, {2, 3}});
}

// A parcel holding exactly these int32 values, positioned at its start.
ndk::ScopedAParcel parcelOf(const std::vector<int32_t>& words) {
    ndk::ScopedAParcel parcel(AParcel_create());
    for (int32_t word : words) AParcel_writeInt32(parcel.get(), word);
    AParcel_setDataPosition(parcel.get(), 0);
    return parcel;
}

using Reader = binder_status_t (*)(const AParcel*);
template <typename T>
binder_status_t readAs(const AParcel* parcel) {
    T value{};
    return ndk::AParcel_readData(parcel, &value);
}

TEST(ParcelTest, ShortAndMalformedDataIsRefusedWhereItIs) {
    constexpr int32_t kDescriptorTag = 0x46444553, kBinderTag = 0x444e4942;
    const std::tuple<std::vector<int32_t>, Reader, binder_status_t> cases[] = {
            {{1}, readAs<int64_t>, STATUS_NOT_ENOUGH_DATA},
            {{}, readAs<std::string>, STATUS_NOT_ENOUGH_DATA},
            {{}, readAs<std::vector<int32_t>>, STATUS_NOT_ENOUGH_DATA},
            {{}, readAs<ndk::ScopedFileDescriptor>, STATUS_NOT_ENOUGH_DATA},
            // Lengths below -1.
            {{-2}, readAs<std::string>, STATUS_BAD_VALUE},
            {{-2}, readAs<std::vector<int32_t>>, STATUS_BAD_VALUE},
            {{-2}, readAs<std::vector<std::string>>, STATUS_BAD_VALUE},
            // More elements or bytes than the data holds.
            {{5, 0x61616161}, readAs<std::vector<int32_t>>, STATUS_BAD_VALUE},
            {{5, 0x61616161}, readAs<std::vector<bool>>, STATUS_BAD_VALUE},
            {{5, 0x61616161}, readAs<std::vector<std::string>>, STATUS_BAD_VALUE},
            {{5, 0x61616161}, readAs<std::vector<std::vector<int32_t>>>, STATUS_BAD_VALUE},
            {{INT32_MAX}, readAs<std::string>, STATUS_BAD_VALUE},
            // "abcd" with no NUL after it, and bytes that are not UTF-8.
            {{4, 0x64636261, 0x65656565}, readAs<std::string>, STATUS_BAD_VALUE},
            {{2, 0x0000ffc3}, readAs<std::string>, STATUS_BAD_VALUE},
            // Object tags in plain data are no objects.
            {{1, kDescriptorTag}, readAs<ndk::ScopedFileDescriptor>, STATUS_BAD_VALUE},
            {{1, kBinderTag}, readAs<ndk::SpAIBinder>, STATUS_BAD_VALUE},
    };
    for (size_t index = 0; index < std::size(cases); ++index) {
        const auto& [words, reader, expected] = cases[index];
        ndk::ScopedAParcel parcel = parcelOf(words);
        EXPECT_EQ(reader(parcel.get()), expected) << "case " << index;
        EXPECT_EQ(AParcel_getDataPosition(parcel.get()), 0) << "case " << index;
    }
    // A refusing allocator is out of memory for a real array.
    ndk::ScopedAParcel parcel = parcelOf({1, 9});
    auto refuse = [](void*, int32_t, int32_t**) { return false; };
    EXPECT_EQ(AParcel_readInt32Array(parcel.get(), nullptr, refuse), STATUS_NO_MEMORY);
}

TEST(ParcelTest, NullValuesAreRefusedByRequiredReadersAndPassedOver) {
    // The null form a nullable writer sends, and the required reader of the same type.
    const std::pair<std::function<binder_status_t(AParcel*)>, Reader> nulls[] = {
            {[](AParcel* out) { return AParcel_writeString(out, nullptr, -1); },
             readAs<std::string>},
            {[](AParcel* out) { return AParcel_writeInt64Array(out, nullptr, -1); },
             readAs<std::vector<int64_t>>},
            {[](AParcel* out) { return AParcel_writeStringArray(out, nullptr, -1, nullptr); },
             readAs<std::vector<std::string>>},
            {[](AParcel* out) { return AParcel_writeStrongBinder(out, nullptr); },
             readAs<ndk::SpAIBinder>},
            {[](AParcel* out) { return AParcel_writeParcelFileDescriptor(out, -1); },
             readAs<ndk::ScopedFileDescriptor>},
    };
    for (size_t index = 0; index < std::size(nulls); ++index) {
        SCOPED_TRACE(index);
        const auto& [write, read] = nulls[index];
        ndk::ScopedAParcel parcel(AParcel_create());
        ASSERT_EQ(write(parcel.get()), STATUS_OK);
        ASSERT_EQ(AParcel_writeInt32(parcel.get(), 7), STATUS_OK);
        AParcel_setDataPosition(parcel.get(), 0);
        EXPECT_EQ(read(parcel.get()), STATUS_UNEXPECTED_NULL);
        int32_t next = 0;
        EXPECT_EQ(AParcel_readInt32(parcel.get(), &next), STATUS_OK);
        EXPECT_EQ(next, 7);
    }
}

TEST(ParcelTest, RefusedWritesLeaveNothingBehind) {
    ndk::ScopedAParcel parcel(AParcel_create());
    AParcel* out = parcel.get();
    EXPECT_EQ(AParcel_writeString(out, "\xc3\x28", 2), STATUS_BAD_VALUE);
    EXPECT_EQ(AParcel_writeString(out, "\xed\xa0\x80", 3), STATUS_BAD_VALUE);  // a surrogate
    EXPECT_EQ(AParcel_writeString(out, "abc", -2), STATUS_BAD_VALUE);
    EXPECT_EQ(AParcel_writeString(out, nullptr, 3), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AParcel_writeInt32Array(out, nullptr, 2), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AParcel_writeInt32Array(out, nullptr, -5), STATUS_BAD_VALUE);
    EXPECT_EQ(ndk::AParcel_writeData(out, ndk::SpAIBinder()), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AParcel_writeParcelFileDescriptor(out, -2), STATUS_BAD_VALUE);
    // A descriptor number that was open a moment ago.
    const int closed = ndk::ScopedFileDescriptor(::open("/dev/null", O_RDONLY)).get();
    EXPECT_EQ(AParcel_writeParcelFileDescriptor(out, closed), STATUS_BAD_VALUE);
    EXPECT_EQ(AParcel_getDataSize(out), 0);
}

TEST(ParcelTest, PositionsAndCopies) {
    // A position past the end reads nothing; a write there fills the gap with zeros.
    ndk::ScopedAParcel parcel = parcelOf({10});
    ASSERT_EQ(AParcel_setDataPosition(parcel.get(), 12), STATUS_OK);
    int32_t value = 0;
    EXPECT_EQ(AParcel_readInt32(parcel.get(), &value), STATUS_NOT_ENOUGH_DATA);
    ASSERT_EQ(AParcel_writeInt32(parcel.get(), 30), STATUS_OK);
    EXPECT_EQ(AParcel_setDataPosition(parcel.get(), -4), STATUS_BAD_VALUE);

    // appendFrom writes at the position; the source may be the destination itself.
    ASSERT_EQ(AParcel_setDataPosition(parcel.get(), 4), STATUS_OK);
    ASSERT_EQ(AParcel_appendFrom(parcel.get(), parcel.get(), 12, 4), STATUS_OK);
    EXPECT_EQ(AParcel_appendFrom(parcel.get(), parcel.get(), 12, 8), STATUS_BAD_VALUE);
    EXPECT_EQ(AParcel_appendFrom(parcel.get(), parcel.get(), -4, 4), STATUS_BAD_VALUE);
    AParcel_setDataPosition(parcel.get(), 0);
    std::vector<int32_t> words(4, -1);
    for (int32_t& word : words) ASSERT_EQ(AParcel_readInt32(parcel.get(), &word), STATUS_OK);
    EXPECT_EQ(words, (std::vector<int32_t>{10, 30, 0, 30}));

    ASSERT_EQ(AParcel_reset(parcel.get()), STATUS_OK);
    EXPECT_EQ(AParcel_getDataSize(parcel.get()), 0);
}

// The number of descriptors open in this process.
int openDescriptorCount() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<int>(std::distance(entries, {}));
}

TEST(ParcelTest, DescriptorsAreDuplicatedAndEachCopyClosedOnce) {
    ndk::ScopedFileDescriptor file(::memfd_create("parcel", MFD_CLOEXEC));
    const int baseline = openDescriptorCount();
    {
        ndk::ScopedAParcel parcel(AParcel_create());
        ASSERT_EQ(AParcel_writeParcelFileDescriptor(parcel.get(), file.get()), STATUS_OK);
        EXPECT_EQ(openDescriptorCount(), baseline + 1);  // the parcel's own duplicate

        // Every read hands out another duplicate of the same open file, closed on exec.
        for (const char* text : {"a", "b"}) {
            AParcel_setDataPosition(parcel.get(), 0);
            ndk::ScopedFileDescriptor received;
            ASSERT_EQ(ndk::AParcel_readData(parcel.get(), &received), STATUS_OK);
            EXPECT_EQ(openDescriptorCount(), baseline + 2);
            EXPECT_EQ(::fcntl(received.get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
            ASSERT_EQ(::pwrite(received.get(), text, 1, 0), 1);
            char byte = 0;
            ASSERT_EQ(::pread(file.get(), &byte, 1, 0), 1);
            EXPECT_EQ(byte, *text);
        }
        EXPECT_EQ(openDescriptorCount(), baseline + 1);

        ASSERT_EQ(AParcel_reset(parcel.get()), STATUS_OK);
        EXPECT_EQ(openDescriptorCount(), baseline);
        std::vector<ndk::ScopedFileDescriptor> descriptors;
        descriptors.push_back(file.dup());
        descriptors.push_back(file.dup());
        ASSERT_EQ(ndk::AParcel_writeData(parcel.get(), descriptors), STATUS_OK);
        descriptors.clear();
        EXPECT_EQ(openDescriptorCount(), baseline + 2);
        // Overwriting a descriptor's bytes releases it, and nothing can be read there any more.
        AParcel_setDataPosition(parcel.get(), 8);
        ASSERT_EQ(AParcel_writeInt32(parcel.get(), 0x46444553), STATUS_OK);
        EXPECT_EQ(openDescriptorCount(), baseline + 1);
        AParcel_setDataPosition(parcel.get(), 4);
        int fd = -1;
        EXPECT_EQ(AParcel_readParcelFileDescriptor(parcel.get(), &fd), STATUS_BAD_VALUE);
    }
    EXPECT_EQ(openDescriptorCount(), baseline);
    EXPECT_NE(::fcntl(file.get(), F_GETFD), -1);  // the writer's own was never closed for it
}

TEST(ParcelTest, BindersAreHeldByTheParcelAndEachCopyOfIt) {
    auto service = ndk::SharedRefBase::make<Adder>();
    ndk::SpAIBinder binder = service->asBinder();
    const int32_t references = AIBinder_debugGetRefCount(binder.get());
    ndk::ScopedAParcel parcel(AParcel_create());
    ASSERT_EQ(AParcel_writeStrongBinder(parcel.get(), binder.get()), STATUS_OK);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), references + 1);

    ndk::ScopedAParcel copy(AParcel_create());
    ASSERT_EQ(AParcel_appendFrom(parcel.get(), copy.get(), 0, AParcel_getDataSize(parcel.get())),
              STATUS_OK);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), references + 2);
    EXPECT_EQ(AParcel_appendFrom(parcel.get(), copy.get(), 0, 6), STATUS_BAD_VALUE);  // cuts it

    AParcel_setDataPosition(copy.get(), 0);
    int fd = -1;
    EXPECT_EQ(AParcel_readParcelFileDescriptor(copy.get(), &fd), STATUS_BAD_VALUE);  // a binder
    ndk::SpAIBinder read;
    ASSERT_EQ(ndk::AParcel_readData(copy.get(), &read), STATUS_OK);
    EXPECT_EQ(read, binder);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), references + 3);

    parcel.set(nullptr);
    copy.set(nullptr);
    read.set(nullptr);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), references);
}

}  // namespace
