// What the tests of programs share: fp32 device memory to read and write from the test, and
// commands whose sub-commands each run one program.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "DriverTestSupport.h"

namespace dravik_test {

// An allocation of count floats, seen through the driver's host mapping.
struct Floats {
    dravik_mem* memory = nullptr;
    float* host = nullptr;
    uint64_t address = 0;  // device address
    std::size_t count = 0;

    uint64_t at(std::size_t element) const { return address + element * sizeof(float); }
    std::vector<float> values() const { return {host, host + count}; }
    void set(const std::vector<float>& values) const;
};
Floats allocateFloats(dravik_session* session, std::size_t count);

struct ProgramCommand {
    dravik_cmd* command = nullptr;
    std::vector<dravik_subcmd*> sub_commands;
    std::vector<dravik_mem*> buffers;  // one per sub-command, sized for its program
};
// A built command with one sub-command per program (vector engines), the edges (before, after)
// given by position.
ProgramCommand makeProgramCommand(dravik_session* session,
                                  const std::vector<dravik_reference::Program>& programs,
                                  const std::vector<std::pair<int, int>>& edges = {});

// Deterministic values in [-1, 1).
std::vector<float> pseudoRandom(std::size_t count, uint32_t seed);

}  // namespace dravik_test
