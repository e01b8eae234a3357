// Allocations and command buffers: a memfd of the asked size, mapped into the driver, with a
// device address range counted against the device memory capacity.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "DriverError.h"
#include "MemoryFactory.h"
#include "dravik_reference_driver.h"

namespace dravik::reference {

namespace {

// memfd names are limited (249 bytes); the tail of a long object name is left out there only.
constexpr std::size_t kMemfdNameLength = 200;

bool isPowerOfTwo(int64_t value) {
    return value > 0 && (value & (value - 1)) == 0;
}

uint64_t checkedAlignment(int64_t alignment) {
    if (alignment == 0) return DRAVIK_REFERENCE_DEFAULT_ALIGNMENT;
    require(isPowerOfTwo(alignment) && alignment <= DRAVIK_REFERENCE_MAX_ALIGNMENT, EINVAL);
    return static_cast<uint64_t>(alignment);
}

void checkRequest(const AllocationRequest& request) {
    require(request.name != nullptr, EINVAL);
    require(std::strlen(request.name) <= DRAVIK_REFERENCE_MAX_NAME_LENGTH, ENAMETOOLONG);
    if (request.kind == MemoryKind::kAllocation) {
        require(request.mem_type == DRAVIK_REFERENCE_MEM_TYPE_SHAREABLE ||
                        request.mem_type == DRAVIK_REFERENCE_MEM_TYPE_PRIVATE,
                EINVAL);
    }
    require(request.size > 0, EINVAL);
    require(request.size <= DRAVIK_REFERENCE_MAX_ALLOCATION_SIZE, ENOMEM);
}

UniqueDescriptor createBackingFile(const AllocationRequest& request) {
    const std::string memfd_name =
            (request.kind == MemoryKind::kCommandBuffer ? "dravik-cmdbuf:" : "dravik-mem:") +
            std::string(request.name).substr(0, kMemfdNameLength);
    UniqueDescriptor descriptor(memfd_create(memfd_name.c_str(), MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!descriptor.valid()) failWithSystemError();
    descriptor = keepAboveStandardStreams(std::move(descriptor));
    if (ftruncate(descriptor.get(), request.size) != 0) failWithSystemError();
    // Whoever holds the shared descriptor cannot shrink the file under the driver's mapping, where
    // a run's access would then fault the whole process.
    if (fcntl(descriptor.get(), F_ADD_SEALS, F_SEAL_SHRINK) != 0) failWithSystemError();
    return descriptor;
}

}  // namespace

std::shared_ptr<MemoryObject> allocateMemory(const AllocationRequest& request) {
    checkRequest(request);
    const uint64_t alignment = checkedAlignment(request.alignment);
    const uint64_t size = static_cast<uint64_t>(request.size);

    // The device range first: it is the cheap refusal when the capacity is used up.
    DeviceAddressRange device_range =
            reserveDeviceAddressRange(size, alignment, CapacityUse::kCounted);
    UniqueDescriptor descriptor = createBackingFile(request);
    HostMapping mapping = HostMapping::map(descriptor.get(), size);

    MemoryDescription description;
    description.kind = request.kind;
    description.size = size;
    description.alignment = alignment;
    description.mem_type = request.kind == MemoryKind::kAllocation ? request.mem_type : 0;
    description.flag = request.flag;
    description.extra = request.extra;
    description.name = request.name;
    return std::make_shared<MemoryObject>(std::move(description), std::move(descriptor),
                                          std::move(mapping), std::move(device_range));
}

}  // namespace dravik::reference
