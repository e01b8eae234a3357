// The device's address space, shared by all sessions: hands out aligned, non-overlapping ranges
// and keeps the device memory capacity. A range is held by a DeviceAddressRange and returned when
// that goes.
#pragma once

#include <cstdint>

namespace dravik::reference {

enum class CapacityUse { kCounted, kNotCounted };

class DeviceAddressRange {
  public:
    DeviceAddressRange() = default;
    ~DeviceAddressRange();
    DeviceAddressRange(DeviceAddressRange&& other) noexcept;
    DeviceAddressRange& operator=(DeviceAddressRange&& other) noexcept;
    DeviceAddressRange(const DeviceAddressRange&) = delete;
    DeviceAddressRange& operator=(const DeviceAddressRange&) = delete;

    uint64_t address() const { return address_; }
    uint64_t size() const { return size_; }

  private:
    friend DeviceAddressRange reserveDeviceAddressRange(uint64_t, uint64_t, CapacityUse);
    DeviceAddressRange(uint64_t address, uint64_t size, CapacityUse capacity_use)
        : address_(address), size_(size), capacity_use_(capacity_use) {}
    void giveBack();

    uint64_t address_ = 0;
    uint64_t size_ = 0;
    CapacityUse capacity_use_ = CapacityUse::kNotCounted;
};

// alignment is a power of two. Throws DriverError(ENOMEM) when the capacity would be exceeded (for
// counted ranges) or no free range fits.
DeviceAddressRange reserveDeviceAddressRange(uint64_t size, uint64_t alignment,
                                             CapacityUse capacity_use);

}  // namespace dravik::reference
