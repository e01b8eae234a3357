#include "interface/NativeHandle.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "OpenDescriptors.h"

namespace service_test {
namespace {

using ::android::NativeHandle;

NativeHandle recordWith(int descriptor_count, std::vector<int32_t> ints) {
    NativeHandle record;
    for (int index = 0; index < descriptor_count; ++index) {
        record.fds.emplace_back(eventfd(0, EFD_CLOEXEC));
    }
    record.ints = std::move(ints);
    return record;
}

TEST(NativeHandleTest, MadeHandlesBorrowDuplicatedHandlesOwn) {
    EXPECT_TRUE(android::isAidlNativeHandleEmpty(NativeHandle{}));
    EXPECT_FALSE(android::isAidlNativeHandleEmpty(recordWith(0, {1})));
    EXPECT_FALSE(android::isAidlNativeHandleEmpty(recordWith(1, {})));
    const NativeHandle record = recordWith(2, {5, -6, 7});
    native_handle_t* made = android::makeFromAidl(record);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->numFds, 2);
    EXPECT_EQ(made->data[0], record.fds[0].get());
    EXPECT_EQ(made->data[1], record.fds[1].get());
    EXPECT_EQ(std::vector<int>(made->data + 2, made->data + 5), (std::vector<int>{5, -6, 7}));
    native_handle_delete(made);
    EXPECT_TRUE(isOpen(record.fds[0].get()));

    const size_t before = openDescriptorCount();
    native_handle_t* duplicated = android::dupFromAidl(record);
    ASSERT_NE(duplicated, nullptr);
    EXPECT_NE(duplicated->data[0], record.fds[0].get());
    EXPECT_EQ(fcntl(duplicated->data[0], F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    EXPECT_EQ(duplicated->numInts, 3);
    EXPECT_EQ(openDescriptorCount(), before + 2);
    native_handle_close(duplicated);
    native_handle_delete(duplicated);
    EXPECT_EQ(openDescriptorCount(), before);
}

TEST(NativeHandleTest, RecordsTakeOverOrDuplicateTheHandlesDescriptors) {
    native_handle_t* handle = native_handle_create(1, 2);
    handle->data[0] = eventfd(0, EFD_CLOEXEC);
    handle->data[1] = 40;
    handle->data[2] = 41;
    const size_t before = openDescriptorCount();
    {
        NativeHandle copy = android::dupToAidl(handle);
        ASSERT_EQ(copy.fds.size(), 1u);
        EXPECT_NE(copy.fds[0].get(), handle->data[0]);
        EXPECT_EQ(copy.ints, (std::vector<int32_t>{40, 41}));
        EXPECT_EQ(openDescriptorCount(), before + 1) << "both stay open";
    }
    EXPECT_TRUE(isOpen(handle->data[0]));
    const int number = handle->data[0];
    {
        NativeHandle owner = android::makeToAidl(handle);
        EXPECT_EQ(owner.fds[0].get(), number);
        native_handle_delete(handle);  // never closed: the record owns the descriptor now
    }
    EXPECT_FALSE(isOpen(number));
    EXPECT_EQ(openDescriptorCount(), before - 1);
}

TEST(NativeHandleTest, AFailedDuplicateTravelsAsMinusOne) {
    NativeHandle record;
    record.fds.emplace_back(eventfd(0, EFD_CLOEXEC));
    const int closed = record.fds[0].get();
    native_handle_t* handle = android::makeFromAidl(record);
    record.fds.clear();
    ASSERT_FALSE(isOpen(closed));
    NativeHandle copy = android::dupToAidl(handle);
    ASSERT_EQ(copy.fds.size(), 1u);
    EXPECT_EQ(copy.fds[0].get(), -1);
    native_handle_delete(handle);
}

}  // namespace
}  // namespace service_test
