// dravikSession_createCmd, deleteCmd; dravikCmd_setParam, createSubcmd, setDependencyEdge,
// setDependencyPack, setDependencyTightly, build.
#include "EntryGuard.h"
#include "Registries.h"
#include "Release.h"
#include "dravik_mdw.h"

using namespace dravik::reference;

extern "C" dravik_cmd* dravikSession_createCmd(dravik_session* session) {
    return guardEntry<dravik_cmd*>(Operation::kSessionCreateCmd, nullptr, [&] {
        const std::shared_ptr<Session> owner = findSession(session);
        auto command = std::make_shared<Command>(owner);
        dravik_cmd* handle = commandRegistry().add(command);
        try {
            owner->addCommand(command);
        } catch (...) {
            // The session closed meanwhile.
            commandRegistry().forget(handle);
            throw;
        }
        return handle;
    });
}

extern "C" int32_t dravikSession_deleteCmd(dravik_session* session, dravik_cmd* cmd) {
    return guardAction(Operation::kSessionDeleteCmd,
                       [&] { releaseCommand(findSession(session)->removeCommand(cmd)); });
}

extern "C" int32_t dravikCmd_setParam(dravik_cmd* cmd, int32_t kind, int64_t value) {
    return guardAction(Operation::kCmdSetParam,
                       [&] { findCommand(cmd)->setParameter(kind, value); });
}

extern "C" dravik_subcmd* dravikCmd_createSubcmd(dravik_cmd* cmd, int32_t device_type) {
    return guardEntry<dravik_subcmd*>(Operation::kCmdCreateSubcmd, nullptr, [&] {
        const std::shared_ptr<Command> command = findCommand(cmd);
        dravik_subcmd* handle = subCommandRegistry().add(command->createSubCommand(device_type));
        // A deletion that took the command's sub-commands before this one was registered could
        // not unregister it.
        if (command->deleted()) {
            subCommandRegistry().forget(handle);
            failWith(EINVAL);
        }
        return handle;
    });
}

extern "C" int32_t dravikCmd_setDependencyEdge(dravik_cmd* cmd, dravik_subcmd* predecessor,
                                               dravik_subcmd* successor) {
    return guardAction(Operation::kCmdSetDependencyEdge, [&] {
        findCommand(cmd)->setDependencyEdge(*findSubCommand(predecessor),
                                            *findSubCommand(successor));
    });
}

extern "C" int32_t dravikCmd_setDependencyPack(dravik_cmd* cmd, dravik_subcmd* main_sub_cmd,
                                               dravik_subcmd* appendix_sub_cmd) {
    return guardAction(Operation::kCmdSetDependencyPack, [&] {
        findCommand(cmd)->setDependencyPack(*findSubCommand(main_sub_cmd),
                                            *findSubCommand(appendix_sub_cmd));
    });
}

extern "C" int32_t dravikCmd_setDependencyTightly(dravik_cmd* cmd, dravik_subcmd* predecessor,
                                                  dravik_cmd* successor, void* memory) {
    return guardAction(Operation::kCmdSetDependencyTightly, [&] {
        findCommand(cmd)->setDependencyTightly(*findSubCommand(predecessor), findCommand(successor),
                                               memory);
    });
}

extern "C" int32_t dravikCmd_build(dravik_cmd* cmd) {
    return guardAction(Operation::kCmdBuild, [&] { findCommand(cmd)->build(); });
}
