// A shared read-write mapping of a descriptor into the driver's address space: the host memory
// that runs read and write. Unmapped when its owner goes.
#pragma once

#include <cstddef>

namespace dravik::reference {

class HostMapping {
  public:
    // Throws DriverError with mmap's errno.
    static HostMapping map(int descriptor, std::size_t size);

    HostMapping() = default;
    ~HostMapping();
    HostMapping(HostMapping&& other) noexcept;
    HostMapping& operator=(HostMapping&& other) noexcept;
    HostMapping(const HostMapping&) = delete;
    HostMapping& operator=(const HostMapping&) = delete;

    void* address() const { return address_; }
    std::size_t size() const { return size_; }

  private:
    HostMapping(void* address, std::size_t size) : address_(address), size_(size) {}
    void unmap();

    void* address_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace dravik::reference
