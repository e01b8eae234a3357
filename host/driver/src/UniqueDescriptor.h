// Ownership of one file descriptor: closed when its owner goes.
#pragma once

namespace dravik::reference {

class UniqueDescriptor {
  public:
    UniqueDescriptor() = default;
    explicit UniqueDescriptor(int descriptor) : descriptor_(descriptor) {}
    ~UniqueDescriptor() { reset(); }
    UniqueDescriptor(UniqueDescriptor&& other) noexcept : descriptor_(other.release()) {}
    UniqueDescriptor& operator=(UniqueDescriptor&& other) noexcept;
    UniqueDescriptor(const UniqueDescriptor&) = delete;
    UniqueDescriptor& operator=(const UniqueDescriptor&) = delete;

    int get() const { return descriptor_; }
    bool valid() const { return descriptor_ >= 0; }
    // Gives the descriptor up to the caller, who then closes it.
    int release();
    void reset(int descriptor = -1);

  private:
    int descriptor_ = -1;
};

// A close-on-exec duplicate numbered above the standard streams, so that no answer of the driver
// is 0 (which callers read as "no descriptor") or a stream. Throws DriverError(EBADF) when
// descriptor is not open.
UniqueDescriptor duplicateDescriptor(int descriptor);

// descriptor itself when it is above the standard streams, else such a duplicate of it.
UniqueDescriptor keepAboveStandardStreams(UniqueDescriptor descriptor);

}  // namespace dravik::reference
