// The driver-wide registries of sessions, commands and sub-commands (memory objects are
// registered in their session), and the finders every entry point resolves handles with.
#pragma once

#include <memory>

#include "Command.h"
#include "HandleRegistry.h"
#include "Session.h"
#include "SubCommand.h"
#include "dravik_mdw.h"

namespace dravik::reference {

HandleRegistry<dravik_session, Session>& sessionRegistry();
HandleRegistry<dravik_cmd, Command>& commandRegistry();
HandleRegistry<dravik_subcmd, SubCommand>& subCommandRegistry();

// Each throws DriverError(EINVAL) for a handle that names no live object.
inline std::shared_ptr<Session> findSession(dravik_session* session) {
    return sessionRegistry().find(session);
}
inline std::shared_ptr<Command> findCommand(dravik_cmd* command) {
    return commandRegistry().find(command);
}
inline std::shared_ptr<SubCommand> findSubCommand(dravik_subcmd* sub_command) {
    return subCommandRegistry().find(sub_command);
}

}  // namespace dravik::reference
