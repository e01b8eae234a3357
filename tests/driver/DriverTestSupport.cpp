#include "DriverTestSupport.h"

#include <fcntl.h>
#include <poll.h>

namespace dravik_test {

int32_t ScopedSession::deleteNow() {
    const int32_t result = dravikSession_deleteInstance(session_);
    session_ = nullptr;
    return result;
}

dravik_reference_live_counts liveCounts() {
    dravik_reference_live_counts counts{};
    dravikReference_getLiveCounts(&counts);
    return counts;
}

bool nothingAlive() {
    return liveCounts() == dravik_reference_live_counts{};
}

BuiltCommand makeBuiltCommand(dravik_session* session, int32_t device_type) {
    BuiltCommand built;
    built.command = dravikSession_createCmd(session);
    built.sub_command = dravikCmd_createSubcmd(built.command, device_type);
    built.command_buffer = dravikSession_cmdBufAlloc(session, 256, 0);
    writeProgram(session, built.command_buffer, dravik_reference::Program());
    EXPECT_EQ(dravikSubCmd_addCmdBuf(built.sub_command, built.command_buffer,
                                     DRAVIK_REFERENCE_ADD_CMD_BUF_APPEND),
              0);
    EXPECT_EQ(dravikCmd_build(built.command), 0) << "errno " << errno;
    return built;
}

void* hostAddress(dravik_session* session, dravik_mem* memory) {
    return reinterpret_cast<void*>(static_cast<uintptr_t>(dravikSession_memGetInfoFromHostPtr(
            session, memory, DRAVIK_REFERENCE_MEM_INFO_HOST_ADDRESS)));
}

uint64_t deviceAddress(dravik_session* session, dravik_mem* memory) {
    return static_cast<uint64_t>(dravikSession_memGetInfoFromHostPtr(
            session, memory, DRAVIK_REFERENCE_MEM_INFO_DEVICE_ADDRESS));
}

void writeProgram(dravik_session* session, dravik_mem* command_buffer,
                  const dravik_reference::Program& program) {
    const auto capacity = static_cast<std::size_t>(dravikSession_memGetInfoFromHostPtr(
            session, command_buffer, DRAVIK_REFERENCE_MEM_INFO_SIZE));
    EXPECT_TRUE(program.copyTo(hostAddress(session, command_buffer), capacity));
}

bool pollsReadable(int descriptor, int timeout_ms) {
    pollfd entry{descriptor, POLLIN, 0};
    return poll(&entry, 1, timeout_ms) == 1 && (entry.revents & POLLIN) != 0;
}

bool descriptorIsOpen(int descriptor) {
    return fcntl(descriptor, F_GETFD) != -1;
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
    return left.sessions == right.sessions && left.memory_objects == right.memory_objects &&
           left.command_buffers == right.command_buffers && left.commands == right.commands &&
           left.sub_commands == right.sub_commands;
}

std::ostream& operator<<(std::ostream& stream, const dravik_reference_live_counts& counts) {
    return stream << "{sessions " << counts.sessions << ", memory " << counts.memory_objects
                  << ", command buffers " << counts.command_buffers << ", commands "
                  << counts.commands << ", sub-commands " << counts.sub_commands << "}";
}
