#include "trace_state.h"

#include <android/log.h>
#include <cutils/properties.h>
#include <cutils/trace.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "host_trace.h"

namespace host_trace {
namespace {

constexpr const char* kLogTag = "cutils-trace";

// The tags the property enables; none when it is unset or is not a whole number.
uint64_t readEnabledTags() {
    char value[PROPERTY_VALUE_MAX];
    if (property_get(HOST_TRACE_TAGS_PROPERTY, value, "") == 0) return 0;
    errno = 0;
    char* end = nullptr;
    const unsigned long long tags = strtoull(value, &end, 0);
    if (!isdigit(static_cast<unsigned char>(value[0])) || errno != 0 || *end != '\0') {
        __android_log_print(ANDROID_LOG_WARN, kLogTag,
                            "%s is \"%s\", not a number: no trace tag is enabled",
                            HOST_TRACE_TAGS_PROPERTY, value);
        return 0;
    }
    return tags & ATRACE_TAG_VALID_MASK;
}

}  // namespace

TraceState& TraceState::instance() {
    static TraceState* const state = new TraceState();
    return *state;
}

void TraceState::updateTags() {
    std::lock_guard<std::mutex> guard(update_lock_);
    uint64_t tags = readEnabledTags();
    if (tags != 0 && owned_output_ == nullptr) {
        std::string error;
        owned_output_ = MarkerOutput::open(&error);
        if (owned_output_ == nullptr) {
            if (!told_output_failure_) {
                __android_log_print(ANDROID_LOG_WARN, kLogTag,
                                    "trace sections are off: cannot open a marker output: %s",
                                    error.c_str());
                told_output_failure_ = true;
            }
            tags = 0;
        }
        output_.store(owned_output_.get(), std::memory_order_release);
    }
    enabled_tags_.store(tags, std::memory_order_relaxed);
}

void TraceState::write(const char* marker, size_t length) const {
    const MarkerOutput* output = output_.load(std::memory_order_acquire);
    if (output != nullptr) output->write(marker, length);
}

}  // namespace host_trace
