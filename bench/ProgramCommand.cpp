#include "ProgramCommand.h"

#include <dravik_reference_driver.h>

#include "MappedMemory.h"

namespace bench {

namespace {
constexpr int32_t kCommandBufferBytes = 4096;
}  // namespace

int64_t setUpProgramCommand(ITovanDravik& service, int64_t session,
                            const dravik_reference::Program& program, std::string* error) {
    ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_CMDBUF_INFO_HD buffer;
    int64_t command = 0;
    int64_t sub_command = 0;
    if (!service.session_cmdBufAlloc(session, kCommandBufferBytes, 0, &buffer).isOk() ||
        buffer.fds.empty()) {
        *error = "session_cmdBufAlloc failed";
        return 0;
    }
    {
        tessaro_workload::MappedMemory mapping(buffer.fds[0], kCommandBufferBytes);
        if (!mapping.valid() || !program.copyTo(mapping.as<void>(), mapping.size())) {
            *error = "cannot write the program into the command buffer: " + mapping.error();
            return 0;
        }
    }
    int32_t ret = -1;
    if (!service.session_createCmd(session, &command).isOk() ||
        !service.cmd_createSubcmd(session, command, DRAVIK_REFERENCE_DEVICE_SCALAR_CORE,
                                  &sub_command)
                 .isOk()) {
        *error = "session_createCmd or cmd_createSubcmd failed";
        return 0;
    }
    if (!service.subCmd_addCmdBuf(session, sub_command, buffer.cmd_buf_id, 0, &ret).isOk() ||
        ret != 0) {
        *error = "subCmd_addCmdBuf failed";
        return 0;
    }
    if (!service.cmd_build(session, command, &ret).isOk() || ret != 0) {
        *error = "cmd_build failed";
        return 0;
    }
    return command;
}

}  // namespace bench
