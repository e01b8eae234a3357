// dravikSession_memFlush, memInvalidate, memGetInfoFromHostPtr, memSetParamViaHostPtr.
#include "EntryGuard.h"
#include "Registries.h"
#include "dravik_mdw.h"

using namespace dravik::reference;

namespace {

std::shared_ptr<MemoryObject> findMemory(dravik_session* session, dravik_mem* mem) {
    return findSession(session)->findMemory(mem);
}

}  // namespace

extern "C" int32_t dravikSession_memFlush(dravik_session* session, dravik_mem* mem) {
    return guardAction(Operation::kSessionMemFlush,
                       [&] { findMemory(session, mem)->recordFlush(); });
}

extern "C" int32_t dravikSession_memInvalidate(dravik_session* session, dravik_mem* mem) {
    return guardAction(Operation::kSessionMemInvalidate,
                       [&] { findMemory(session, mem)->recordInvalidate(); });
}

extern "C" int64_t dravikSession_memGetInfoFromHostPtr(dravik_session* session, dravik_mem* mem,
                                                       int32_t kind) {
    return guardEntry<int64_t>(Operation::kSessionMemGetInfoFromHostPtr, 0,
                               [&] { return findMemory(session, mem)->information(kind); });
}

extern "C" int32_t dravikSession_memSetParamViaHostPtr(dravik_session* session, dravik_mem* mem,
                                                       int32_t kind, int64_t value) {
    return guardAction(Operation::kSessionMemSetParamViaHostPtr,
                       [&] { findMemory(session, mem)->setParameter(kind, value); });
}
