// The platform's log function, taking precedence over liblog's in a fuzzer (the service logs
// through it alone): every line is still formatted, so that a bad format or argument is caught by
// the sanitizers, but only printed when TESSARO_FUZZ_LOG is set, since millions of executions
// would otherwise spend their time writing to stderr.
#include <android/log.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...) {
    static const bool print = std::getenv("TESSARO_FUZZ_LOG") != nullptr;
    if (format == nullptr) return 0;
    char line[1024] = {};
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    if (print) std::fprintf(stderr, "%d %s: %s\n", priority, tag == nullptr ? "" : tag, line);
    return length < 0 ? 0 : length;
}
