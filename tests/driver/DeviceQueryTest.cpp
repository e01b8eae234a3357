// Device queries: counts per type, the metadata block and the driver information.
#include <cstring>
#include <vector>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using DeviceQueryTest = DriverTest;

TEST_F(DeviceQueryTest, EachDeviceTypeHasACountAndAMetadataBlock) {
    ScopedSession session;
    const int64_t block_size =
            dravikSession_queryInfo(session.get(), DRAVIK_REFERENCE_INFO_METADATA_SIZE);
    ASSERT_EQ(block_size, static_cast<int64_t>(sizeof(dravik_reference_device_metadata)));
    int types = 0;
    for (int32_t type = 0; type <= 7; ++type) {
        const int64_t count = dravikSession_queryDeviceNum(session.get(), type);
        // A guard byte after the block shows that the driver writes exactly block_size bytes.
        std::vector<uint8_t> buffer(block_size + 1, 0xCC);
        const int32_t result =
                dravikSession_queryDeviceMetaData(session.get(), type, buffer.data());
        if (count == 0) {
            EXPECT_EQ(errnoOfFailure(result), EINVAL) << "type " << type;
            EXPECT_EQ(buffer[0], 0xCC);
            continue;
        }
        ++types;
        ASSERT_EQ(result, 0) << "type " << type;
        EXPECT_EQ(buffer[block_size], 0xCC);
        dravik_reference_device_metadata metadata;
        std::memcpy(&metadata, buffer.data(), sizeof(metadata));
        EXPECT_EQ(metadata.magic, DRAVIK_REFERENCE_METADATA_MAGIC);
        EXPECT_EQ(metadata.layout_version,
                  static_cast<uint32_t>(DRAVIK_REFERENCE_METADATA_LAYOUT_VERSION));
        EXPECT_EQ(metadata.device_type, type);
        EXPECT_EQ(metadata.device_count, count);
        EXPECT_GT(std::strlen(metadata.name), 0u);
        EXPECT_LT(std::strlen(metadata.name), sizeof(metadata.name));
        EXPECT_EQ(metadata.max_command_buffer_bytes,
                  static_cast<uint64_t>(dravikSession_queryInfo(
                          session.get(), DRAVIK_REFERENCE_INFO_MAX_ALLOCATION_SIZE)));
        for (const uint8_t reserved : metadata.reserved) EXPECT_EQ(reserved, 0);
    }
    EXPECT_EQ(types, dravikSession_queryInfo(session.get(), DRAVIK_REFERENCE_INFO_DEVICE_TYPES));
    EXPECT_EQ(errnoOfFailure(dravikSession_queryDeviceMetaData(session.get(), 1, nullptr)), EINVAL);
}

TEST_F(DeviceQueryTest, UnknownKindsAndSessionsAnswerZeroWithEINVAL) {
    ScopedSession session;
    for (const int32_t kind : {0, 7, -1}) {
        errno = 0;
        EXPECT_EQ(dravikSession_queryInfo(session.get(), kind), 0) << "kind " << kind;
        EXPECT_EQ(errno, EINVAL);
    }
    errno = 0;
    EXPECT_EQ(dravikSession_queryDeviceNum(nullptr, 1), 0);
    EXPECT_EQ(errno, EINVAL);
    uint8_t buffer[sizeof(dravik_reference_device_metadata)];
    EXPECT_EQ(errnoOfFailure(dravikSession_queryDeviceMetaData(nullptr, 1, buffer)), EINVAL);
    // What allocation relies on is told the same way.
    dravik_mem* mem = dravikSession_memAlloc(session.get(), 1, 0, 0, 0);
    ASSERT_NE(mem, nullptr);
    EXPECT_EQ(dravikSession_memGetInfoFromHostPtr(session.get(), mem,
                                                  DRAVIK_REFERENCE_MEM_INFO_ALIGNMENT),
              dravikSession_queryInfo(session.get(), DRAVIK_REFERENCE_INFO_DEFAULT_ALIGNMENT));
}

}  // namespace
}  // namespace dravik_test
