// The atrace functions of <cutils/trace.h> that its inline functions call, writing the
// platform's markers through the process's trace state.
#include <cutils/trace.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "trace_state.h"

using host_trace::kMaximumMarkerLength;
using host_trace::TraceState;

namespace {

// Writes "<phase>|<pid>" followed by "|<name>" when there is a name and by suffix, the name cut
// so that the whole fits the platform's limit.
void writeMarker(char phase, const char* name, const char* suffix) {
    char marker[kMaximumMarkerLength + 1];
    const int prefix_length = snprintf(marker, sizeof(marker), "%c|%d", phase, getpid());
    size_t length = static_cast<size_t>(prefix_length);
    const size_t suffix_length = strlen(suffix);
    if (name != nullptr) {
        marker[length++] = '|';
        const size_t name_length = strnlen(name, kMaximumMarkerLength - length - suffix_length);
        memcpy(marker + length, name, name_length);
        length += name_length;
    }
    memcpy(marker + length, suffix, suffix_length);
    length += suffix_length;
    TraceState::instance().write(marker, length);
}

void writeValueMarker(char phase, const char* name, int64_t value) {
    char suffix[24];
    snprintf(suffix, sizeof(suffix), "|%" PRId64, value);
    writeMarker(phase, name == nullptr ? "" : name, suffix);
}

}  // namespace

extern "C" void atrace_init() {
    TraceState::instance();
}

extern "C" uint64_t atrace_get_enabled_tags() {
    return TraceState::instance().enabledTags();
}

extern "C" void atrace_update_tags() {
    TraceState::instance().updateTags();
}

extern "C" void atrace_begin_body(const char* name) {
    writeMarker('B', name == nullptr ? "" : name, "");
}

extern "C" void atrace_end_body() {
    writeMarker('E', nullptr, "");
}

extern "C" void atrace_async_begin_body(const char* name, int32_t cookie) {
    writeValueMarker('S', name, cookie);
}

extern "C" void atrace_async_end_body(const char* name, int32_t cookie) {
    writeValueMarker('F', name, cookie);
}

extern "C" void atrace_int_body(const char* name, int32_t value) {
    writeValueMarker('C', name, value);
}

extern "C" void atrace_int64_body(const char* name, int64_t value) {
    writeValueMarker('C', name, value);
}
