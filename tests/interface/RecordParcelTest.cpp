// Every record of the interface survives a parcel round trip, descriptors included.
#include <aidl/android/hardware/common/Ashmem.h>
#include <aidl/android/hardware/common/NativeHandle.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/DRAVIK_CMDBUF_INFO_HD.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/DRAVIK_CMD_PARAMS_HD.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/DRAVIK_CMD_RUNINFO_PARAMS_HD.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/DRAVIK_MEMINFO_HD.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/DRAVIK_SUBCMD_PARAMS_HD.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/DRAVIK_SUBCMD_RUNINFO_PARAMS_HD.h>
#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;
using aidl::android::hardware::common::Ashmem;
using aidl::android::hardware::common::NativeHandle;

int openDescriptorCount() {
    int count = 0;
    DIR* directory = opendir("/proc/self/fd");
    while (readdir(directory) != nullptr) ++count;
    closedir(directory);
    return count;
}

ndk::ScopedFileDescriptor makeMemfd(const char* name) {
    return ndk::ScopedFileDescriptor(memfd_create(name, MFD_CLOEXEC));
}

ino_t inodeOf(const ndk::ScopedFileDescriptor& fd) {
    struct stat status {};
    EXPECT_EQ(fstat(fd.get(), &status), 0);
    return status.st_ino;
}

// Writes record, reads it back from the start of the same parcel.
template <typename Record>
Record roundTrip(const Record& record) {
    ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(record.writeToParcel(parcel.get()), STATUS_OK);
    EXPECT_EQ(AParcel_setDataPosition(parcel.get(), 0), STATUS_OK);
    Record read;
    EXPECT_EQ(read.readFromParcel(parcel.get()), STATUS_OK);
    EXPECT_EQ(AParcel_getDataPosition(parcel.get()), AParcel_getDataSize(parcel.get()));
    return read;
}

TEST(RecordParcelTest, ListRecordsRoundTripAndDefaultToZero) {
    DRAVIK_CMD_PARAMS_HD defaults;
    EXPECT_EQ(defaults.cmd_id, 0);
    EXPECT_EQ(defaults.type, 0);
    EXPECT_EQ(defaults.value, 0);

    DRAVIK_CMD_PARAMS_HD cmd_params;
    cmd_params.cmd_id = INT64_MIN;
    cmd_params.type = -3;
    cmd_params.value = INT64_MAX;
    EXPECT_EQ(roundTrip(cmd_params), cmd_params);

    DRAVIK_SUBCMD_PARAMS_HD sub_cmd_params;
    sub_cmd_params.sub_cmd_id = 0x123456789abcdefLL;
    sub_cmd_params.type = 7;
    sub_cmd_params.value = -1;
    EXPECT_EQ(roundTrip(sub_cmd_params), sub_cmd_params);

    DRAVIK_CMD_RUNINFO_PARAMS_HD cmd_run_info;
    cmd_run_info.cmd_id = 42;
    cmd_run_info.type = 2;
    EXPECT_EQ(roundTrip(cmd_run_info), cmd_run_info);

    DRAVIK_SUBCMD_RUNINFO_PARAMS_HD sub_cmd_run_info;
    sub_cmd_run_info.sub_cmd_id = -42;
    sub_cmd_run_info.type = INT32_MIN;
    EXPECT_EQ(roundTrip(sub_cmd_run_info), sub_cmd_run_info);

    // Field order is part of the wire format: a changed field must not compare equal.
    DRAVIK_CMD_PARAMS_HD other = cmd_params;
    other.type = 4;
    EXPECT_NE(roundTrip(other), cmd_params);
}

TEST(RecordParcelTest, RecordsWithDescriptorsRoundTripAsFreshDuplicates) {
    const int descriptors_before = openDescriptorCount();
    {
        DRAVIK_MEMINFO_HD memory;
        memory.mem_id = 9;
        memory.mem_ptr = 0x7f0000001000;
        memory.fds.push_back(makeMemfd("memory"));
        memory.reserved = 0;
        memory.size = 4096;
        DRAVIK_MEMINFO_HD memory_read = roundTrip(memory);
        EXPECT_EQ(memory_read.mem_id, 9);
        EXPECT_EQ(memory_read.mem_ptr, 0x7f0000001000);
        EXPECT_EQ(memory_read.reserved, 0);
        EXPECT_EQ(memory_read.size, 4096);
        ASSERT_EQ(memory_read.fds.size(), 1u);
        EXPECT_NE(memory_read.fds[0].get(), memory.fds[0].get());
        EXPECT_EQ(inodeOf(memory_read.fds[0]), inodeOf(memory.fds[0]));

        DRAVIK_CMDBUF_INFO_HD command_buffer;
        command_buffer.cmd_buf_id = 3;
        command_buffer.fds.push_back(makeMemfd("command buffer"));
        command_buffer.size = 256;
        DRAVIK_CMDBUF_INFO_HD command_buffer_read = roundTrip(command_buffer);
        EXPECT_EQ(command_buffer_read.cmd_buf_id, 3);
        EXPECT_EQ(command_buffer_read.size, 256);
        ASSERT_EQ(command_buffer_read.fds.size(), 1u);
        EXPECT_EQ(inodeOf(command_buffer_read.fds[0]), inodeOf(command_buffer.fds[0]));

        Ashmem ashmem;
        ashmem.fd = makeMemfd("ashmem");
        ashmem.size = 1 << 20;
        Ashmem ashmem_read = roundTrip(ashmem);
        EXPECT_EQ(ashmem_read.size, 1 << 20);
        EXPECT_EQ(inodeOf(ashmem_read.fd), inodeOf(ashmem.fd));

        NativeHandle handle;
        handle.fds.push_back(makeMemfd("first"));
        handle.fds.push_back(makeMemfd("second"));
        handle.ints = {1, -2, 3};
        NativeHandle handle_read = roundTrip(handle);
        ASSERT_EQ(handle_read.fds.size(), 2u);
        EXPECT_EQ(inodeOf(handle_read.fds[0]), inodeOf(handle.fds[0]));
        EXPECT_EQ(inodeOf(handle_read.fds[1]), inodeOf(handle.fds[1]));
        EXPECT_EQ(handle_read.ints, handle.ints);

        NativeHandle empty_read = roundTrip(NativeHandle());
        EXPECT_TRUE(empty_read.fds.empty());
        EXPECT_TRUE(empty_read.ints.empty());
    }
    // The parcels' duplicates and the readers' copies are all closed again.
    EXPECT_EQ(openDescriptorCount(), descriptors_before);
}

TEST(RecordParcelTest, BadRecordsAndBadParcelsFailCleanly) {
    // A descriptor of -1 where the type is not nullable.
    DRAVIK_MEMINFO_HD memory;
    memory.fds.emplace_back(-1);
    ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(memory.writeToParcel(parcel.get()), STATUS_UNEXPECTED_NULL);

    Ashmem ashmem;  // its descriptor is -1 by default
    ndk::ScopedAParcel ashmem_parcel(AParcel_create());
    EXPECT_EQ(ashmem.writeToParcel(ashmem_parcel.get()), STATUS_UNEXPECTED_NULL);

    // Every prefix of a good record is refused, never read past its end.
    DRAVIK_CMD_PARAMS_HD params;
    params.cmd_id = 5;
    params.type = 6;
    params.value = 7;
    ndk::ScopedAParcel whole(AParcel_create());
    ASSERT_EQ(params.writeToParcel(whole.get()), STATUS_OK);
    const int32_t size = AParcel_getDataSize(whole.get());
    for (int32_t cut = 0; cut < size; cut += 4) {
        SCOPED_TRACE(cut);
        ndk::ScopedAParcel truncated(AParcel_create());
        ASSERT_EQ(AParcel_appendFrom(whole.get(), truncated.get(), 0, cut), STATUS_OK);
        ASSERT_EQ(AParcel_setDataPosition(truncated.get(), 0), STATUS_OK);
        DRAVIK_CMD_PARAMS_HD read;
        EXPECT_NE(read.readFromParcel(truncated.get()), STATUS_OK);
    }

    // A size prefix below its own four bytes.
    ndk::ScopedAParcel bad_size(AParcel_create());
    ASSERT_EQ(AParcel_writeInt32(bad_size.get(), 2), STATUS_OK);
    ASSERT_EQ(AParcel_setDataPosition(bad_size.get(), 0), STATUS_OK);
    DRAVIK_CMD_PARAMS_HD read;
    EXPECT_EQ(read.readFromParcel(bad_size.get()), STATUS_BAD_VALUE);
}

}  // namespace
