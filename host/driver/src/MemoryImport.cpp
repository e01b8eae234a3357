// Imports: the caller's descriptor duplicated and mapped, its size checked against the file.
#include <sys/stat.h>
#include <unistd.h>

#include "DriverError.h"
#include "MemoryFactory.h"
#include "dravik_reference_driver.h"

namespace dravik::reference {

namespace {

// Regular files and memfds tell their size through fstat; dma-bufs and other mappable special
// files through seeking to their end.
int64_t fileSize(int descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) failWithSystemError();
    if (S_ISREG(status.st_mode)) return status.st_size;
    // The offset is shared with the caller's descriptor: put back as found.
    const off_t offset = lseek(descriptor, 0, SEEK_CUR);
    const off_t end = lseek(descriptor, 0, SEEK_END);
    require(offset >= 0 && end >= 0, EINVAL);
    lseek(descriptor, offset, SEEK_SET);
    return end;
}

}  // namespace

std::shared_ptr<MemoryObject> importMemory(const ImportRequest& request) {
    require(request.descriptor >= 0, EBADF);
    require(request.size > 0, EINVAL);
    require(request.size <= DRAVIK_REFERENCE_MAX_ALLOCATION_SIZE, ENOMEM);
    // Duplicated first: checking and mapping the driver's own copy cannot race with the caller
    // closing theirs.
    UniqueDescriptor descriptor = duplicateDescriptor(request.descriptor);
    require(request.size <= fileSize(descriptor.get()), EINVAL);

    const uint64_t size = static_cast<uint64_t>(request.size);
    HostMapping mapping = HostMapping::map(descriptor.get(), size);
    DeviceAddressRange device_range = reserveDeviceAddressRange(
            size, DRAVIK_REFERENCE_DEFAULT_ALIGNMENT, CapacityUse::kNotCounted);

    MemoryDescription description;
    description.kind = MemoryKind::kImport;
    description.size = size;
    description.alignment = DRAVIK_REFERENCE_DEFAULT_ALIGNMENT;
    description.flag = request.flag;
    description.extra = request.extra;
    return std::make_shared<MemoryObject>(std::move(description), std::move(descriptor),
                                          std::move(mapping), std::move(device_range));
}

}  // namespace dravik::reference
