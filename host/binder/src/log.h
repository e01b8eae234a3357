// Diagnostics of the runtime, through liblog under the platform's tag.
#pragma once

namespace host_binder {

// Logs an error: a caller passed something the runtime refuses, or a peer sent something it
// cannot use. The message says which function refused what.
void logError(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Logs a warning: something unusual that the runtime handled.
void logWarning(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace host_binder
