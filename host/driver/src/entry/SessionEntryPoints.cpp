// dravikSession_createInstance, dravikSession_deleteInstance.
#include <memory>

#include "EntryGuard.h"
#include "Registries.h"
#include "Release.h"
#include "dravik_mdw.h"

using namespace dravik::reference;

extern "C" dravik_session* dravikSession_createInstance(void) {
    return guardEntry<dravik_session*>(Operation::kSessionCreateInstance, nullptr, [] {
        return sessionRegistry().add(std::make_shared<Session>());
    });
}

extern "C" int32_t dravikSession_deleteInstance(dravik_session* session) {
    return guardAction(Operation::kSessionDeleteInstance,
                       [&] { releaseSession(sessionRegistry().remove(session)); });
}
