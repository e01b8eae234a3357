#include "ServiceState.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace tessaro_fuzz {

namespace {

[[noreturn]] void failDump(const char* reason) {
    std::fprintf(stderr, "the service's dump could not be read: %s\n", reason);
    std::abort();
}

std::string dumpText(aidl::vendor::korvane::hardware::tessaro::dravik::TovanDravik& service) {
    ndk::ScopedFileDescriptor file(memfd_create("dump", MFD_CLOEXEC));
    if (file.get() < 0) failDump("no memfd");
    if (service.dump(file.get(), nullptr, 0) != STATUS_OK) failDump("dump failed");
    std::string text;
    char buffer[4096];
    off_t offset = 0;
    for (;;) {
        const ssize_t length = pread(file.get(), buffer, sizeof(buffer), offset);
        if (length < 0) failDump("read failed");
        if (length == 0) break;
        text.append(buffer, static_cast<size_t>(length));
        offset += length;
    }
    return text;
}

// The number after prefix on the line that starts with it (after indentation).
bool numberAfter(const std::string& line, const std::string& prefix, size_t* value) {
    const size_t start = line.find_first_not_of(' ');
    if (start == std::string::npos || line.compare(start, prefix.size(), prefix) != 0) return false;
    *value = std::strtoull(line.c_str() + start + prefix.size(), nullptr, 10);
    return true;
}

}  // namespace

FiledCounts filedCounts(aidl::vendor::korvane::hardware::tessaro::dravik::TovanDravik& service) {
    FiledCounts counts;
    counts.text = dumpText(service);
    std::istringstream lines(counts.text);
    std::string line;
    bool in_sessions = false;
    bool seen_memory = false;
    while (std::getline(lines, line)) {
        size_t value = 0;
        if (numberAfter(line, "sessions: ", &counts.sessions)) {
            in_sessions = true;
        } else if (numberAfter(line, "memory entries: ", &counts.memory)) {
            in_sessions = false;
            seen_memory = true;
            const size_t shared = line.find("(shared: ");
            if (shared == std::string::npos) failDump("no shared memory count");
            counts.shared_memory = std::strtoull(line.c_str() + shared + 9, nullptr, 10);
        } else if (numberAfter(line, "command buffer entries: ", &counts.command_buffers) ||
                   numberAfter(line, "command entries: ", &counts.commands) ||
                   numberAfter(line, "sub-command entries: ", &counts.sub_commands) ||
                   numberAfter(line, "typed runs in the driver: ", &counts.typed_runs) ||
                   numberAfter(line, "callbacks: ", &counts.callbacks)) {
            in_sessions = false;
        } else if (in_sessions && numberAfter(line, "pid ", &value)) {
            ++counts.client_lists;
        }
    }
    if (!seen_memory) failDump("no memory line");
    return counts;
}

}  // namespace tessaro_fuzz
