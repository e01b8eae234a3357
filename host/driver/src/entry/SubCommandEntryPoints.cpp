// dravikSubCmd_setParam, addCmdBuf, getRunInfo.
#include "EntryGuard.h"
#include "Registries.h"
#include "dravik_mdw.h"

using namespace dravik::reference;

extern "C" int32_t dravikSubCmd_setParam(dravik_subcmd* sub_cmd, int32_t kind, int64_t value) {
    return guardAction(Operation::kSubCmdSetParam, [&] {
        const std::shared_ptr<SubCommand> sub_command = findSubCommand(sub_cmd);
        sub_command->owner()->setSubCommandParameter(*sub_command, kind, value);
    });
}

extern "C" int32_t dravikSubCmd_addCmdBuf(dravik_subcmd* sub_cmd, dravik_mem* cmd_buf,
                                          int32_t mode) {
    return guardAction(Operation::kSubCmdAddCmdBuf, [&] {
        const std::shared_ptr<SubCommand> sub_command = findSubCommand(sub_cmd);
        const std::shared_ptr<Command> command = sub_command->owner();
        // Only the command's own session is searched, so a foreign buffer is unknown there.
        const std::shared_ptr<MemoryObject> buffer = command->session()->findMemory(cmd_buf);
        require(buffer->kind() == MemoryKind::kCommandBuffer, EINVAL);
        command->addCommandBuffer(*sub_command, buffer, mode);
    });
}

extern "C" int64_t dravikSubCmd_getRunInfo(dravik_subcmd* sub_cmd, int32_t kind) {
    return guardEntry<int64_t>(Operation::kSubCmdGetRunInfo, 0, [&] {
        const std::shared_ptr<SubCommand> sub_command = findSubCommand(sub_cmd);
        return sub_command->owner()->subCommandRunInformation(*sub_command, kind);
    });
}
