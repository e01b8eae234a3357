// Allocations and command buffers: descriptors, device addresses, names, parameters, refusals.
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

using MemoryAllocationTest = DriverTest;

int64_t info(dravik_session* session, dravik_mem* mem, int32_t kind) {
    return dravikSession_memGetInfoFromHostPtr(session, mem, kind);
}

uint8_t* hostBytes(dravik_session* session, dravik_mem* mem) {
    return reinterpret_cast<uint8_t*>(
            static_cast<uintptr_t>(info(session, mem, DRAVIK_REFERENCE_MEM_INFO_HOST_ADDRESS)));
}

TEST_F(MemoryAllocationTest, ShareableMemoryShowsTheSameBytesThroughItsDescriptor) {
    ScopedSession session;
    constexpr uint32_t kSize = 3 * 4096 + 100;
    dravik_mem* shareable =
            dravikSession_memAlloc(session.get(), kSize, 0, DRAVIK_REFERENCE_MEM_TYPE_SHAREABLE, 0);
    ASSERT_NE(shareable, nullptr);
    const int descriptor = static_cast<int>(
            info(session.get(), shareable, DRAVIK_REFERENCE_MEM_INFO_SHAREABLE_DESCRIPTOR));
    ASSERT_GT(descriptor, 2);
    struct stat status {};
    ASSERT_EQ(fstat(descriptor, &status), 0);
    EXPECT_EQ(status.st_size, kSize);
    EXPECT_EQ(info(session.get(), shareable, DRAVIK_REFERENCE_MEM_INFO_SIZE), kSize);

    void* mapped = mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    ASSERT_NE(mapped, MAP_FAILED);
    auto* client_bytes = static_cast<uint8_t*>(mapped);
    uint8_t* driver_bytes = hostBytes(session.get(), shareable);
    ASSERT_NE(driver_bytes, nullptr);
    for (uint32_t index = 0; index < kSize; ++index) client_bytes[index] = index * 7 % 251;
    EXPECT_EQ(std::memcmp(client_bytes, driver_bytes, kSize), 0);
    driver_bytes[kSize - 1] = 0xEE;
    EXPECT_EQ(client_bytes[kSize - 1], 0xEE);
    munmap(mapped, kSize);

    // The descriptor is the driver's until the memory is freed.
    EXPECT_EQ(dravikSession_memFree(session.get(), shareable), 0);
    EXPECT_FALSE(descriptorIsOpen(descriptor));

    dravik_mem* private_memory =
            dravikSession_memAlloc(session.get(), 4096, 0, DRAVIK_REFERENCE_MEM_TYPE_PRIVATE, 0);
    ASSERT_NE(private_memory, nullptr);
    EXPECT_EQ(info(session.get(), private_memory, DRAVIK_REFERENCE_MEM_INFO_SHAREABLE_DESCRIPTOR),
              0);
    hostBytes(session.get(), private_memory)[4095] = 1;  // mapped all the same

    dravik_mem* command_buffer = dravikSession_cmdBufAlloc(session.get(), 512, 0);
    ASSERT_NE(command_buffer, nullptr);
    EXPECT_GT(info(session.get(), command_buffer, DRAVIK_REFERENCE_MEM_INFO_SHAREABLE_DESCRIPTOR),
              2);
    EXPECT_EQ(info(session.get(), command_buffer, DRAVIK_REFERENCE_MEM_INFO_OBJECT_KIND),
              DRAVIK_REFERENCE_OBJECT_KIND_COMMAND_BUFFER);
    EXPECT_EQ(liveCounts().memory_objects, 1);
    EXPECT_EQ(liveCounts().command_buffers, 1);
}

TEST_F(MemoryAllocationTest, DeviceAddressesAreAlignedDisjointAndInTheDeviceRange) {
    ScopedSession first;
    ScopedSession second;
    struct Placed {
        dravik_session* session;
        dravik_mem* mem;
        uint64_t alignment;
    };
    std::vector<Placed> placed;
    const std::vector<std::pair<uint32_t, uint32_t>> requests = {
            {100, 0}, {1, 1}, {5000, 4096}, {64, 1u << 20}, {70000, 256}, {3, 0}};
    for (const auto& [size, align] : requests) {
        for (dravik_session* session : {first.get(), second.get()}) {
            dravik_mem* mem = dravikSession_memAlloc(session, size, align, 0, 0);
            ASSERT_NE(mem, nullptr) << "size " << size << " align " << align;
            placed.push_back({session, mem, align == 0 ? 64u : align});
        }
    }
    dravik_mem* command_buffer = dravikSession_cmdBufAlloc(first.get(), 300, 4096);
    ASSERT_NE(command_buffer, nullptr);
    placed.push_back({first.get(), command_buffer, 4096});
    // Free one in the middle and allocate again: the new range still meets no other.
    ASSERT_EQ(dravikSession_memFree(placed[4].session, placed[4].mem), 0);
    placed[4].mem = dravikSession_memAlloc(placed[4].session, 9000, 8, 0, 0);
    ASSERT_NE(placed[4].mem, nullptr);
    placed[4].alignment = 8;

    std::vector<std::pair<uint64_t, uint64_t>> ranges;
    for (const Placed& object : placed) {
        const uint64_t address =
                info(object.session, object.mem, DRAVIK_REFERENCE_MEM_INFO_DEVICE_ADDRESS);
        const uint64_t size = info(object.session, object.mem, DRAVIK_REFERENCE_MEM_INFO_SIZE);
        EXPECT_EQ(address % object.alignment, 0u);
        EXPECT_EQ(info(object.session, object.mem, DRAVIK_REFERENCE_MEM_INFO_ALIGNMENT),
                  static_cast<int64_t>(object.alignment));
        EXPECT_GE(address, DRAVIK_REFERENCE_DEVICE_ADDRESS_BASE);
        EXPECT_LE(address + size, DRAVIK_REFERENCE_DEVICE_ADDRESS_LIMIT);
        ranges.emplace_back(address, address + size);
    }
    std::sort(ranges.begin(), ranges.end());
    for (std::size_t index = 1; index < ranges.size(); ++index) {
        EXPECT_LE(ranges[index - 1].second, ranges[index].first) << "ranges overlap";
    }
}

TEST_F(MemoryAllocationTest, NamesFlagsAndExtrasAreKept) {
    ScopedSession session;
    auto nameOf = [&](dravik_mem* mem) {
        char buffer[DRAVIK_REFERENCE_MAX_NAME_LENGTH + 1] = {};
        EXPECT_EQ(dravikReference_memGetName(session.get(), mem, buffer, sizeof(buffer)), 0);
        return std::string(buffer);
    };
    dravik_mem* unnamed = dravikSession_memAlloc(session.get(), 64, 0, 0, 5);
    dravik_mem* named = dravikSession_memAllocWithName(session.get(), 64, 0, 1, 6, "weights");
    dravik_mem* versioned =
            dravikSession_memAllocV1(session.get(), 64, 128, 0, 7, "activations", 1234567890123);
    dravik_mem* buffer = dravikSession_cmdBufAllocWithName(session.get(), 64, 0, "layer 3", -9);
    const std::string longest(DRAVIK_REFERENCE_MAX_NAME_LENGTH, 'n');
    dravik_mem* long_named =
            dravikSession_memAllocWithName(session.get(), 64, 0, 0, 0, longest.c_str());
    ASSERT_TRUE(unnamed && named && versioned && buffer && long_named);

    EXPECT_EQ(nameOf(unnamed), "");
    EXPECT_EQ(nameOf(named), "weights");
    EXPECT_EQ(nameOf(versioned), "activations");
    EXPECT_EQ(nameOf(buffer), "layer 3");
    EXPECT_EQ(nameOf(long_named), longest);
    EXPECT_EQ(info(session.get(), unnamed, DRAVIK_REFERENCE_MEM_INFO_FLAG), 5);
    EXPECT_EQ(info(session.get(), named, DRAVIK_REFERENCE_MEM_INFO_FLAG), 6);
    EXPECT_EQ(info(session.get(), named, DRAVIK_REFERENCE_MEM_INFO_MEM_TYPE), 1);
    EXPECT_EQ(info(session.get(), versioned, DRAVIK_REFERENCE_MEM_INFO_EXTRA), 1234567890123);
    EXPECT_EQ(info(session.get(), buffer, DRAVIK_REFERENCE_MEM_INFO_EXTRA), -9);

    char small[8];
    EXPECT_EQ(errnoOfFailure(
                      dravikReference_memGetName(session.get(), versioned, small, sizeof(small))),
              ERANGE);
    const std::string too_long = longest + "x";
    EXPECT_EQ(errnoOfFailure(
                      dravikSession_memAllocWithName(session.get(), 64, 0, 0, 0, too_long.c_str())),
              ENAMETOOLONG);
    EXPECT_EQ(errnoOfFailure(dravikSession_memAllocWithName(session.get(), 64, 0, 0, 0, nullptr)),
              EINVAL);
}

TEST_F(MemoryAllocationTest, BadRequestsAreRefusedAndCreateNothing) {
    ScopedSession session;
    dravik_session* s = session.get();
    const uint32_t over_maximum = static_cast<uint32_t>(DRAVIK_REFERENCE_MAX_ALLOCATION_SIZE) + 1;
    EXPECT_EQ(errnoOfFailure(dravikSession_memAlloc(s, 0, 0, 0, 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memAlloc(s, over_maximum, 0, 0, 0)), ENOMEM);
    EXPECT_EQ(errnoOfFailure(dravikSession_memAllocV1(s, -4096, 0, 0, 0, "", 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memAlloc(s, 64, 3, 0, 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memAlloc(s, 64, 1u << 31, 0, 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memAllocV1(s, 64, -64, 0, 0, "", 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memAlloc(s, 64, 0, 2, 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memAlloc(s, 64, 0, -1, 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_cmdBufAlloc(s, 0, 0)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_cmdBufAlloc(s, 64, 48)), EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memAlloc(nullptr, 64, 0, 0, 0)), EINVAL);
    int not_a_session = 0;
    EXPECT_EQ(errnoOfFailure(dravikSession_memAlloc(
                      reinterpret_cast<dravik_session*>(&not_a_session), 64, 0, 0, 0)),
              EINVAL);
    EXPECT_EQ(liveCounts().memory_objects, 0);
    EXPECT_EQ(liveCounts().command_buffers, 0);

    // A refusal leaves errno alone on the next success.
    errno = 4242;
    dravik_mem* mem = dravikSession_memAlloc(s, 64, 0, 0, 0);
    EXPECT_NE(mem, nullptr);
    EXPECT_EQ(errno, 4242);
}

TEST_F(MemoryAllocationTest, DeviceMemoryCapacityIsSharedBySessions) {
    ScopedSession first;
    ScopedSession second;
    const int64_t capacity =
            dravikSession_queryInfo(first.get(), DRAVIK_REFERENCE_INFO_MEMORY_CAPACITY);
    const int64_t largest =
            dravikSession_queryInfo(first.get(), DRAVIK_REFERENCE_INFO_MAX_ALLOCATION_SIZE);
    ASSERT_GT(largest, 0);
    std::vector<std::pair<dravik_session*, dravik_mem*>> filled;
    for (int64_t used = 0; used + largest <= capacity; used += largest) {
        dravik_session* session = filled.size() % 2 == 0 ? first.get() : second.get();
        dravik_mem* mem = dravikSession_memAllocV1(session, largest, 0, 1, 0, "", 0);
        ASSERT_NE(mem, nullptr) << "errno " << errno;
        filled.emplace_back(session, mem);
    }
    EXPECT_EQ(errnoOfFailure(dravikSession_memAlloc(second.get(), 64, 0, 0, 0)), ENOMEM);
    EXPECT_EQ(errnoOfFailure(dravikSession_cmdBufAlloc(first.get(), 64, 0)), ENOMEM);
    ASSERT_EQ(dravikSession_memFree(filled.front().first, filled.front().second), 0);
    EXPECT_NE(dravikSession_cmdBufAlloc(first.get(), 64, 0), nullptr);
}

TEST_F(MemoryAllocationTest, ParametersAreStoredAndReadBack) {
    ScopedSession session;
    dravik_mem* mem = dravikSession_memAlloc(session.get(), 64, 0, 0, 0);
    ASSERT_NE(mem, nullptr);
    EXPECT_EQ(dravikSession_memSetParamViaHostPtr(session.get(), mem,
                                                  DRAVIK_REFERENCE_MEM_PARAM_USER_TAG, -77),
              0);
    EXPECT_EQ(dravikSession_memSetParamViaHostPtr(session.get(), mem,
                                                  DRAVIK_REFERENCE_MEM_PARAM_CACHE_MODE,
                                                  DRAVIK_REFERENCE_CACHE_MODE_UNCACHED),
              0);
    EXPECT_EQ(errnoOfFailure(dravikSession_memSetParamViaHostPtr(
                      session.get(), mem, DRAVIK_REFERENCE_MEM_PARAM_CACHE_MODE, 2)),
              EINVAL);
    EXPECT_EQ(errnoOfFailure(dravikSession_memSetParamViaHostPtr(session.get(), mem, 99, 1)),
              EINVAL);
    EXPECT_EQ(info(session.get(), mem, DRAVIK_REFERENCE_MEM_INFO_USER_TAG), -77);
    EXPECT_EQ(info(session.get(), mem, DRAVIK_REFERENCE_MEM_INFO_CACHE_MODE),
              DRAVIK_REFERENCE_CACHE_MODE_UNCACHED);

    errno = 0;
    EXPECT_EQ(info(session.get(), mem, 0), 0);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(info(session.get(), mem, 12), 0);
    EXPECT_EQ(errno, EINVAL);
}

}  // namespace
}  // namespace dravik_test
