// Sequences of well-formed calls on the service over the reference driver (CallSequence.h), so
// that the registries, the run-with-type gate, the sweep of a session's deletion and the release
// of a crashed client's sessions meet each other in every order the fuzzer finds. The reference
// driver checks every handle it is given and counts its live objects, so a stale id that reaches
// it is refused rather than crashing, and whatever the service forgets to release shows.
//
// After each input every session it made is deleted and its shared memory unfiled; then the
// service's dump must show nothing filed, the driver must hold no more live objects than before,
// and no descriptor may be left open beyond those the service deliberately leaves open.
#include <dravik_reference_driver.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "ByteReader.h"
#include "CallSequence.h"
#include "Descriptors.h"
#include "ServiceState.h"
#include "service/DebugConfig.h"

namespace {

dravik_reference_live_counts baseline{};

[[noreturn]] void finding(const std::string& what, const std::string& detail = "") {
    std::fprintf(stderr, "\n==== call-sequence fuzzer finding: %s\n%s\n", what.c_str(),
                 detail.c_str());
    std::abort();
}

std::string describe(const dravik_reference_live_counts& counts) {
    return "sessions " + std::to_string(counts.sessions) + ", memory objects " +
           std::to_string(counts.memory_objects) + ", command buffers " +
           std::to_string(counts.command_buffers) + ", commands " +
           std::to_string(counts.commands) + ", sub-commands " +
           std::to_string(counts.sub_commands);
}

bool sameCounts(const dravik_reference_live_counts& a, const dravik_reference_live_counts& b) {
    return a.sessions == b.sessions && a.memory_objects == b.memory_objects &&
           a.command_buffers == b.command_buffers && a.commands == b.commands &&
           a.sub_commands == b.sub_commands;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    DEBUG_LOG_DRAVIK = 1;
    unsetenv("DRAVIK_MDW_FAIL");
    dravikReference_resetFailureInjection();
    dravikReference_getLiveCounts(&baseline);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto before = tessaro_fuzz::openDescriptors();
    std::multiset<tessaro_fuzz::FileIdentity> deliberately_open;
    {
        tessaro_fuzz::ByteReader input(data, size);
        tessaro_fuzz::CallSequence sequence(input);
        sequence.run();
        sequence.releaseEverything();
        const tessaro_fuzz::FiledCounts counts = tessaro_fuzz::filedCounts(sequence.service());
        if (!counts.empty()) {
            finding("entries left filed after every session was deleted", counts.text);
        }
        deliberately_open = sequence.deliberatelyOpen();
    }
    dravik_reference_live_counts live{};
    dravikReference_getLiveCounts(&live);
    if (!sameCounts(live, baseline)) {
        finding("driver objects left alive",
                "now: " + describe(live) + "\nbefore: " + describe(baseline));
    }
    std::string closed;
    for (int fd : tessaro_fuzz::descriptorsClosedSince(before)) {
        closed += std::to_string(fd) + " (now " + tessaro_fuzz::describeDescriptor(fd) + ")\n";
    }
    if (!closed.empty()) finding("descriptors of the process were closed", closed);
    std::string leaked;
    for (int fd : tessaro_fuzz::descriptorsOpenedSince(before)) {
        auto expected = deliberately_open.find(tessaro_fuzz::identityOf(fd));
        if (expected != deliberately_open.end()) {
            deliberately_open.erase(expected);
            close(fd);
            continue;
        }
        leaked += tessaro_fuzz::describeDescriptor(fd) + "\n";
    }
    if (!leaked.empty()) finding("descriptors left open", leaked);
    return 0;
}
