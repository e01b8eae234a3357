#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tessaro_daemon {

struct DaemonOptions {
    // A build.prop-style file; without one the embedded defaults apply.
    std::optional<std::string> properties_file;
    std::string library = "libTessaroDravikAidlServer.so";
    uint32_t threads = 4;
};

// Parses the command line; on a bad one, error names the problem and the result is empty.
std::optional<DaemonOptions> parseDaemonOptions(int argc, char** argv, std::string* error);

extern const char* const kDaemonUsage;

}  // namespace tessaro_daemon
