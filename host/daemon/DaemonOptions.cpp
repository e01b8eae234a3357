#include "DaemonOptions.h"

#include <cstdlib>
#include <cstring>

namespace tessaro_daemon {

const char* const kDaemonUsage =
        "usage: tessaro_dravik_daemon [--properties FILE] [--library NAME] [--threads N]\n"
        "  Loads the service library, starts it and serves its clients until SIGTERM or SIGINT.\n"
        "  --properties FILE  system properties (key=value lines); without it the service is\n"
        "                     enabled with every other property at its default\n"
        "  --library NAME     the service library to load (default libTessaroDravikAidlServer.so)\n"
        "  --threads N        binder threads serving clients, 1 to 64 (default 4)\n"
        "  The service directory is $TESSARO_BINDER_DIR when set.\n";

std::optional<DaemonOptions> parseDaemonOptions(int argc, char** argv, std::string* error) {
    DaemonOptions options;
    for (int index = 1; index < argc; ++index) {
        const std::string option = argv[index];
        if (option == "--help" || option == "-h") {
            *error = "";
            return std::nullopt;
        }
        if (index + 1 >= argc) {
            *error = "unknown option or missing value: " + option;
            return std::nullopt;
        }
        const char* value = argv[++index];
        if (option == "--properties") {
            options.properties_file = value;
        } else if (option == "--library") {
            options.library = value;
        } else if (option == "--threads") {
            char* end = nullptr;
            const long threads = std::strtol(value, &end, 10);
            if (*value == '\0' || *end != '\0' || threads < 1 || threads > 64) {
                *error = std::string("--threads takes a number from 1 to 64, not '") + value + "'";
                return std::nullopt;
            }
            options.threads = static_cast<uint32_t>(threads);
        } else {
            *error = "unknown option: " + option;
            return std::nullopt;
        }
    }
    return options;
}

}  // namespace tessaro_daemon
