#include "MappedMemory.h"

#include <sys/mman.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace tessaro_workload {

MappedMemory::MappedMemory(const ndk::ScopedFileDescriptor& fd, size_t size) : size_(size) {
    if (fd.get() < 0 || size == 0) {
        error_ = "no descriptor to map";
        return;
    }
    void* address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
    if (address == MAP_FAILED) {
        error_ = std::string("cannot map the memory: ") + std::strerror(errno);
        return;
    }
    address_ = address;
}

MappedMemory::~MappedMemory() {
    unmap();
}

MappedMemory::MappedMemory(MappedMemory&& other) noexcept
    : address_(std::exchange(other.address_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      error_(std::move(other.error_)) {}

MappedMemory& MappedMemory::operator=(MappedMemory&& other) noexcept {
    if (this != &other) {
        unmap();
        address_ = std::exchange(other.address_, nullptr);
        size_ = std::exchange(other.size_, 0);
        error_ = std::move(other.error_);
    }
    return *this;
}

void MappedMemory::unmap() {
    if (address_ != nullptr) munmap(address_, size_);
    address_ = nullptr;
}

}  // namespace tessaro_workload
