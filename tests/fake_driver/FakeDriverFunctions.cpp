// The fake's definitions of the 37 operations of dravik_mdw.h.
#include <sys/eventfd.h>

#include "FakeDriverState.h"
#include "dravik_mdw.h"

using fake_driver::answerCall;
using fake_driver::nextHandle;
using fake_driver::numberOf;

namespace {

constexpr int64_t kDescriptorKind = 2;
constexpr int64_t kMetadataSizeKind = 1;
// The most a default metadata answer writes, whatever queryInfo was programmed to say.
constexpr int64_t kLargestMetadataWrite = 1 << 20;

template <typename Handle>
Handle* asHandle(int64_t value) {
    return reinterpret_cast<Handle*>(static_cast<uintptr_t>(value));
}

int64_t succeed() {
    return 0;
}

int32_t act(const char* function, std::initializer_list<int64_t> arguments) {
    return static_cast<int32_t>(answerCall(function, arguments, succeed));
}

int64_t writeMetadata(int32_t device_kind, void* buffer) {
    const int64_t size = fake_driver::lastMetadataSize();
    if (buffer == nullptr || size <= 0 || size > kLargestMetadataWrite) return 0;
    auto* bytes = static_cast<unsigned char*>(buffer);
    for (int64_t index = 0; index < size; ++index) {
        bytes[index] = static_cast<unsigned char>(device_kind + index);
    }
    return 0;
}

int64_t signalledFence() {
    const int fence = eventfd(1, EFD_CLOEXEC);
    return fence >= 0 ? fence : -1;
}

}  // namespace

extern "C" {

dravik_session* dravikSession_createInstance(void) {
    return asHandle<dravik_session>(answerCall("dravikSession_createInstance", {}, nextHandle));
}

int32_t dravikSession_deleteInstance(dravik_session* session) {
    return act("dravikSession_deleteInstance", {numberOf(session)});
}

int64_t dravikSession_queryInfo(dravik_session* session, int32_t kind) {
    const int64_t answer =
            answerCall("dravikSession_queryInfo", {numberOf(session), kind}, [kind]() -> int64_t {
                return kind == kMetadataSizeKind ? fake_driver::kMetadataSize : 0;
            });
    if (kind == kMetadataSizeKind) fake_driver::noteMetadataSize(answer);
    return answer;
}

int64_t dravikSession_queryDeviceNum(dravik_session* session, int32_t device_kind) {
    return answerCall("dravikSession_queryDeviceNum", {numberOf(session), device_kind},
                      [] { return int64_t{1}; });
}

int32_t dravikSession_queryDeviceMetaData(dravik_session* session, int32_t device_kind,
                                          void* buffer) {
    return static_cast<int32_t>(answerCall(
            "dravikSession_queryDeviceMetaData", {numberOf(session), device_kind, numberOf(buffer)},
            [device_kind, buffer] { return writeMetadata(device_kind, buffer); }));
}

dravik_mem* dravikSession_memAlloc(dravik_session* session, uint32_t size, uint32_t align,
                                   int32_t mem_type, int32_t mem_flag) {
    return asHandle<dravik_mem>(answerCall("dravikSession_memAlloc",
                                           {numberOf(session), size, align, mem_type, mem_flag},
                                           nextHandle));
}

dravik_mem* dravikSession_memAllocWithName(dravik_session* session, uint32_t size, uint32_t align,
                                           int32_t mem_type, int32_t mem_flag, const char* name) {
    return asHandle<dravik_mem>(answerCall("dravikSession_memAllocWithName",
                                           {numberOf(session), size, align, mem_type, mem_flag},
                                           nextHandle, name));
}

dravik_mem* dravikSession_memAllocV1(dravik_session* session, int64_t size, int64_t align,
                                     int32_t mem_type, int32_t mem_flag, const char* name,
                                     int64_t extra) {
    return asHandle<dravik_mem>(answerCall(
            "dravikSession_memAllocV1", {numberOf(session), size, align, mem_type, mem_flag, extra},
            nextHandle, name));
}

int32_t dravikSession_memFree(dravik_session* session, dravik_mem* mem) {
    return act("dravikSession_memFree", {numberOf(session), numberOf(mem)});
}

dravik_mem* dravikSession_memImport(dravik_session* session, int32_t fd, uint32_t size) {
    return asHandle<dravik_mem>(
            answerCall("dravikSession_memImport", {numberOf(session), fd, size}, nextHandle));
}

dravik_mem* dravikSession_memImportWithFlag(dravik_session* session, int32_t fd, int32_t size,
                                            int64_t flag, int64_t extra) {
    return asHandle<dravik_mem>(answerCall("dravikSession_memImportWithFlag",
                                           {numberOf(session), fd, size, flag, extra}, nextHandle));
}

dravik_mem* dravikSession_memImportV1(dravik_session* session, int32_t fd, int64_t size,
                                      int64_t flag, int64_t extra) {
    return asHandle<dravik_mem>(answerCall("dravikSession_memImportV1",
                                           {numberOf(session), fd, size, flag, extra}, nextHandle));
}

int32_t dravikSession_memUnImport(dravik_session* session, dravik_mem* mem) {
    return act("dravikSession_memUnImport", {numberOf(session), numberOf(mem)});
}

int32_t dravikSession_memFlush(dravik_session* session, dravik_mem* mem) {
    return act("dravikSession_memFlush", {numberOf(session), numberOf(mem)});
}

int32_t dravikSession_memInvalidate(dravik_session* session, dravik_mem* mem) {
    return act("dravikSession_memInvalidate", {numberOf(session), numberOf(mem)});
}

int64_t dravikSession_memGetInfoFromHostPtr(dravik_session* session, dravik_mem* mem,
                                            int32_t kind) {
    return answerCall("dravikSession_memGetInfoFromHostPtr",
                      {numberOf(session), numberOf(mem), kind}, [kind]() -> int64_t {
                          return kind == kDescriptorKind ? fake_driver::sharedMemoryDescriptor()
                                                         : 0;
                      });
}

int32_t dravikSession_memSetParamViaHostPtr(dravik_session* session, dravik_mem* mem, int32_t kind,
                                            int64_t value) {
    return act("dravikSession_memSetParamViaHostPtr",
               {numberOf(session), numberOf(mem), kind, value});
}

dravik_mem* dravikSession_cmdBufAlloc(dravik_session* session, uint32_t size, uint32_t align) {
    return asHandle<dravik_mem>(
            answerCall("dravikSession_cmdBufAlloc", {numberOf(session), size, align}, nextHandle));
}

dravik_mem* dravikSession_cmdBufAllocWithName(dravik_session* session, uint32_t size,
                                              uint32_t align, const char* name, int64_t extra) {
    return asHandle<dravik_mem>(answerCall("dravikSession_cmdBufAllocWithName",
                                           {numberOf(session), size, align, extra}, nextHandle,
                                           name));
}

int32_t dravikSession_cmdBufFree(dravik_session* session, dravik_mem* cmd_buf) {
    return act("dravikSession_cmdBufFree", {numberOf(session), numberOf(cmd_buf)});
}

dravik_cmd* dravikSession_createCmd(dravik_session* session) {
    return asHandle<dravik_cmd>(
            answerCall("dravikSession_createCmd", {numberOf(session)}, nextHandle));
}

int32_t dravikSession_deleteCmd(dravik_session* session, dravik_cmd* cmd) {
    return act("dravikSession_deleteCmd", {numberOf(session), numberOf(cmd)});
}

int32_t dravikCmd_setParam(dravik_cmd* cmd, int32_t kind, int64_t value) {
    return act("dravikCmd_setParam", {numberOf(cmd), kind, value});
}

dravik_subcmd* dravikCmd_createSubcmd(dravik_cmd* cmd, int32_t device_type) {
    return asHandle<dravik_subcmd>(
            answerCall("dravikCmd_createSubcmd", {numberOf(cmd), device_type}, nextHandle));
}

int32_t dravikCmd_setDependencyEdge(dravik_cmd* cmd, dravik_subcmd* predecessor,
                                    dravik_subcmd* successor) {
    return act("dravikCmd_setDependencyEdge",
               {numberOf(cmd), numberOf(predecessor), numberOf(successor)});
}

int32_t dravikCmd_setDependencyPack(dravik_cmd* cmd, dravik_subcmd* main_sub_cmd,
                                    dravik_subcmd* appendix_sub_cmd) {
    return act("dravikCmd_setDependencyPack",
               {numberOf(cmd), numberOf(main_sub_cmd), numberOf(appendix_sub_cmd)});
}

int32_t dravikCmd_setDependencyTightly(dravik_cmd* cmd, dravik_subcmd* predecessor,
                                       dravik_cmd* successor, void* memory) {
    return act("dravikCmd_setDependencyTightly",
               {numberOf(cmd), numberOf(predecessor), numberOf(successor), numberOf(memory)});
}

int32_t dravikCmd_build(dravik_cmd* cmd) {
    return act("dravikCmd_build", {numberOf(cmd)});
}

int32_t dravikCmd_run(dravik_cmd* cmd) {
    return act("dravikCmd_run", {numberOf(cmd)});
}

int32_t dravikCmd_runWithType(dravik_cmd* cmd, int32_t type) {
    return act("dravikCmd_runWithType", {numberOf(cmd), type});
}

int32_t dravikCmd_runAsync(dravik_cmd* cmd) {
    return act("dravikCmd_runAsync", {numberOf(cmd)});
}

int32_t dravikCmd_wait(dravik_cmd* cmd) {
    return act("dravikCmd_wait", {numberOf(cmd)});
}

int32_t dravikCmd_runFence(dravik_cmd* cmd, int32_t fence_fd, int64_t flags) {
    return static_cast<int32_t>(
            answerCall("dravikCmd_runFence", {numberOf(cmd), fence_fd, flags}, signalledFence));
}

int64_t dravikCmd_getRunInfo(dravik_cmd* cmd, int32_t kind) {
    return answerCall("dravikCmd_getRunInfo", {numberOf(cmd), kind}, succeed);
}

int32_t dravikSubCmd_setParam(dravik_subcmd* sub_cmd, int32_t kind, int64_t value) {
    return act("dravikSubCmd_setParam", {numberOf(sub_cmd), kind, value});
}

int32_t dravikSubCmd_addCmdBuf(dravik_subcmd* sub_cmd, dravik_mem* cmd_buf, int32_t mode) {
    return act("dravikSubCmd_addCmdBuf", {numberOf(sub_cmd), numberOf(cmd_buf), mode});
}

int64_t dravikSubCmd_getRunInfo(dravik_subcmd* sub_cmd, int32_t kind) {
    return answerCall("dravikSubCmd_getRunInfo", {numberOf(sub_cmd), kind}, succeed);
}

}  // extern "C"
