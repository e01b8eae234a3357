#include <android/binder_ibinder.h>
#include <unistd.h>

#include <cstdio>

#include "Commands.h"

namespace tessaro_client {

int showServiceDump(ITovanDravik& service) {
    std::fflush(stdout);
    const binder_status_t status =
            AIBinder_dump(service.asBinder().get(), STDOUT_FILENO, nullptr, 0);
    if (status != STATUS_OK) {
        std::fprintf(stderr, "the service did not describe itself (status %d)\n", status);
        return 1;
    }
    return 0;
}

}  // namespace tessaro_client
