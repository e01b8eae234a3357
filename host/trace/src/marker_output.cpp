#include "marker_output.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "host_trace.h"

namespace host_trace {
namespace {

constexpr const char* kTraceMarkers[] = {"/sys/kernel/tracing/trace_marker",
                                         "/sys/kernel/debug/tracing/trace_marker"};
constexpr char kFileHeader[] = "# tracer: nop\n#\n";

std::string failure(const char* path) {
    return std::string(path) + ": " + strerror(errno);
}

// A file that other processes may be appending to as well gets the header only while empty.
void writeHeaderIfEmpty(int descriptor) {
    struct stat status;
    if (fstat(descriptor, &status) == 0 && status.st_size == 0) {
        (void)!::write(descriptor, kFileHeader, sizeof(kFileHeader) - 1);
    }
}

}  // namespace

std::unique_ptr<MarkerOutput> MarkerOutput::open(std::string* error) {
    const char* file = getenv(HOST_TRACE_MARKER_FILE_VARIABLE);
    if (file != nullptr && file[0] != '\0') {
        const int descriptor = ::open(file, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
        if (descriptor < 0) {
            *error = failure(file) + " (named by " HOST_TRACE_MARKER_FILE_VARIABLE ")";
            return nullptr;
        }
        writeHeaderIfEmpty(descriptor);
        return std::unique_ptr<MarkerOutput>(new MarkerOutput(descriptor, false));
    }
    error->clear();
    for (const char* path : kTraceMarkers) {
        const int descriptor = ::open(path, O_WRONLY | O_CLOEXEC);
        if (descriptor >= 0)
            return std::unique_ptr<MarkerOutput>(new MarkerOutput(descriptor, true));
        *error += (error->empty() ? "" : "; ") + failure(path);
    }
    return nullptr;
}

MarkerOutput::~MarkerOutput() {
    close(descriptor_);
}

void MarkerOutput::write(const char* marker, size_t length) const {
    if (stamped_by_kernel_) {
        (void)!::write(descriptor_, marker, length);
        return;
    }
    char thread_name[17] = {};
    if (prctl(PR_GET_NAME, thread_name) != 0) strcpy(thread_name, "<...>");
    const int cpu = sched_getcpu();
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    char line[kMaximumMarkerLength + 256];
    const int written = snprintf(
            line, sizeof(line),
            "%s-%d (%d) [%03d] .... %" PRId64 ".%06ld: tracing_mark_write: %.*s\n", thread_name,
            gettid(), getpid(), cpu < 0 ? 0 : cpu, static_cast<int64_t>(now.tv_sec),
            now.tv_nsec / 1000, static_cast<int>(length), marker);
    if (written <= 0) return;
    // One write per line, so that lines of several threads and processes never interleave.
    (void)!::write(descriptor_, line, std::min(static_cast<size_t>(written), sizeof(line) - 1));
}

}  // namespace host_trace
