#include "SampleOptions.h"

#include <cstdlib>
#include <sstream>

namespace tessaro_workload {

const char* const kSampleUsage =
        "usage: tessaro_sample_workload [--layers W,W,...] [--batch N] [--runs N] [--fenced-runs N]\n"
        "  Runs a multi-layer perceptron through the running service, checks its answers against\n"
        "  a plain CPU computation, and reports latency, throughput and the service's share of\n"
        "  the time. Exits non-zero when anything failed.\n"
        "  --layers W,W,...   input width, then each layer's width (default 784,512,256,10)\n"
        "  --batch N          rows per inference batch, 1 to 1024 (default 32)\n"
        "  --runs N           timed cached runs, 1 to 100000 (default 200)\n"
        "  --fenced-runs N    timed fenced runs, 0 to 100000 (default 50)\n"
        "  The service is looked up in $TESSARO_BINDER_DIR when set.\n";

namespace {

bool parseNumber(const std::string& text, int low, int high, int* value) {
    char* end = nullptr;
    const long number = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || number < low || number > high) return false;
    *value = static_cast<int>(number);
    return true;
}

bool parseWidths(const std::string& text, std::vector<int>* widths) {
    std::vector<int> parsed;
    std::istringstream parts(text);
    std::string part;
    while (std::getline(parts, part, ',')) {
        int width = 0;
        if (!parseNumber(part, 1, 8192, &width)) return false;
        parsed.push_back(width);
    }
    if (parsed.size() < 2) return false;
    *widths = parsed;
    return true;
}

}  // namespace

std::optional<SampleOptions> parseSampleOptions(int argc, char** argv, std::string* error) {
    SampleOptions options;
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
        const std::string value = argv[++index];
        bool good = false;
        if (option == "--layers") {
            good = parseWidths(value, &options.widths);
        } else if (option == "--batch") {
            good = parseNumber(value, 1, 1024, &options.batch);
        } else if (option == "--runs") {
            good = parseNumber(value, 1, 100000, &options.cached_runs);
        } else if (option == "--fenced-runs") {
            good = parseNumber(value, 0, 100000, &options.fenced_runs);
        } else {
            *error = "unknown option: " + option;
            return std::nullopt;
        }
        if (!good) {
            *error = "bad value for " + option + ": '" + value + "'";
            return std::nullopt;
        }
    }
    return options;
}

}  // namespace tessaro_workload
