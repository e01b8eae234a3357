#include "Release.h"

#include "Registries.h"

namespace dravik::reference {

void releaseCommand(const std::shared_ptr<Command>& command) {
    commandRegistry().forget(HandleRegistry<dravik_cmd, Command>::handleOf(command.get()));
    for (const auto& sub_command : command->shutDown()) {
        subCommandRegistry().forget(
                HandleRegistry<dravik_subcmd, SubCommand>::handleOf(sub_command.get()));
    }
}

void releaseSession(const std::shared_ptr<Session>& session) {
    Session::Contents contents = session->close();
    for (const auto& command : contents.commands) releaseCommand(command);
}

}  // namespace dravik::reference
