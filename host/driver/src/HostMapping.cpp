#include "HostMapping.h"

#include <sys/mman.h>

#include <utility>

#include "DriverError.h"

namespace dravik::reference {

HostMapping HostMapping::map(int descriptor, std::size_t size) {
    void* address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (address == MAP_FAILED) failWithSystemError();
    return HostMapping(address, size);
}

HostMapping::~HostMapping() {
    unmap();
}

HostMapping::HostMapping(HostMapping&& other) noexcept
    : address_(std::exchange(other.address_, nullptr)), size_(std::exchange(other.size_, 0)) {}

HostMapping& HostMapping::operator=(HostMapping&& other) noexcept {
    if (this != &other) {
        unmap();
        address_ = std::exchange(other.address_, nullptr);
        size_ = std::exchange(other.size_, 0);
    }
    return *this;
}

void HostMapping::unmap() {
    if (address_ != nullptr) munmap(address_, size_);
    address_ = nullptr;
    size_ = 0;
}

}  // namespace dravik::reference
