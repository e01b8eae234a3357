// A command-line client of the service, for people: what the devices are, a session's life, the
// sample workload, the service's own description of its state.
#include <cstdio>
#include <cstring>
#include <string>

#include "Commands.h"
#include "SampleWorkload.h"
#include "ServiceConnection.h"

namespace {

constexpr const char* kUsage =
        "usage: tessaro_client COMMAND\n"
        "  info      the accelerator's devices, as the driver reports them\n"
        "  session   one session's life, step by step\n"
        "  workload  the sample perceptron, small: checked against the CPU and timed\n"
        "  dump      the service's description of its state\n"
        "The service is looked up in $TESSARO_BINDER_DIR when set.\n";

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
        std::fputs(kUsage, argc == 2 ? stdout : stderr);
        return argc == 2 ? 0 : 2;
    }
    const std::string command = argv[1];
    if (command != "info" && command != "session" && command != "workload" && command != "dump") {
        std::fprintf(stderr, "tessaro_client: unknown command '%s'\n%s", command.c_str(), kUsage);
        return 2;
    }
    std::string error;
    const auto service = tessaro_workload::connectToService(&error);
    if (service == nullptr) {
        std::fprintf(stderr, "tessaro_client: %s\n", error.c_str());
        return 1;
    }
    if (command == "info") return tessaro_client::showDeviceInformation(*service);
    if (command == "session") return tessaro_client::showSessionLife(*service);
    if (command == "workload") {
        tessaro_workload::SampleOptions options;
        options.widths = {64, 32, 10};
        options.batch = 8;
        options.cached_runs = 20;
        options.fenced_runs = 5;
        return tessaro_workload::runSampleWorkload(service, options);
    }
    return tessaro_client::showServiceDump(*service);
}
