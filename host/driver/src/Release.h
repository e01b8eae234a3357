// Ending commands and sessions: out of every registry first, so no new call finds them, then shut
// down. An object still used by a call in progress goes when that call returns.
#pragma once

#include <memory>

#include "Command.h"
#include "Session.h"

namespace dravik::reference {

void releaseCommand(const std::shared_ptr<Command>& command);
// Releases the session's commands, then lets go of its memory objects.
void releaseSession(const std::shared_ptr<Session>& session);

}  // namespace dravik::reference
