#include "DeviceCatalog.h"

#include <cstring>

#include "DriverError.h"
#include "dravik_reference_driver.h"

namespace dravik::reference {

namespace {

static_assert(sizeof(dravik_reference_device_metadata) == 128,
              "the metadata block has a fixed, documented size");
// The service copies the block through a stack buffer rounded to 16 bytes.
static_assert(sizeof(dravik_reference_device_metadata) % 16 == 0);

struct DeviceDescription {
    int32_t device_type;
    uint32_t device_count;
    uint32_t compute_units;
    uint32_t clock_khz;
    uint64_t local_memory_bytes;
    const char* name;
};

constexpr DeviceDescription kDevices[] = {
        {DRAVIK_REFERENCE_DEVICE_MATRIX_ENGINE, 2, 16, 1'000'000, 4u << 20, "matrix engine"},
        {DRAVIK_REFERENCE_DEVICE_VECTOR_ENGINE, 2, 8, 1'200'000, 1u << 20, "vector engine"},
        {DRAVIK_REFERENCE_DEVICE_SIGNAL_PROCESSOR, 1, 4, 800'000, 512u << 10, "signal processor"},
        {DRAVIK_REFERENCE_DEVICE_SCALAR_CORE, 4, 1, 2'000'000, 256u << 10, "scalar core"},
        {DRAVIK_REFERENCE_DEVICE_COPY_ENGINE, 1, 2, 1'000'000, 0, "copy engine"},
};

const DeviceDescription& describe(int32_t device_type) {
    for (const DeviceDescription& device : kDevices) {
        if (device.device_type == device_type) return device;
    }
    failWith(EINVAL);
}

}  // namespace

bool isDeviceType(int32_t device_type) {
    for (const DeviceDescription& device : kDevices) {
        if (device.device_type == device_type) return true;
    }
    return false;
}

int64_t deviceCount(int32_t device_type) {
    return describe(device_type).device_count;
}

void writeDeviceMetadata(int32_t device_type, void* buffer) {
    require(buffer != nullptr, EINVAL);
    const DeviceDescription& device = describe(device_type);
    dravik_reference_device_metadata metadata{};
    metadata.magic = DRAVIK_REFERENCE_METADATA_MAGIC;
    metadata.layout_version = DRAVIK_REFERENCE_METADATA_LAYOUT_VERSION;
    metadata.device_type = device.device_type;
    metadata.device_count = device.device_count;
    metadata.compute_units = device.compute_units;
    metadata.clock_khz = device.clock_khz;
    metadata.local_memory_bytes = device.local_memory_bytes;
    metadata.max_command_buffer_bytes = DRAVIK_REFERENCE_MAX_ALLOCATION_SIZE;
    metadata.device_address_base = DRAVIK_REFERENCE_DEVICE_ADDRESS_BASE;
    metadata.device_address_limit = DRAVIK_REFERENCE_DEVICE_ADDRESS_LIMIT;
    std::strncpy(metadata.name, device.name, sizeof(metadata.name) - 1);
    // Copied as bytes: the caller's buffer need not be aligned for the structure.
    std::memcpy(buffer, &metadata, sizeof(metadata));
}

int64_t driverInformation(int32_t kind) {
    switch (kind) {
        case DRAVIK_REFERENCE_INFO_METADATA_SIZE:
            return sizeof(dravik_reference_device_metadata);
        case DRAVIK_REFERENCE_INFO_DEVICE_TYPES:
            return sizeof(kDevices) / sizeof(kDevices[0]);
        case DRAVIK_REFERENCE_INFO_DRIVER_VERSION:
            return DRAVIK_REFERENCE_DRIVER_VERSION;
        case DRAVIK_REFERENCE_INFO_MEMORY_CAPACITY:
            return DRAVIK_REFERENCE_DEVICE_MEMORY_CAPACITY;
        case DRAVIK_REFERENCE_INFO_MAX_ALLOCATION_SIZE:
            return DRAVIK_REFERENCE_MAX_ALLOCATION_SIZE;
        case DRAVIK_REFERENCE_INFO_DEFAULT_ALIGNMENT:
            return DRAVIK_REFERENCE_DEFAULT_ALIGNMENT;
        default:
            failWith(EINVAL);
    }
}

}  // namespace dravik::reference
