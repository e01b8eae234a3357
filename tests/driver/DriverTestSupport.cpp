#include "DriverTestSupport.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace dravik_test {

dravik_reference_live_counts liveCounts() {
    dravik_reference_live_counts counts{};
    dravikReference_getLiveCounts(&counts);
    return counts;
}

void* hostAddress(dravik_session* session, dravik_mem* memory) {
    return reinterpret_cast<void*>(static_cast<uintptr_t>(dravikSession_memGetInfoFromHostPtr(
            session, memory, DRAVIK_REFERENCE_MEM_INFO_HOST_ADDRESS)));
}

uint64_t deviceAddress(dravik_session* session, dravik_mem* memory) {
    return static_cast<uint64_t>(dravikSession_memGetInfoFromHostPtr(
            session, memory, DRAVIK_REFERENCE_MEM_INFO_DEVICE_ADDRESS));
}

void writeProgram(dravik_session* session, dravik_mem* command_buffer, const Program& program) {
    const auto capacity = static_cast<std::size_t>(dravikSession_memGetInfoFromHostPtr(
            session, command_buffer, DRAVIK_REFERENCE_MEM_INFO_SIZE));
    EXPECT_TRUE(program.copyTo(hostAddress(session, command_buffer), capacity));
}

Descriptor memoryFile(std::size_t size) {
    Descriptor file(memfd_create("driver-test", MFD_CLOEXEC));
    EXPECT_TRUE(file.valid());
    EXPECT_EQ(ftruncate(file.get(), static_cast<off_t>(size)), 0);
    return file;
}

void signalEvent(int event_descriptor) {
    const uint64_t one = 1;
    EXPECT_EQ(write(event_descriptor, &one, sizeof(one)), static_cast<ssize_t>(sizeof(one)));
}

bool pollsReadable(int descriptor, int timeout_ms) {
    pollfd entry{descriptor, POLLIN, 0};
    return poll(&entry, 1, timeout_ms) == 1 && (entry.revents & POLLIN) != 0;
}

bool descriptorIsOpen(int descriptor) {
    return fcntl(descriptor, F_GETFD) != -1;
}

void Floats::set(const std::vector<float>& values) const {
    ASSERT_EQ(values.size(), count);
    std::memcpy(host, values.data(), count * sizeof(float));
}

Floats allocateFloats(dravik_session* session, std::size_t count) {
    Floats floats;
    floats.memory = dravikSession_memAlloc(session, count * sizeof(float), 0,
                                           DRAVIK_REFERENCE_MEM_TYPE_SHAREABLE, 0);
    EXPECT_NE(floats.memory, nullptr) << "errno " << errno;
    floats.host = static_cast<float*>(hostAddress(session, floats.memory));
    floats.address = deviceAddress(session, floats.memory);
    floats.count = count;
    return floats;
}

ProgramCommand makeProgramCommand(dravik_session* session, const std::vector<Program>& programs,
                                  const std::vector<std::pair<int, int>>& edges) {
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

std::vector<float> pseudoRandom(std::size_t count, uint32_t seed) {
    std::vector<float> values(count);
    uint32_t state = seed * 2654435761u + 1;
    for (float& value : values) {
        state = state * 1664525u + 1013904223u;
        value = static_cast<float>(state >> 8) / static_cast<float>(1u << 23) - 1.0f;
    }
    return values;
}

void DriverTest::SetUp() {
    dravikReference_resetFailureInjection();
    ASSERT_EQ(liveCounts(), dravik_reference_live_counts{});
}

void DriverTest::TearDown() {
    EXPECT_EQ(liveCounts(), dravik_reference_live_counts{}) << "objects left behind";
}

}  // namespace dravik_test

bool operator==(const dravik_reference_live_counts& left,
                const dravik_reference_live_counts& right) {
    return std::memcmp(&left, &right, sizeof(left)) == 0;  // five int64_t, no padding
}

std::ostream& operator<<(std::ostream& stream, const dravik_reference_live_counts& counts) {
    return stream << "{sessions " << counts.sessions << ", memory " << counts.memory_objects
                  << ", command buffers " << counts.command_buffers << ", commands "
                  << counts.commands << ", sub-commands " << counts.sub_commands << "}";
}
