// Records that cannot be written or read are refused cleanly, never read past their end.
#include <aidl/android/hardware/common/Ashmem.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/DRAVIK_CMD_PARAMS_HD.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/DRAVIK_MEMINFO_HD.h>
#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>
#include <gtest/gtest.h>

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;
using aidl::android::hardware::common::Ashmem;

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
