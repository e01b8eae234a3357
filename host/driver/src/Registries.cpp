#include "Registries.h"

namespace dravik::reference {

// Never destroyed: calls from other threads may still arrive while the process exits.

HandleRegistry<dravik_session, Session>& sessionRegistry() {
    static auto* registry = new HandleRegistry<dravik_session, Session>;
    return *registry;
}

HandleRegistry<dravik_cmd, Command>& commandRegistry() {
    static auto* registry = new HandleRegistry<dravik_cmd, Command>;
    return *registry;
}

HandleRegistry<dravik_subcmd, SubCommand>& subCommandRegistry() {
    static auto* registry = new HandleRegistry<dravik_subcmd, SubCommand>;
    return *registry;
}

}  // namespace dravik::reference
