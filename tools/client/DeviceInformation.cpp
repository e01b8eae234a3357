// What the driver reports about the accelerator, through a session of the client's own.
#include <dravik_reference_driver.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "Commands.h"
#include "StepPrinter.h"

namespace tessaro_client {

namespace {

using ::aidl::android::hardware::common::Ashmem;

constexpr int32_t kDeviceTypes[] = {1, 2, 3, 4, 6};
constexpr int32_t kMetadataSizeKind = 1;

// The block in a region of the client's own; describes it when it has the reference layout.
void printMetadata(const void* block, int64_t size) {
    dravik_reference_device_metadata metadata{};
    if (size < static_cast<int64_t>(sizeof(metadata))) return;
    std::memcpy(&metadata, block, sizeof(metadata));
    if (metadata.magic != DRAVIK_REFERENCE_METADATA_MAGIC) return;
    metadata.name[sizeof(metadata.name) - 1] = '\0';
    std::printf("      %s: %u device(s), %u compute units, %u kHz, %llu bytes local memory\n",
                metadata.name, metadata.device_count, metadata.compute_units, metadata.clock_khz,
                static_cast<unsigned long long>(metadata.local_memory_bytes));
}

void queryMetadata(ITovanDravik& service, int64_t session, int32_t type, int64_t size,
                   StepPrinter& steps) {
    Ashmem region;
    region.fd.set(memfd_create("device-metadata", MFD_CLOEXEC));
    region.size = size;
    if (region.fd.get() < 0 || ftruncate(region.fd.get(), size) != 0) {
        std::printf("  cannot make a %lld-byte region for the metadata\n",
                    static_cast<long long>(size));
        return;
    }
    int32_t ret = 0;
    steps.begin();
    const ndk::ScopedAStatus status =
            service.session_queryDeviceMetaData(session, type, region, &ret);
    if (!steps.report("session_queryDeviceMetaData(type " + std::to_string(type) + ")", status,
                      [&] { return "ret " + std::to_string(ret); }) ||
        ret != 0) {
        return;
    }
    void* mapping =
            mmap(nullptr, static_cast<size_t>(size), PROT_READ, MAP_SHARED, region.fd.get(), 0);
    if (mapping == MAP_FAILED) return;
    printMetadata(mapping, size);
    munmap(mapping, static_cast<size_t>(size));
}

}  // namespace

int showDeviceInformation(ITovanDravik& service) {
    StepPrinter steps;
    int64_t session = 0;
    steps.begin();
    if (!steps.report("session_createInstance", service.session_createInstance(&session),
                      [&] { return "session " + std::to_string(session); })) {
        return 1;
    }
    int64_t metadata_size = 0;
    for (int32_t kind = 1; kind <= 6; ++kind) {
        int64_t value = 0;
        steps.begin();
        steps.report("session_queryInfo(kind " + std::to_string(kind) + ")",
                     service.session_queryInfo(session, kind, &value),
                     [&] { return std::to_string(value); });
        if (kind == kMetadataSizeKind) metadata_size = value;
    }
    for (const int32_t type : kDeviceTypes) {
        int64_t count = 0;
        steps.begin();
        steps.report("session_queryDeviceNum(type " + std::to_string(type) + ")",
                     service.session_queryDeviceNum(session, type, &count),
                     [&] { return std::to_string(count) + " device(s)"; });
        if (metadata_size > 0) queryMetadata(service, session, type, metadata_size, steps);
    }
    int32_t ret = 0;
    steps.begin();
    steps.report("session_deleteInstance", service.session_deleteInstance(session, &ret),
                 [&] { return "ret " + std::to_string(ret); });
    return steps.failures() == 0 && ret == 0 ? 0 : 1;
}

}  // namespace tessaro_client
