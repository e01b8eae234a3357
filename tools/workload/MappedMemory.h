// A client's view of device memory: the descriptor the service handed out, mapped shared, so
// that what the client writes the device reads, and what the device writes the client sees.
#pragma once

#include <android/binder_auto_utils.h>

#include <cstddef>
#include <string>

namespace tessaro_workload {

class MappedMemory {
  public:
    MappedMemory() = default;
    // Maps size bytes of fd for reading and writing. The mapping keeps the memory reachable after
    // the descriptor is closed; on failure valid() is false and error() says why.
    MappedMemory(const ndk::ScopedFileDescriptor& fd, size_t size);
    ~MappedMemory();
    MappedMemory(MappedMemory&& other) noexcept;
    MappedMemory& operator=(MappedMemory&& other) noexcept;
    MappedMemory(const MappedMemory&) = delete;
    MappedMemory& operator=(const MappedMemory&) = delete;

    bool valid() const { return address_ != nullptr; }
    const std::string& error() const { return error_; }
    size_t size() const { return size_; }

    template <typename T>
    T* as() const {
        return static_cast<T*>(address_);
    }

  private:
    void unmap();

    void* address_ = nullptr;
    size_t size_ = 0;
    std::string error_;
};

}  // namespace tessaro_workload
