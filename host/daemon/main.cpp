// The hosting process of the service on a host: loads the service library, starts it on the
// main thread as the device's hosting process does, and serves clients on the binder thread pool
// until SIGTERM or SIGINT.
#include <android/binder_process.h>
#include <android/log.h>
#include <cutils/properties.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "DaemonOptions.h"
#include "hosting/ServiceLibrary.h"

namespace {

constexpr const char* kLogTag = "tessaro_daemon";

// Without a properties file the service is enabled; everything else keeps its default.
void applyProperties(const tessaro_daemon::DaemonOptions& options) {
    if (options.properties_file) {
        setenv("TESSARO_PROPERTIES_FILE", options.properties_file->c_str(), 1);
    } else if (getenv("TESSARO_PROPERTIES_FILE") == nullptr) {
        property_set("ro.vendor.qel_nn_baseline_support", "1");
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::string error;
    const auto options = tessaro_daemon::parseDaemonOptions(argc, argv, &error);
    if (!options) {
        std::fprintf(error.empty() ? stdout : stderr, "%s%s%s", error.c_str(),
                     error.empty() ? "" : "\n", tessaro_daemon::kDaemonUsage);
        return error.empty() ? 0 : 2;
    }
    // Blocked before any thread starts, so that every thread inherits the mask and the signals
    // reach only the wait below.
    sigset_t stop_signals;
    sigemptyset(&stop_signals);
    sigaddset(&stop_signals, SIGTERM);
    sigaddset(&stop_signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stop_signals, nullptr);

    applyProperties(*options);
    const tessaro_hosting::ServiceLibrary library(options->library);
    if (!library.loaded()) {
        __android_log_print(ANDROID_LOG_ERROR, kLogTag, "cannot load the service: %s",
                            library.error().c_str());
        return 1;
    }
    ABinderProcess_setThreadPoolMaxThreadCount(options->threads);
    library.start();
    ABinderProcess_startThreadPool();
    __android_log_print(ANDROID_LOG_INFO, kLogTag, "serving (pid %d, %u binder threads)", getpid(),
                        options->threads);

    int received = 0;
    sigwait(&stop_signals, &received);
    __android_log_print(ANDROID_LOG_INFO, kLogTag, "stopping on signal %d", received);
    // The service lives until the process ends, as on the device: nothing is torn down while the
    // pool threads may still be in a call.
    std::fflush(nullptr);
    _exit(0);
}
