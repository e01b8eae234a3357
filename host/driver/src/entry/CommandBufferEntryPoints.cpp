// dravikSession_cmdBufAlloc, cmdBufAllocWithName, cmdBufFree.
#include "EntryGuard.h"
#include "MemoryFactory.h"
#include "Registries.h"
#include "dravik_mdw.h"

using namespace dravik::reference;

namespace {

dravik_mem* allocateCommandBuffer(dravik_session* session, uint32_t size, uint32_t align,
                                  const char* name, int64_t extra) {
    const std::shared_ptr<Session> owner = findSession(session);
    AllocationRequest request;
    request.kind = MemoryKind::kCommandBuffer;
    request.size = size;
    request.alignment = align;
    request.name = name;
    request.extra = extra;
    return owner->addMemory(allocateMemory(request));
}

}  // namespace

extern "C" dravik_mem* dravikSession_cmdBufAlloc(dravik_session* session, uint32_t size,
                                                 uint32_t align) {
    return guardEntry<dravik_mem*>(Operation::kSessionCmdBufAlloc, nullptr, [&] {
        return allocateCommandBuffer(session, size, align, "", 0);
    });
}

extern "C" dravik_mem* dravikSession_cmdBufAllocWithName(dravik_session* session, uint32_t size,
                                                         uint32_t align, const char* name,
                                                         int64_t extra) {
    return guardEntry<dravik_mem*>(Operation::kSessionCmdBufAllocWithName, nullptr, [&] {
        return allocateCommandBuffer(session, size, align, name, extra);
    });
}

extern "C" int32_t dravikSession_cmdBufFree(dravik_session* session, dravik_mem* cmd_buf) {
    return guardAction(Operation::kSessionCmdBufFree, [&] {
        findSession(session)->removeMemory(cmd_buf, MemoryKind::kCommandBuffer);
    });
}
