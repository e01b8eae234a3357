#include "UniqueDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "DriverError.h"

namespace dravik::reference {

namespace {
constexpr int kFirstDescriptorAfterStandardStreams = 3;
}  // namespace

UniqueDescriptor& UniqueDescriptor::operator=(UniqueDescriptor&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
}

int UniqueDescriptor::release() {
    return std::exchange(descriptor_, -1);
}

void UniqueDescriptor::reset(int descriptor) {
    const int previous = std::exchange(descriptor_, descriptor);
    if (previous >= 0) close(previous);
}

UniqueDescriptor duplicateDescriptor(int descriptor) {
    require(descriptor >= 0, EBADF);
    const int duplicate = fcntl(descriptor, F_DUPFD_CLOEXEC, kFirstDescriptorAfterStandardStreams);
    if (duplicate < 0) failWithSystemError();
    return UniqueDescriptor(duplicate);
}

UniqueDescriptor keepAboveStandardStreams(UniqueDescriptor descriptor) {
    if (descriptor.get() >= kFirstDescriptorAfterStandardStreams) return descriptor;
    return duplicateDescriptor(descriptor.get());
}

}  // namespace dravik::reference
