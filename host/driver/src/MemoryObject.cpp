#include "MemoryObject.h"

#include <sys/stat.h>

#include <utility>

#include "DriverError.h"
#include "dravik_reference_driver.h"

namespace dravik::reference {

namespace {

LiveObjectKind liveObjectKind(MemoryKind kind) {
    return kind == MemoryKind::kCommandBuffer ? LiveObjectKind::kCommandBuffer
                                              : LiveObjectKind::kMemoryObject;
}

int64_t objectKindAnswer(MemoryKind kind) {
    switch (kind) {
        case MemoryKind::kAllocation:
            return DRAVIK_REFERENCE_OBJECT_KIND_ALLOCATION;
        case MemoryKind::kImport:
            return DRAVIK_REFERENCE_OBJECT_KIND_IMPORT;
        case MemoryKind::kCommandBuffer:
            return DRAVIK_REFERENCE_OBJECT_KIND_COMMAND_BUFFER;
    }
    return 0;
}

}  // namespace

MemoryObject::MemoryObject(MemoryDescription description, UniqueDescriptor descriptor,
                           HostMapping mapping, DeviceAddressRange device_range)
    : live_token_(liveObjectKind(description.kind)),
      description_(std::move(description)),
      descriptor_(std::move(descriptor)),
      mapping_(std::move(mapping)),
      device_range_(std::move(device_range)) {}

bool MemoryObject::shareable() const {
    return description_.kind != MemoryKind::kAllocation ||
           description_.mem_type == DRAVIK_REFERENCE_MEM_TYPE_SHAREABLE;
}

bool MemoryObject::fileHoldsMapping() const {
    if (description_.kind != MemoryKind::kImport) return true;
    struct stat status {};
    if (fstat(descriptor_.get(), &status) != 0) return false;
    return !S_ISREG(status.st_mode) || static_cast<uint64_t>(status.st_size) >= description_.size;
}

int64_t MemoryObject::information(int32_t kind) const {
    switch (kind) {
        case DRAVIK_REFERENCE_MEM_INFO_SIZE:
            return static_cast<int64_t>(description_.size);
        case DRAVIK_REFERENCE_MEM_INFO_SHAREABLE_DESCRIPTOR:
            return shareable() ? descriptor_.get() : 0;
        case DRAVIK_REFERENCE_MEM_INFO_DEVICE_ADDRESS:
            return static_cast<int64_t>(deviceAddress());
        case DRAVIK_REFERENCE_MEM_INFO_HOST_ADDRESS:
            return static_cast<int64_t>(reinterpret_cast<uintptr_t>(hostAddress()));
        case DRAVIK_REFERENCE_MEM_INFO_OBJECT_KIND:
            return objectKindAnswer(description_.kind);
        case DRAVIK_REFERENCE_MEM_INFO_MEM_TYPE:
            return description_.mem_type;
        case DRAVIK_REFERENCE_MEM_INFO_FLAG:
            return description_.flag;
        case DRAVIK_REFERENCE_MEM_INFO_ALIGNMENT:
            return static_cast<int64_t>(description_.alignment);
        case DRAVIK_REFERENCE_MEM_INFO_EXTRA:
            return description_.extra;
        case DRAVIK_REFERENCE_MEM_INFO_USER_TAG:
            return user_tag_.load();
        case DRAVIK_REFERENCE_MEM_INFO_CACHE_MODE:
            return cache_mode_.load();
        default:
            failWith(EINVAL);
    }
}

void MemoryObject::setParameter(int32_t kind, int64_t value) {
    switch (kind) {
        case DRAVIK_REFERENCE_MEM_PARAM_USER_TAG:
            user_tag_.store(value);
            return;
        case DRAVIK_REFERENCE_MEM_PARAM_CACHE_MODE:
            require(value == DRAVIK_REFERENCE_CACHE_MODE_CACHED ||
                            value == DRAVIK_REFERENCE_CACHE_MODE_UNCACHED,
                    EINVAL);
            cache_mode_.store(value);
            return;
        default:
            failWith(EINVAL);
    }
}

}  // namespace dravik::reference
