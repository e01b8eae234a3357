#include "DeviceAddressSpace.h"

#include <map>
#include <mutex>
#include <utility>

#include "DriverError.h"
#include "dravik_reference_driver.h"

namespace dravik::reference {

namespace {

struct AddressSpaceState {
    std::mutex mutex;
    std::map<uint64_t, uint64_t> used_ranges;  // start -> end (exclusive)
    uint64_t counted_bytes = 0;
};

// Never destroyed: ranges may be given back by objects that outlive static destruction.
AddressSpaceState& state() {
    static auto* address_space = new AddressSpaceState;
    return *address_space;
}

uint64_t alignUp(uint64_t value, uint64_t alignment) {
    return (value + alignment - 1) & ~(alignment - 1);
}

// First fit: the lowest aligned start whose range meets no used range.
uint64_t findFreeStart(const std::map<uint64_t, uint64_t>& used_ranges, uint64_t size,
                       uint64_t alignment) {
    uint64_t candidate = alignUp(DRAVIK_REFERENCE_DEVICE_ADDRESS_BASE, alignment);
    for (const auto& [start, end] : used_ranges) {
        if (candidate + size <= start) break;
        if (end > candidate) candidate = alignUp(end, alignment);
    }
    require(candidate + size <= DRAVIK_REFERENCE_DEVICE_ADDRESS_LIMIT, ENOMEM);
    return candidate;
}

}  // namespace

DeviceAddressRange reserveDeviceAddressRange(uint64_t size, uint64_t alignment,
                                             CapacityUse capacity_use) {
    AddressSpaceState& address_space = state();
    std::lock_guard<std::mutex> lock(address_space.mutex);
    if (capacity_use == CapacityUse::kCounted) {
        require(address_space.counted_bytes + size <=
                        static_cast<uint64_t>(DRAVIK_REFERENCE_DEVICE_MEMORY_CAPACITY),
                ENOMEM);
    }
    const uint64_t start = findFreeStart(address_space.used_ranges, size, alignment);
    address_space.used_ranges.emplace(start, start + size);
    if (capacity_use == CapacityUse::kCounted) address_space.counted_bytes += size;
    return DeviceAddressRange(start, size, capacity_use);
}

DeviceAddressRange::~DeviceAddressRange() {
    giveBack();
}

DeviceAddressRange::DeviceAddressRange(DeviceAddressRange&& other) noexcept
    : address_(std::exchange(other.address_, 0)),
      size_(std::exchange(other.size_, 0)),
      capacity_use_(other.capacity_use_) {}

DeviceAddressRange& DeviceAddressRange::operator=(DeviceAddressRange&& other) noexcept {
    if (this != &other) {
        giveBack();
        address_ = std::exchange(other.address_, 0);
        size_ = std::exchange(other.size_, 0);
        capacity_use_ = other.capacity_use_;
    }
    return *this;
}

void DeviceAddressRange::giveBack() {
    if (address_ == 0) return;
    AddressSpaceState& address_space = state();
    std::lock_guard<std::mutex> lock(address_space.mutex);
    address_space.used_ranges.erase(address_);
    if (capacity_use_ == CapacityUse::kCounted) address_space.counted_bytes -= size_;
    address_ = 0;
    size_ = 0;
}

}  // namespace dravik::reference
