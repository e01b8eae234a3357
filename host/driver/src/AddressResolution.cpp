#include "AddressResolution.h"

#include "DriverError.h"

namespace dravik::reference {

SessionMemoryMap::SessionMemoryMap(const std::vector<std::shared_ptr<MemoryObject>>& objects) {
    for (const auto& object : objects) {
        // Objects are taken out of the session before they are released, so a released one can
        // only be seen here if it went while the snapshot was taken.
        if (!object->released()) by_address_.emplace(object->deviceAddress(), object);
    }
}

uint8_t* SessionMemoryMap::resolve(const OperandRange& range) const {
    if (range.bytes == 0) return nullptr;
    // The object starting at or below the address; device ranges never overlap, so it is the only
    // one that can hold the range.
    auto found = by_address_.upper_bound(range.address);
    require(found != by_address_.begin(), EFAULT);
    --found;
    const MemoryObject& object = *found->second;
    const uint64_t offset = range.address - object.deviceAddress();
    require(offset < object.size() && range.bytes <= object.size() - offset, EFAULT);
    require(!range.fp32 || offset % sizeof(float) == 0, EINVAL);
    require(object.fileHoldsMapping(), EFAULT);
    return static_cast<uint8_t*>(object.hostAddress()) + offset;
}

}  // namespace dravik::reference
