#include "ProgramTestSupport.h"

#include <algorithm>
#include <cstring>

namespace dravik_test {

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

ProgramCommand makeProgramCommand(dravik_session* session,
                                  const std::vector<dravik_reference::Program>& programs,
                                  const std::vector<std::pair<int, int>>& edges) {
    ProgramCommand made;
    made.command = dravikSession_createCmd(session);
    for (const dravik_reference::Program& program : programs) {
        dravik_subcmd* sub_command =
                dravikCmd_createSubcmd(made.command, DRAVIK_REFERENCE_DEVICE_VECTOR_ENGINE);
        dravik_mem* buffer =
                dravikSession_cmdBufAlloc(session, std::max<std::size_t>(program.size(), 64), 0);
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

}  // namespace dravik_test
