// Descriptors and binders in parcels: who owns which copy, and when each is released.
#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>
#include <android/binder_parcel_utils.h>
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "AdderInterface.h"

namespace {

// The number of descriptors open in this process.
int openDescriptorCount() {
    DIR* directory = opendir("/proc/self/fd");
    if (directory == nullptr) return -1;
    int count = 0;
    while (readdir(directory) != nullptr) ++count;
    closedir(directory);
    return count;
}

struct Pipe {
    Pipe() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        read_end.set(ends[0]);
        write_end.set(ends[1]);
    }
    ndk::ScopedFileDescriptor read_end;
    ndk::ScopedFileDescriptor write_end;
};

TEST(ParcelFileDescriptorTest, ParcelAndReaderOwnSeparateDuplicates) {
    Pipe channel;
    const int baseline = openDescriptorCount();
    ndk::ScopedAParcel parcel(AParcel_create());
    ASSERT_EQ(AParcel_writeParcelFileDescriptor(parcel.get(), channel.write_end.get()), STATUS_OK);
    EXPECT_EQ(openDescriptorCount(), baseline + 1);  // the parcel's own duplicate
    AParcel_setDataPosition(parcel.get(), 0);

    int received = -1;
    ASSERT_EQ(AParcel_readParcelFileDescriptor(parcel.get(), &received), STATUS_OK);
    ndk::ScopedFileDescriptor reader_copy(received);
    EXPECT_NE(received, channel.write_end.get());
    EXPECT_EQ(openDescriptorCount(), baseline + 2);
    EXPECT_EQ(fcntl(received, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);

    // The copy is the same open pipe: what goes in through it comes out of the original.
    ASSERT_EQ(write(received, "x", 1), 1);
    char byte = 0;
    ASSERT_EQ(read(channel.read_end.get(), &byte, 1), 1);
    EXPECT_EQ(byte, 'x');

    // Reading again hands out another copy; the parcel keeps its own until it goes.
    AParcel_setDataPosition(parcel.get(), 0);
    ndk::ScopedFileDescriptor second;
    ASSERT_EQ(ndk::AParcel_readData(parcel.get(), &second), STATUS_OK);
    EXPECT_EQ(openDescriptorCount(), baseline + 3);
    reader_copy.set(-1);
    second.set(-1);
    parcel.set(nullptr);
    EXPECT_EQ(openDescriptorCount(), baseline);
}

TEST(ParcelFileDescriptorTest, ReleasedOnResetAndOverwrite) {
    Pipe channel;
    const int baseline = openDescriptorCount();
    ndk::ScopedAParcel parcel(AParcel_create());
    std::vector<ndk::ScopedFileDescriptor> descriptors;
    descriptors.push_back(channel.read_end.dup());
    descriptors.push_back(channel.write_end.dup());
    ASSERT_EQ(ndk::AParcel_writeData(parcel.get(), descriptors), STATUS_OK);
    descriptors.clear();
    EXPECT_EQ(openDescriptorCount(), baseline + 2);
    ASSERT_EQ(AParcel_reset(parcel.get()), STATUS_OK);
    EXPECT_EQ(openDescriptorCount(), baseline);

    ASSERT_EQ(AParcel_writeParcelFileDescriptor(parcel.get(), channel.read_end.get()), STATUS_OK);
    EXPECT_EQ(openDescriptorCount(), baseline + 1);
    // Overwriting the descriptor's bytes releases it, and nothing can be read there any more.
    AParcel_setDataPosition(parcel.get(), 4);
    ASSERT_EQ(AParcel_writeInt32(parcel.get(), 0x46444553), STATUS_OK);
    EXPECT_EQ(openDescriptorCount(), baseline);
    AParcel_setDataPosition(parcel.get(), 0);
    int fd = -1;
    EXPECT_EQ(AParcel_readParcelFileDescriptor(parcel.get(), &fd), STATUS_BAD_VALUE);
    EXPECT_EQ(AParcel_getDataPosition(parcel.get()), 0);
    EXPECT_EQ(openDescriptorCount(), baseline);
}

TEST(ParcelFileDescriptorTest, NullAndInvalidDescriptors) {
    ndk::ScopedAParcel parcel(AParcel_create());
    // Non-nullable writes refuse an empty descriptor; the C API writes -1 as null.
    EXPECT_EQ(ndk::AParcel_writeData(parcel.get(), ndk::ScopedFileDescriptor()),
              STATUS_UNEXPECTED_NULL);
    std::vector<ndk::ScopedFileDescriptor> with_empty(1);
    EXPECT_EQ(ndk::AParcel_writeData(parcel.get(), with_empty), STATUS_UNEXPECTED_NULL);
    AParcel_reset(parcel.get());
    ASSERT_EQ(AParcel_writeParcelFileDescriptor(parcel.get(), -1), STATUS_OK);
    ASSERT_EQ(AParcel_writeInt32(parcel.get(), 1), STATUS_OK);  // a marker with no descriptor
    AParcel_setDataPosition(parcel.get(), 0);
    int fd = 0;
    EXPECT_EQ(AParcel_readParcelFileDescriptor(parcel.get(), &fd), STATUS_OK);
    EXPECT_EQ(fd, -1);
    EXPECT_EQ(AParcel_readParcelFileDescriptor(parcel.get(), &fd), STATUS_NOT_ENOUGH_DATA);
    AParcel_setDataPosition(parcel.get(), 0);
    ndk::ScopedFileDescriptor required;
    EXPECT_EQ(ndk::AParcel_readData(parcel.get(), &required), STATUS_UNEXPECTED_NULL);

    EXPECT_EQ(AParcel_writeParcelFileDescriptor(parcel.get(), -2), STATUS_BAD_VALUE);
    Pipe channel;
    const int closed = channel.read_end.release();
    close(closed);
    EXPECT_EQ(AParcel_writeParcelFileDescriptor(parcel.get(), closed), STATUS_BAD_VALUE);
}

TEST(ParcelFileDescriptorTest, BindersAreHeldByStrongReferences) {
    auto adder = ndk::SharedRefBase::make<adder::Adder>();
    ndk::SpAIBinder binder = adder->asBinder();
    const int32_t baseline = AIBinder_debugGetRefCount(binder.get());
    ndk::ScopedAParcel parcel(AParcel_create());
    ASSERT_EQ(AParcel_writeStrongBinder(parcel.get(), binder.get()), STATUS_OK);
    ASSERT_EQ(AParcel_writeStrongBinder(parcel.get(), nullptr), STATUS_OK);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), baseline + 1);

    // A copy made by appendFrom holds its own reference.
    ndk::ScopedAParcel copy(AParcel_create());
    ASSERT_EQ(AParcel_appendFrom(parcel.get(), copy.get(), 0, AParcel_getDataSize(parcel.get())),
              STATUS_OK);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), baseline + 2);
    EXPECT_EQ(AParcel_appendFrom(parcel.get(), copy.get(), 0, 6), STATUS_BAD_VALUE);  // cuts it
    uint8_t bytes[8];
    EXPECT_EQ(AParcel_marshal(parcel.get(), bytes, 0, 8), STATUS_INVALID_OPERATION);

    AParcel_setDataPosition(copy.get(), 0);
    ndk::SpAIBinder read;
    ASSERT_EQ(ndk::AParcel_readData(copy.get(), &read), STATUS_OK);
    EXPECT_EQ(read, binder);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), baseline + 3);
    EXPECT_EQ(ndk::AParcel_readData(copy.get(), &read), STATUS_UNEXPECTED_NULL);
    int fd = -1;
    AParcel_setDataPosition(copy.get(), 0);
    EXPECT_EQ(AParcel_readParcelFileDescriptor(copy.get(), &fd), STATUS_BAD_VALUE);  // not a fd

    parcel.set(nullptr);
    copy.set(nullptr);
    read.set(nullptr);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), baseline);
}

}  // namespace
