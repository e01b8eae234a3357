#pragma once

// Test-side definitions of platform functions that take precedence over the libraries' own, so a
// test can read what the service logged, see how it registered, and answer property reads itself.

#include <android/binder_status.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform_recorder {

struct LogLine {
    int priority;
    std::string tag;
    std::string text;
};

struct Registration {
    bool lazy;
    std::string instance;
};

std::vector<LogLine> logLines();
// The lines with exactly this text.
std::vector<LogLine> logLinesWithText(const std::string& text);
std::vector<Registration> registrations();

// A registration answers this result instead of reaching the service manager.
void failRegistrations(binder_status_t result);
// A property read of key answers value verbatim, even an empty one.
void overrideProperty(const std::string& key, const std::string& value);

// Forgets lines, registrations, failures and overrides.
void reset();

}  // namespace platform_recorder
