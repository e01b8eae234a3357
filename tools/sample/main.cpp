// The sample workload, as a client process of the running service: a multi-layer perceptron
// inference over batches, checked and timed.
#include <cstdio>

#include "SampleOptions.h"
#include "SampleWorkload.h"
#include "ServiceConnection.h"

int main(int argc, char** argv) {
    std::string error;
    const auto options = tessaro_workload::parseSampleOptions(argc, argv, &error);
    if (!options) {
        std::fprintf(error.empty() ? stdout : stderr, "%s%s%s", error.c_str(),
                     error.empty() ? "" : "\n", tessaro_workload::kSampleUsage);
        return error.empty() ? 0 : 2;
    }
    const auto service = tessaro_workload::connectToService(&error);
    if (service == nullptr) {
        std::fprintf(stderr, "tessaro_sample_workload: %s\n", error.c_str());
        return 1;
    }
    return tessaro_workload::runSampleWorkload(service, *options);
}
