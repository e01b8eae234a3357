// What the reference driver's tests share: a session that deletes itself, the live counts, and
// reading the errno a failed call left.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <ostream>

#include "dravik_reference_driver.h"
#include "dravik_reference_program.h"

namespace dravik_test {

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
    int32_t deleteNow();

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

dravik_reference_live_counts liveCounts();
bool nothingAlive();

// A built command of session with one sub-command of device_type holding one command buffer.
struct BuiltCommand {
    dravik_cmd* command = nullptr;
    dravik_subcmd* sub_command = nullptr;
    dravik_mem* command_buffer = nullptr;
};
BuiltCommand makeBuiltCommand(dravik_session* session,
                              int32_t device_type = DRAVIK_REFERENCE_DEVICE_MATRIX_ENGINE);

// What memGetInfoFromHostPtr answers for the object.
void* hostAddress(dravik_session* session, dravik_mem* memory);
uint64_t deviceAddress(dravik_session* session, dravik_mem* memory);
// Copies program to the start of command_buffer (a failed expectation when it does not fit).
void writeProgram(dravik_session* session, dravik_mem* command_buffer,
                  const dravik_reference::Program& program);

// true once descriptor polls readable within timeout_ms (-1: wait as long as it takes).
bool pollsReadable(int descriptor, int timeout_ms);
bool descriptorIsOpen(int descriptor);

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
