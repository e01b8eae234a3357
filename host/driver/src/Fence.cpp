#include "Fence.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "DriverError.h"

namespace dravik::reference {

UniqueDescriptor createFence() {
    UniqueDescriptor fence(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!fence.valid()) failWithSystemError();
    return keepAboveStandardStreams(std::move(fence));
}

void signalFence(int fence) {
    // The count is never read back, so the fence stays readable.
    const uint64_t one = 1;
    while (write(fence, &one, sizeof(one)) < 0 && errno == EINTR) {
    }
}

FenceWait waitForFence(int fence, int cancel) {
    for (;;) {
        pollfd descriptors[2] = {{fence, POLLIN, 0}, {cancel, POLLIN, 0}};
        if (poll(descriptors, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return FenceWait::kFailed;
        }
        if ((descriptors[1].revents & POLLIN) != 0) return FenceWait::kCancelled;
        if ((descriptors[0].revents & POLLIN) != 0) return FenceWait::kSignalled;
        if ((descriptors[0].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
            return FenceWait::kFailed;
        }
    }
}

}  // namespace dravik::reference
