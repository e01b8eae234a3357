// Memory as a client sees it: the records of allocations and imports, the descriptors handed out
// (fresh, and mapping the very memory), the client's own descriptors left open, memory shared
// through another session, release, and the maintenance calls.
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <functional>

#include "TovanDravikHalTest.h"

namespace tessaro_vts {
namespace {

using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_MEMINFO_HD;

constexpr int32_t kSize = 8192;

// Whether two descriptors are distinct numbers that map the same memory: what one writes, the
// other reads.
::testing::AssertionResult mapSameMemory(int first, int second, size_t size) {
    if (first == second) return ::testing::AssertionFailure() << "the same number " << first;
    const Mapping one(first, size), other(second, size);
    if (!one.valid() || !other.valid()) return ::testing::AssertionFailure() << "cannot map";
    for (uint8_t value : {0x11, 0xee}) {
        std::memset(one.bytes(), value, size);
        if (other.bytes()[0] != value || other.bytes()[size - 1] != value) {
            return ::testing::AssertionFailure() << "the mappings hold different memory";
        }
    }
    return ::testing::AssertionSuccess();
}

using Allocation = std::function<ndk::ScopedAStatus(ITovanDravik&, int64_t session, int32_t type,
                                                    DRAVIK_MEMINFO_HD*)>;

const std::pair<const char*, Allocation> kAllocations[] = {
        {"session_memAlloc",
         [](auto& s, auto d, auto t, auto* m) { return s.session_memAlloc(d, kSize, 0, t, 0, m); }},
        {"session_memAllocWithName",
         [](auto& s, auto d, auto t, auto* m) {
             return s.session_memAllocWithName(d, kSize, 0, t, 0, "vts memory", m);
         }},
        {"session_memAllocV1",
         [](auto& s, auto d, auto t, auto* m) {
             return s.session_memAllocV1(d, kSize, 0, t, 0, "vts memory", 0, m);
         }},
};

TEST_P(TovanDravikHalTest, AllocationsHandOutAFreshMappableDescriptor) {
    const int64_t session = openSession();
    for (const auto& [method, allocate] : kAllocations) {
        DRAVIK_MEMINFO_HD memory;
        ASSERT_TRUE(isOk(allocate(*service, session, kMemTypeWithDescriptor, &memory))) << method;
        EXPECT_GT(memory.mem_id, 0) << method;
        EXPECT_EQ(memory.mem_ptr, 0) << method;
        EXPECT_EQ(memory.reserved, 0) << method;
        EXPECT_EQ(memory.size, kSize) << method;
        ASSERT_EQ(memory.fds.size(), 1u) << method;
        // A second descriptor of the same memory, asked for afterwards, is another fresh one.
        ndk::ScopedFileDescriptor again;
        ASSERT_TRUE(isOk(service->session_memGetFdFromHostPtr(session, memory.mem_id,
                                                              kDescriptorInfoKind, &again)));
        EXPECT_TRUE(mapSameMemory(memory.fds[0].get(), again.get(), kSize)) << method;
        int32_t ret = -99;
        ASSERT_TRUE(isOk(service->session_memFree(session, memory.mem_id, &ret)));
        EXPECT_EQ(ret, 0) << method;
        ASSERT_TRUE(isOk(service->session_memFree(session, memory.mem_id, &ret)));
        EXPECT_EQ(ret, -1) << method << ": memory is freed once";
        EXPECT_TRUE(isOpenDescriptor(memory.fds[0].get())) << "the client's copy stays its own";
    }
}

// Memory of type 1 has no descriptor; the client learns the driver's handle instead. (That other
// sessions find it is shown with the tight dependency, which is where a client names it.)
TEST_P(TovanDravikHalTest, MemoryWithoutDescriptorAnswersItsHandle) {
    const int64_t session = openSession();
    for (const auto& [method, allocate] : kAllocations) {
        DRAVIK_MEMINFO_HD memory;
        const ndk::ScopedAStatus status =
                allocate(*service, session, kMemTypeWithoutDescriptor, &memory);
        if (!status.isOk()) {
            VTS_SKIP_BECAUSE(std::string("the driver allocates no memory of type 1: ") + method +
                             " " + status.getDescription());
        }
        EXPECT_GT(memory.mem_id, 0) << method;
        EXPECT_NE(memory.mem_ptr, 0) << method;
        EXPECT_TRUE(memory.fds.empty()) << method;
        EXPECT_EQ(memory.size, kSize) << method;
        EXPECT_EQ(memory.reserved, 0) << method;
        int32_t ret = -99;
        ASSERT_TRUE(isOk(service->session_memFlush(session, memory.mem_id, &ret)));
        EXPECT_EQ(ret, 0) << method;
        ASSERT_TRUE(isOk(service->session_memFlush(kNeverIssuedId, memory.mem_id, &ret)));
        EXPECT_EQ(ret, -1) << method << ": the session must be known too";
    }
}

TEST_P(TovanDravikHalTest, AllocationOfAnUnknownMemoryTypeIsRefused) {
    const int64_t session = openSession();
    for (const auto& [method, allocate] : kAllocations) {
        DRAVIK_MEMINFO_HD memory;
        EXPECT_TRUE(isException(allocate(*service, session, 2, &memory), kExceptionUnsupported))
                << method;
    }
    DRAVIK_MEMINFO_HD memory;
    EXPECT_TRUE(isOk(kAllocations[0].second(*service, session, 0, &memory)))
            << "the session serves on";
}

using Import = std::function<ndk::ScopedAStatus(ITovanDravik&, int64_t session,
                                                const std::vector<ndk::ScopedFileDescriptor>&,
                                                DRAVIK_MEMINFO_HD*)>;

const std::pair<const char*, Import> kImports[] = {
        {"session_memImport", [](auto& s, auto d, const auto& f,
                                 auto* m) { return s.session_memImport(d, f, kSize, m); }},
        {"session_memImportWithFlag",
         [](auto& s, auto d, const auto& f, auto* m) {
             return s.session_memImportWithFlag(d, f, kSize, 0, 0, m);
         }},
        {"session_memImportV1",
         [](auto& s, auto d, const auto& f, auto* m) {
             return s.session_memImportV1(d, f, kSize, 0, 0, m);
         }},
};

// Of a list of three descriptors only the first is imported; the service hands back a descriptor
// of its own for it and leaves the client's open.
TEST_P(TovanDravikHalTest, ImportsTakeTheFirstDescriptorAndKeepTheClientsOpen) {
    const int64_t session = openSession();
    for (const auto& [method, import] : kImports) {
        std::vector<ndk::ScopedFileDescriptor> files;
        for (int index = 0; index < 3; ++index) files.push_back(sharedMemoryFile(kSize));
        DRAVIK_MEMINFO_HD memory;
        const ndk::ScopedAStatus status = import(*service, session, files, &memory);
        if (!status.isOk()) {
            VTS_SKIP_BECAUSE(std::string("the driver imports no memfd: ") + method + " " +
                             status.getDescription());
        }
        EXPECT_GT(memory.mem_id, 0) << method;
        EXPECT_EQ(memory.mem_ptr, 0) << method;
        EXPECT_EQ(memory.reserved, 0) << method;
        EXPECT_EQ(memory.size, kSize) << method;
        ASSERT_EQ(memory.fds.size(), 1u) << method;
        EXPECT_TRUE(mapSameMemory(files[0].get(), memory.fds[0].get(), kSize)) << method;
        EXPECT_FALSE(mapSameMemory(files[1].get(), memory.fds[0].get(), kSize)) << method;
        for (const auto& file : files) EXPECT_TRUE(isOpenDescriptor(file.get())) << method;
        int32_t ret = -99;
        ASSERT_TRUE(isOk(service->session_memUnImport(session, memory.mem_id, &ret)));
        EXPECT_EQ(ret, 0) << method;
        ASSERT_TRUE(isOk(service->session_memUnImport(session, memory.mem_id, &ret)));
        EXPECT_EQ(ret, -1) << method << ": an import ends once";
    }
}

TEST_P(TovanDravikHalTest, ImportsRefuseEmptyAndUnusableDescriptorLists) {
    const int64_t session = openSession();
    int pipe_ends[2];
    ASSERT_EQ(pipe(pipe_ends), 0);
    const ndk::ScopedFileDescriptor read_end(pipe_ends[0]), write_end(pipe_ends[1]);
    for (const auto& [method, import] : kImports) {
        DRAVIK_MEMINFO_HD memory;
        EXPECT_TRUE(isException(import(*service, session, {}, &memory), kExceptionUnsupported))
                << method << " of no descriptor";
        std::vector<ndk::ScopedFileDescriptor> unmappable;
        unmappable.emplace_back(dup(read_end.get()));
        EXPECT_TRUE(
                isException(import(*service, session, unmappable, &memory), kExceptionUnsupported))
                << method << " of a pipe";
        EXPECT_TRUE(isOpenDescriptor(unmappable[0].get()));
        // A list holding no descriptor at all cannot even be sent.
        std::vector<ndk::ScopedFileDescriptor> invalid(1);
        const ndk::ScopedAStatus status = import(*service, session, invalid, &memory);
        EXPECT_FALSE(status.isOk()) << method;
        EXPECT_EQ(status.getStatus(), STATUS_UNEXPECTED_NULL) << status.getDescription();
    }
    DRAVIK_MEMINFO_HD memory;
    EXPECT_TRUE(isOk(kAllocations[0].second(*service, session, 0, &memory)))
            << "the session serves on";
}

TEST_P(TovanDravikHalTest, MaintenanceReachesOnlyKnownMemory) {
    const int64_t session = openSession();
    const int64_t other = openSession();
    DRAVIK_MEMINFO_HD memory;
    ASSERT_TRUE(isOk(kAllocations[0].second(*service, session, kMemTypeWithDescriptor, &memory)));
    int32_t ret = -99;
    ASSERT_TRUE(isOk(service->session_memFlush(session, memory.mem_id, &ret)));
    EXPECT_EQ(ret, 0);
    ASSERT_TRUE(isOk(service->session_memInvalidate(session, memory.mem_id, &ret)));
    EXPECT_EQ(ret, 0);
    int64_t descriptor = 0;
    ASSERT_TRUE(isOk(service->session_memGetInfoFromHostPtr(session, memory.mem_id,
                                                            kDescriptorInfoKind, &descriptor)));
    EXPECT_GT(descriptor, 0) << "memory with a descriptor answers one";
    // Private memory is not found through another session; nothing reaches the driver.
    ASSERT_TRUE(isOk(service->session_memFlush(other, memory.mem_id, &ret)));
    EXPECT_EQ(ret, -1);
    ASSERT_TRUE(isOk(service->session_memInvalidate(other, memory.mem_id, &ret)));
    EXPECT_EQ(ret, -1);
    ASSERT_TRUE(isOk(service->session_memSetParamViaHostPtr(other, memory.mem_id, 1, 0, &ret)));
    EXPECT_EQ(ret, -1);
    ASSERT_TRUE(isOk(service->session_memGetInfoFromHostPtr(other, memory.mem_id,
                                                            kDescriptorInfoKind, &descriptor)));
    EXPECT_EQ(descriptor, 0);
    ASSERT_TRUE(isOk(service->session_memFree(other, memory.mem_id, &ret)));
    EXPECT_EQ(ret, -1) << "another session cannot free it";
    // The owner's view is unchanged, and the setter reaches the driver with the owner's id.
    ASSERT_TRUE(isOk(service->session_memSetParamViaHostPtr(session, memory.mem_id, 1, 0, &ret)));
    ASSERT_TRUE(isOk(service->session_memFree(session, memory.mem_id, &ret)));
    EXPECT_EQ(ret, 0);
}

}  // namespace
}  // namespace tessaro_vts
