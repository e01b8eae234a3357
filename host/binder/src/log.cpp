#include "log.h"

#include <android/log.h>

#include <cstdarg>

namespace host_binder {

namespace {
constexpr const char* kLogTag = "libbinder_ndk";
}

void logError(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    __android_log_vprint(ANDROID_LOG_ERROR, kLogTag, format, arguments);
    va_end(arguments);
}

void logWarning(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    __android_log_vprint(ANDROID_LOG_WARN, kLogTag, format, arguments);
    va_end(arguments);
}

}  // namespace host_binder
