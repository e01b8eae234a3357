// The vendor process that hosts the service on a device: it loads the service library, calls the
// library's start function on its main thread, and then serves binder calls on the thread pool,
// the main thread included, for the life of the process. The start function reads the system
// properties that decide whether the service registers, and whether lazily.
#include <android/binder_process.h>
#include <android/log.h>

#include <cstdlib>

#include "hosting/ServiceLibrary.h"

namespace {

constexpr const char* kLogTag = "tessaro_service";
// Calls block a binder thread for as long as the driver runs them, so the pool is wider than the
// platform's default of one thread.
constexpr uint32_t kBinderThreads = 8;

}  // namespace

int main() {
    ABinderProcess_setThreadPoolMaxThreadCount(kBinderThreads);
    const tessaro_hosting::ServiceLibrary library(tessaro_hosting::ServiceLibrary::kDefaultName);
    if (!library.loaded()) {
        __android_log_print(ANDROID_LOG_ERROR, kLogTag, "cannot load the service: %s",
                            library.error().c_str());
        return EXIT_FAILURE;
    }
    library.start();
    ABinderProcess_startThreadPool();
    ABinderProcess_joinThreadPool();
    return EXIT_FAILURE;  // the pool never lets the main thread go
}
