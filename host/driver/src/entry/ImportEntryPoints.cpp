// dravikSession_memImport, memImportWithFlag, memImportV1, memUnImport.
#include "EntryGuard.h"
#include "MemoryFactory.h"
#include "Registries.h"
#include "dravik_mdw.h"

using namespace dravik::reference;

namespace {

dravik_mem* importInSession(dravik_session* session, int32_t fd, int64_t size, int64_t flag,
                            int64_t extra) {
    const std::shared_ptr<Session> owner = findSession(session);
    return owner->addMemory(importMemory({fd, size, flag, extra}));
}

}  // namespace

extern "C" dravik_mem* dravikSession_memImport(dravik_session* session, int32_t fd, uint32_t size) {
    return guardEntry<dravik_mem*>(Operation::kSessionMemImport, nullptr,
                                   [&] { return importInSession(session, fd, size, 0, 0); });
}

extern "C" dravik_mem* dravikSession_memImportWithFlag(dravik_session* session, int32_t fd,
                                                       int32_t size, int64_t flag, int64_t extra) {
    return guardEntry<dravik_mem*>(Operation::kSessionMemImportWithFlag, nullptr,
                                   [&] { return importInSession(session, fd, size, flag, extra); });
}

extern "C" dravik_mem* dravikSession_memImportV1(dravik_session* session, int32_t fd, int64_t size,
                                                 int64_t flag, int64_t extra) {
    return guardEntry<dravik_mem*>(Operation::kSessionMemImportV1, nullptr,
                                   [&] { return importInSession(session, fd, size, flag, extra); });
}

extern "C" int32_t dravikSession_memUnImport(dravik_session* session, dravik_mem* mem) {
    return guardAction(Operation::kSessionMemUnImport,
                       [&] { findSession(session)->removeMemory(mem, MemoryKind::kImport); });
}
