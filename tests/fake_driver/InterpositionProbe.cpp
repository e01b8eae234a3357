#include "InterpositionProbe.h"

#include "dravik_reference_driver.h"

dravik_session* interpositionProbe_createSession() {
    return dravikSession_createInstance();
}

int32_t interpositionProbe_deleteSession(dravik_session* session) {
    return dravikSession_deleteInstance(session);
}

int64_t interpositionProbe_realDriverSessions() {
    dravik_reference_live_counts counts{};
    dravikReference_getLiveCounts(&counts);
    return counts.sessions;
}
