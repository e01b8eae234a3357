// Definitions of the platform's log functions that take precedence over liblog's in a fuzzer:
// every line is still formatted (so a bad format or argument is caught by the sanitizers) but only
// printed when TESSARO_FUZZ_LOG is set, since millions of executions would otherwise spend their
// time writing to stderr.
#include <android/log.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

bool printLines() {
    static const bool enabled = std::getenv("TESSARO_FUZZ_LOG") != nullptr;
    return enabled;
}

int emit(int priority, const char* tag, const char* format, va_list arguments) {
    if (format == nullptr) return 0;
    char line[1024];
    const int length = std::vsnprintf(line, sizeof(line), format, arguments);
    if (printLines())
        std::fprintf(stderr, "%d %s: %s\n", priority, tag == nullptr ? "" : tag, line);
    return length < 0 ? 0 : length;
}

}  // namespace

extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = emit(priority, tag, format, arguments);
    va_end(arguments);
    return length;
}

extern "C" int __android_log_vprint(int priority, const char* tag, const char* format,
                                    va_list arguments) {
    return emit(priority, tag, format, arguments);
}

extern "C" int __android_log_write(int priority, const char* tag, const char* text) {
    if (printLines())
        std::fprintf(stderr, "%d %s: %s\n", priority, tag == nullptr ? "" : tag,
                     text == nullptr ? "" : text);
    return 1;
}
