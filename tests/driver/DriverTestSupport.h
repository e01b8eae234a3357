// What the reference driver's tests share: a session that deletes itself, the live counts, the
// errno a failed call left, fp32 device memory seen from the test, and built commands whose
// sub-commands each run one program.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <utility>
#include <vector>

#include "UniqueDescriptor.h"
#include "dravik_reference_driver.h"
#include "dravik_reference_program.h"

namespace dravik_test {

using Descriptor = dravik::reference::UniqueDescriptor;
using dravik_reference::Program;

class ScopedSession {
  public:
    ScopedSession() : session_(dravikSession_createInstance()) {}
    ~ScopedSession() {
        if (session_ != nullptr) dravikSession_deleteInstance(session_);
    }
    ScopedSession(const ScopedSession&) = delete;
    ScopedSession& operator=(const ScopedSession&) = delete;

    dravik_session* get() const { return session_; }
    // Deletes the session now; its result.
    int32_t deleteNow() { return dravikSession_deleteInstance(std::exchange(session_, nullptr)); }

  private:
    dravik_session* session_;
};

// The errno left by a call that failed as the header says (null handle, -1), or kDidNotFail.
constexpr int kDidNotFail = -1000;
inline int errnoOfFailure(const void* handle) {
    return handle == nullptr ? errno : kDidNotFail;
}
inline int errnoOfFailure(int32_t result) {
    return result == -1 ? errno : kDidNotFail;
}
// The same for a query, which answers 0 on failure; errno is cleared first, so that a 0 answered
// without an errno is not taken for a refusal.
template <typename Query>
int errnoOfQuery(Query query) {
    errno = 0;
    return query() == 0 && errno != 0 ? errno : kDidNotFail;
}

dravik_reference_live_counts liveCounts();

// What memGetInfoFromHostPtr answers for the object.
void* hostAddress(dravik_session* session, dravik_mem* memory);
uint64_t deviceAddress(dravik_session* session, dravik_mem* memory);
// Copies program to the start of command_buffer (a failed expectation when it does not fit).
void writeProgram(dravik_session* session, dravik_mem* command_buffer, const Program& program);

// A memfd of size bytes.
Descriptor memoryFile(std::size_t size);
// Makes an eventfd poll readable.
void signalEvent(int event_descriptor);
// true once descriptor polls readable within timeout_ms (-1: wait as long as it takes).
bool pollsReadable(int descriptor, int timeout_ms);
bool descriptorIsOpen(int descriptor);

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
    std::vector<dravik_mem*> buffers;  // one per sub-command, 256 bytes at least
};
// A built command with one sub-command per program (vector engines), the edges (before, after)
// given by position.
ProgramCommand makeProgramCommand(dravik_session* session, const std::vector<Program>& programs,
                                  const std::vector<std::pair<int, int>>& edges = {});
// A built command of one sub-command running the empty program.
inline ProgramCommand makeEmptyCommand(dravik_session* session) {
    return makeProgramCommand(session, {Program()});
}

// Deterministic values in [-1, 1).
std::vector<float> pseudoRandom(std::size_t count, uint32_t seed);

// Every test starts from nothing and must leave nothing behind.
class DriverTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;
};

}  // namespace dravik_test

bool operator==(const dravik_reference_live_counts& left,
                const dravik_reference_live_counts& right);
std::ostream& operator<<(std::ostream& stream, const dravik_reference_live_counts& counts);
