// What the reference driver's tests share: a session that deletes itself, the live counts, the
// errno a failed call left, fp32 device memory seen from the test, and built commands whose
// sub-commands each run one program.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <utility>
#include <vector>

#include "UniqueDescriptor.h"
#include "dravik_reference_driver.h"
#include "dravik_reference_program.h"

inline bool operator==(const dravik_reference_live_counts& left,
                       const dravik_reference_live_counts& right) {
    return std::memcmp(&left, &right, sizeof(left)) == 0;  // five int64_t, no padding
}

inline std::ostream& operator<<(std::ostream& stream, const dravik_reference_live_counts& counts) {
    return stream << "{sessions " << counts.sessions << ", memory " << counts.memory_objects
                  << ", command buffers " << counts.command_buffers << ", commands "
                  << counts.commands << ", sub-commands " << counts.sub_commands << "}";
}

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

inline dravik_reference_live_counts liveCounts() {
    dravik_reference_live_counts counts{};
    dravikReference_getLiveCounts(&counts);
    return counts;
}

// What memGetInfoFromHostPtr answers for the object.
inline void* hostAddress(dravik_session* session, dravik_mem* memory) {
    return reinterpret_cast<void*>(static_cast<uintptr_t>(dravikSession_memGetInfoFromHostPtr(
            session, memory, DRAVIK_REFERENCE_MEM_INFO_HOST_ADDRESS)));
}
inline uint64_t deviceAddress(dravik_session* session, dravik_mem* memory) {
    return static_cast<uint64_t>(dravikSession_memGetInfoFromHostPtr(
            session, memory, DRAVIK_REFERENCE_MEM_INFO_DEVICE_ADDRESS));
}
inline int shareableDescriptor(dravik_session* session, dravik_mem* memory) {
    return static_cast<int>(dravikSession_memGetInfoFromHostPtr(
            session, memory, DRAVIK_REFERENCE_MEM_INFO_SHAREABLE_DESCRIPTOR));
}

// Copies program to the start of command_buffer (a failed expectation when it does not fit).
inline void writeProgram(dravik_session* session, dravik_mem* command_buffer,
                         const Program& program) {
    const auto capacity = static_cast<std::size_t>(dravikSession_memGetInfoFromHostPtr(
            session, command_buffer, DRAVIK_REFERENCE_MEM_INFO_SIZE));
    EXPECT_TRUE(program.copyTo(hostAddress(session, command_buffer), capacity));
}

// A memfd of size bytes.
inline Descriptor memoryFile(std::size_t size) {
    Descriptor file(memfd_create("driver-test", MFD_CLOEXEC));
    EXPECT_TRUE(file.valid());
    EXPECT_EQ(ftruncate(file.get(), static_cast<off_t>(size)), 0);
    return file;
}

// A bound that only keeps a broken run from hanging the test; nothing is expected to take long.
constexpr int kFailureBoundMs = 60'000;
// true once descriptor polls readable within timeout_ms.
inline bool pollsReadable(int descriptor, int timeout_ms) {
    pollfd entry{descriptor, POLLIN, 0};
    return poll(&entry, 1, timeout_ms) == 1 && (entry.revents & POLLIN) != 0;
}
inline bool descriptorIsOpen(int descriptor) {
    return fcntl(descriptor, F_GETFD) != -1;
}

// An allocation of count floats, seen through the driver's host mapping.
struct Floats {
    dravik_mem* memory = nullptr;
    float* host = nullptr;
    uint64_t address = 0;  // device address
    std::size_t count = 0;

    uint64_t at(std::size_t element) const { return address + element * sizeof(float); }
    std::vector<float> values() const { return {host, host + count}; }
    void set(const std::vector<float>& values) const {
        ASSERT_EQ(values.size(), count);
        std::memcpy(host, values.data(), count * sizeof(float));
    }
};
inline Floats allocateFloats(dravik_session* session, std::size_t count) {
    Floats floats;
    floats.memory = dravikSession_memAlloc(session, count * sizeof(float), 0,
                                           DRAVIK_REFERENCE_MEM_TYPE_SHAREABLE, 0);
    EXPECT_NE(floats.memory, nullptr) << "errno " << errno;
    floats.host = static_cast<float*>(hostAddress(session, floats.memory));
    floats.address = deviceAddress(session, floats.memory);
    floats.count = count;
    return floats;
}
// The same, holding values.
inline Floats allocateFloats(dravik_session* session, const std::vector<float>& values) {
    const Floats floats = allocateFloats(session, values.size());
    floats.set(values);
    return floats;
}

struct ProgramCommand {
    dravik_cmd* command = nullptr;
    std::vector<dravik_subcmd*> sub_commands;
    std::vector<dravik_mem*> buffers;  // one per sub-command, 256 bytes at least
};
// A built command with one sub-command per program (vector engines), the edges (before, after)
// given by position.
inline ProgramCommand makeProgramCommand(dravik_session* session,
                                         const std::vector<Program>& programs,
                                         const std::vector<std::pair<int, int>>& edges = {}) {
    ProgramCommand made;
    made.command = dravikSession_createCmd(session);
    for (const Program& program : programs) {
        dravik_subcmd* sub_command =
                dravikCmd_createSubcmd(made.command, DRAVIK_REFERENCE_DEVICE_VECTOR_ENGINE);
        dravik_mem* buffer =
                dravikSession_cmdBufAlloc(session, std::max<std::size_t>(program.size(), 256), 0);
        writeProgram(session, buffer, program);
        EXPECT_EQ(dravikSubCmd_addCmdBuf(sub_command, buffer, DRAVIK_REFERENCE_ADD_CMD_BUF_APPEND),
                  0);
        made.sub_commands.push_back(sub_command);
        made.buffers.push_back(buffer);
    }
    for (const auto& [before, after] : edges) {
        EXPECT_EQ(dravikCmd_setDependencyEdge(made.command, made.sub_commands[before],
                                              made.sub_commands[after]),
                  0);
    }
    EXPECT_EQ(dravikCmd_build(made.command), 0) << "errno " << errno;
    return made;
}

// Deterministic values in [-1, 1).
inline std::vector<float> pseudoRandom(std::size_t count, uint32_t seed) {
    std::vector<float> values(count);
    uint32_t state = seed * 2654435761u + 1;
    for (float& value : values) {
        state = state * 1664525u + 1013904223u;
        value = static_cast<float>(state >> 8) / static_cast<float>(1u << 23) - 1.0f;
    }
    return values;
}

// Every test starts from nothing and must leave nothing behind.
class DriverTest : public ::testing::Test {
  protected:
    void SetUp() override {
        dravikReference_resetFailureInjection();
        ASSERT_EQ(liveCounts(), dravik_reference_live_counts{});
    }
    void TearDown() override {
        EXPECT_EQ(liveCounts(), dravik_reference_live_counts{}) << "objects left behind";
    }
};

}  // namespace dravik_test
