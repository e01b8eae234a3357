// A shared library that calls the driver the way the service does: it links the real
// libdravik_mdw.so, so whichever definitions it binds to at run time answer its calls.
#pragma once

#include <cstdint>

#include "dravik_mdw.h"

extern "C" {
dravik_session* interpositionProbe_createSession();
int32_t interpositionProbe_deleteSession(dravik_session* session);
// Sessions alive in the real driver, through its host-only entry point, which the fake lacks.
int64_t interpositionProbe_realDriverSessions();
}
