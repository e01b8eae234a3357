// Sessions, the ids the service hands out, and the device queries, with the metadata block that
// the service writes into the client's own shared memory.
#include <aidl/android/hardware/common/Ashmem.h>
#include <unistd.h>

#include <algorithm>

#include "TovanDravikHalTest.h"

namespace tessaro_vts {
namespace {

using ::aidl::android::hardware::common::Ashmem;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_CMDBUF_INFO_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_MEMINFO_HD;

TEST_P(TovanDravikHalTest, SessionsOpenAndCloseOnce) {
    const int64_t first = openSession();
    const int64_t second = openSession();
    ASSERT_NE(first, second);
    int32_t ret = -99;
    ASSERT_TRUE(isOk(service->session_deleteInstance(first, &ret)));
    EXPECT_EQ(ret, 0);
    ASSERT_TRUE(isOk(service->session_deleteInstance(first, &ret)));
    EXPECT_EQ(ret, -1) << "a session is deleted once";
    int64_t id = 0;
    EXPECT_TRUE(isException(service->session_createCmd(first, &id), kExceptionUnsupported))
            << "a deleted session serves nothing";
    EXPECT_TRUE(isOk(service->session_createCmd(second, &id))) << "the other session lives on";
}

// Each kind of object has one service-wide counter: ids grow across sessions and are never given
// again after their object is gone. Other clients may take ids in between, so only the order is
// judged.
TEST_P(TovanDravikHalTest, ResourceIdsGrowAcrossSessionsAndAreNeverReused) {
    const int64_t sessions[] = {openSession(), openSession()};
    const int32_t device_type = availableDeviceType(sessions[0]);
    if (device_type == 0) VTS_SKIP_BECAUSE("the driver reports no device of any accepted type");
    std::vector<int64_t> memory_ids, buffer_ids, command_ids, sub_command_ids;
    for (int round = 0; round < 4; ++round) {
        const int64_t session = sessions[round % 2];
        DRAVIK_MEMINFO_HD memory;
        ASSERT_TRUE(isOk(
                service->session_memAlloc(session, 4096, 0, kMemTypeWithDescriptor, 0, &memory)));
        memory_ids.push_back(memory.mem_id);
        DRAVIK_CMDBUF_INFO_HD buffer;
        ASSERT_TRUE(isOk(service->session_cmdBufAlloc(session, 4096, 0, &buffer)));
        buffer_ids.push_back(buffer.cmd_buf_id);
        int64_t command = 0, sub_command = 0;
        ASSERT_TRUE(isOk(service->session_createCmd(session, &command)));
        command_ids.push_back(command);
        ASSERT_TRUE(isOk(service->cmd_createSubcmd(session, command, device_type, &sub_command)));
        sub_command_ids.push_back(sub_command);
        // Freeing the objects makes no id free for the next round.
        int32_t ret = -99;
        EXPECT_TRUE(isOk(service->session_memFree(session, memory.mem_id, &ret)));
        EXPECT_EQ(ret, 0);
        EXPECT_TRUE(isOk(service->session_cmdBufFree(session, buffer.cmd_buf_id, &ret)));
        EXPECT_EQ(ret, 0);
        EXPECT_TRUE(isOk(service->session_deleteCmd(session, command, &ret)));
        EXPECT_EQ(ret, 0);
    }
    for (const auto* ids : {&memory_ids, &buffer_ids, &command_ids, &sub_command_ids}) {
        EXPECT_GT(ids->front(), 0);
        EXPECT_TRUE(std::is_sorted(ids->begin(), ids->end(), std::less_equal<int64_t>()) &&
                    std::adjacent_find(ids->begin(), ids->end()) == ids->end())
                << "ids not strictly increasing: " << testing::PrintToString(*ids);
    }
}

TEST_P(TovanDravikHalTest, DeviceQueriesRefuseTypeFiveAndTypesOutsideOneToSix) {
    const int64_t session = openSession();
    for (const int32_t type : kRefusedDeviceTypes) {
        int64_t count = 12345;
        ASSERT_TRUE(isOk(service->session_queryDeviceNum(session, type, &count)));
        EXPECT_EQ(count, 0) << "type " << type;
        const ndk::ScopedFileDescriptor file = sharedMemoryFile(4096);
        int32_t ret = 12345;
        ASSERT_TRUE(isOk(service->session_queryDeviceMetaData(
                session, type, Ashmem{ndk::ScopedFileDescriptor(dup(file.get())), 4096}, &ret)));
        EXPECT_EQ(ret, -1) << "type " << type;
    }
    int64_t info = 12345;
    ASSERT_TRUE(isOk(service->session_queryInfo(session, kMetadataSizeKind, &info)));
    EXPECT_GT(info, 0) << "the metadata block has a size";
}

// The block is written into the client's region, which must have exactly the size the service
// reports (only the low 32 bits of the region's size are compared).
TEST_P(TovanDravikHalTest, MetadataFillsAClientRegionOfExactlyItsSize) {
    const int64_t session = openSession();
    int64_t size = 0;
    ASSERT_TRUE(isOk(service->session_queryInfo(session, kMetadataSizeKind, &size)));
    ASSERT_GT(size, 0);
    const int32_t type = availableDeviceType(session);
    if (type == 0) VTS_SKIP_BECAUSE("the driver reports no device of any accepted type");
    constexpr uint8_t kUntouched = 0xa5;
    const ndk::ScopedFileDescriptor file = sharedMemoryFile(size, kUntouched);
    ASSERT_GE(file.get(), 0);
    const struct {
        int64_t region_size;
        int32_t expected;
    } cases[] = {{size - 1, -1}, {size + 1, -1}, {size + (int64_t{1} << 32), 0}, {size, 0}};
    for (const auto& entry : cases) {
        int32_t ret = 12345;
        ASSERT_TRUE(isOk(service->session_queryDeviceMetaData(
                session, type,
                Ashmem{ndk::ScopedFileDescriptor(dup(file.get())), entry.region_size}, &ret)));
        EXPECT_EQ(ret, entry.expected) << "region of " << entry.region_size << " bytes";
    }
    EXPECT_TRUE(isOpenDescriptor(file.get()));
    const Mapping mapping(file.get(), size);
    ASSERT_TRUE(mapping.valid());
    EXPECT_FALSE(std::all_of(mapping.bytes(), mapping.bytes() + size, [](uint8_t byte) {
        return byte == kUntouched;
    })) << "the metadata block was not written into the region";
}

}  // namespace
}  // namespace tessaro_vts
