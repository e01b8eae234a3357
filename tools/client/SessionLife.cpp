// One session's life, as a client runtime lives it, printed step by step.
#include <dravik_reference_driver.h>
#include <sys/mman.h>

#include <cstdio>
#include <cstring>

#include "Commands.h"
#include "StepPrinter.h"

namespace tessaro_client {

namespace {

using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_CMDBUF_INFO_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_MEMINFO_HD;

constexpr int32_t kMemorySize = 4096;
constexpr int32_t kCommandBufferSize = 256;
constexpr int32_t kShareable = 0;

// Writes a pattern through the descriptor the service handed out, as a client fills its inputs.
std::string fillThroughDescriptor(int fd, size_t size) {
    void* mapping = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (mapping == MAP_FAILED) return "cannot map the descriptor";
    std::memset(mapping, 0x5a, size);
    munmap(mapping, size);
    return "mapped and filled " + std::to_string(size) + " bytes";
}

}  // namespace

int showSessionLife(ITovanDravik& service) {
    StepPrinter steps;
    int64_t session = 0;
    steps.begin();
    if (!steps.report("session_createInstance", service.session_createInstance(&session),
                      [&] { return "session " + std::to_string(session); })) {
        return 1;
    }
    int32_t ret = 0;

    DRAVIK_MEMINFO_HD memory;
    steps.begin();
    if (steps.report("session_memAlloc(4096, shareable)",
                     service.session_memAlloc(session, kMemorySize, 0, kShareable, 0, &memory),
                     [&] {
                         return "mem_id " + std::to_string(memory.mem_id) + ", " +
                                std::to_string(memory.fds.size()) + " descriptor(s)";
                     }) &&
        !memory.fds.empty()) {
        std::printf("  %-44s %s\n", "  (client)",
                    fillThroughDescriptor(memory.fds[0].get(), kMemorySize).c_str());
        steps.begin();
        steps.report("session_memFlush", service.session_memFlush(session, memory.mem_id, &ret),
                     [&] { return "ret " + std::to_string(ret); });
        int64_t address = 0;
        steps.begin();
        steps.report(
                "session_memGetInfoFromHostPtr(device address)",
                service.session_memGetInfoFromHostPtr(
                        session, memory.mem_id, DRAVIK_REFERENCE_MEM_INFO_DEVICE_ADDRESS, &address),
                [&] {
                    return "0x" + [&] {
                        char text[32];
                        std::snprintf(text, sizeof(text), "%llx",
                                      static_cast<unsigned long long>(address));
                        return std::string(text);
                    }();
                });
    }

    DRAVIK_CMDBUF_INFO_HD buffer;
    steps.begin();
    steps.report("session_cmdBufAlloc(256)",
                 service.session_cmdBufAlloc(session, kCommandBufferSize, 0, &buffer),
                 [&] { return "cmd_buf_id " + std::to_string(buffer.cmd_buf_id); });

    int64_t command = 0;
    steps.begin();
    steps.report("session_createCmd", service.session_createCmd(session, &command),
                 [&] { return "cmd_id " + std::to_string(command); });
    int64_t sub_command = 0;
    steps.begin();
    steps.report("cmd_createSubcmd(type 1)",
                 service.cmd_createSubcmd(session, command, 1, &sub_command),
                 [&] { return "sub_cmd_id " + std::to_string(sub_command); });
    steps.begin();
    steps.report("subCmd_addCmdBuf",
                 service.subCmd_addCmdBuf(session, sub_command, buffer.cmd_buf_id, 0, &ret),
                 [&] { return "ret " + std::to_string(ret); });

    steps.begin();
    steps.report("session_deleteCmd", service.session_deleteCmd(session, command, &ret),
                 [&] { return "ret " + std::to_string(ret); });
    steps.begin();
    steps.report("session_cmdBufFree", service.session_cmdBufFree(session, buffer.cmd_buf_id, &ret),
                 [&] { return "ret " + std::to_string(ret); });
    steps.begin();
    steps.report("session_memFree", service.session_memFree(session, memory.mem_id, &ret),
                 [&] { return "ret " + std::to_string(ret); });
    steps.begin();
    steps.report("session_deleteInstance", service.session_deleteInstance(session, &ret),
                 [&] { return "ret " + std::to_string(ret); });
    return steps.failures() == 0 && ret == 0 ? 0 : 1;
}

}  // namespace tessaro_client
