// A client process for the end-to-end tests: it connects to the service, announces itself with
// "ready <pid>", then carries out one command per input line and answers with one line.
#include <aidl/vendor/korvane/hardware/tessaro/dravik/BnTovanDravikCallback.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <dravik_reference_program.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <iostream>
#include <sstream>
#include <string>

#include "SoakRoutine.h"

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;

class Callback : public BnTovanDravikCallback {};

constexpr int32_t kBlockSize = 4096;

std::string statusText(const ndk::ScopedAStatus& status) {
    return "error " + std::to_string(status.getExceptionCode());
}

// A session with blocks of memory, a command buffer, and a command with one sub-command.
std::string createPopulatedSession(ITovanDravik& service, int blocks) {
    int64_t id = 0;
    ndk::ScopedAStatus status = service.session_createInstance(&id);
    if (!status.isOk()) return statusText(status);
    for (int block = 0; block < blocks; ++block) {
        DRAVIK_MEMINFO_HD memory;
        status = service.session_memAlloc(id, kBlockSize, 0, 0, 0, &memory);
        if (!status.isOk()) return statusText(status);
    }
    DRAVIK_CMDBUF_INFO_HD buffer;
    int64_t command = 0;
    int64_t sub_command = 0;
    if (!(status = service.session_cmdBufAlloc(id, 256, 0, &buffer)).isOk() ||
        !(status = service.session_createCmd(id, &command)).isOk() ||
        !(status = service.cmd_createSubcmd(id, command, 1, &sub_command)).isOk()) {
        return statusText(status);
    }
    return "session " + std::to_string(id);
}

// Writes through the allocation's descriptor, then reads back through a second descriptor the
// service hands out for the same memory.
std::string shareMemory(ITovanDravik& service, int64_t id) {
    DRAVIK_MEMINFO_HD memory;
    ndk::ScopedAStatus status = service.session_memAlloc(id, kBlockSize, 0, 0, 0, &memory);
    if (!status.isOk()) return statusText(status);
    if (memory.fds.size() != 1) return "error no descriptor";
    void* written =
            mmap(nullptr, kBlockSize, PROT_READ | PROT_WRITE, MAP_SHARED, memory.fds[0].get(), 0);
    if (written == MAP_FAILED) return "error cannot map";
    for (int index = 0; index < kBlockSize; ++index) {
        static_cast<uint8_t*>(written)[index] = static_cast<uint8_t>(index * 7);
    }
    munmap(written, kBlockSize);
    ndk::ScopedFileDescriptor again;
    status = service.session_memGetFdFromHostPtr(id, memory.mem_id, 2, &again);
    if (!status.isOk()) return statusText(status);
    void* read_back = mmap(nullptr, kBlockSize, PROT_READ, MAP_SHARED, again.get(), 0);
    if (read_back == MAP_FAILED) return "error cannot map the second descriptor";
    bool same = true;
    for (int index = 0; index < kBlockSize; ++index) {
        same = same &&
               static_cast<const uint8_t*>(read_back)[index] == static_cast<uint8_t>(index * 7);
    }
    munmap(read_back, kBlockSize);
    return same ? "shared " + std::to_string(memory.mem_id) : "error contents differ";
}

// Sets up a command whose one sub-command takes milliseconds in the device, announces "running",
// and runs it with a run type; the test kills the client while the run is in the driver.
std::string runTypedAndStall(ITovanDravik& service, int64_t id, int64_t milliseconds) {
    DRAVIK_CMDBUF_INFO_HD buffer;
    int64_t command = 0;
    int64_t sub_command = 0;
    int32_t ret = 0;
    ndk::ScopedAStatus status;
    if (!(status = service.session_cmdBufAlloc(id, 256, 0, &buffer)).isOk() ||
        !(status = service.session_createCmd(id, &command)).isOk() ||
        !(status = service.cmd_createSubcmd(id, command, 4, &sub_command)).isOk()) {
        return statusText(status);
    }
    dravik_reference::Program program;
    program.wait(static_cast<uint64_t>(milliseconds) * 1000000);
    void* mapping = mmap(nullptr, 256, PROT_READ | PROT_WRITE, MAP_SHARED, buffer.fds[0].get(), 0);
    if (mapping == MAP_FAILED) return "error cannot map the command buffer";
    program.copyTo(mapping, 256);
    munmap(mapping, 256);
    service.subCmd_addCmdBuf(id, sub_command, buffer.cmd_buf_id, 0, &ret);
    if (ret != 0) return "error subCmd_addCmdBuf " + std::to_string(ret);
    service.cmd_build(id, command, &ret);
    if (ret != 0) return "error cmd_build " + std::to_string(ret);
    std::cout << "running" << std::endl;
    service.cmd_runWithType(id, command, 0, &ret);
    return "ret " + std::to_string(ret);
}

std::string carryOut(const std::shared_ptr<ITovanDravik>& shared_service,
                     const std::shared_ptr<Callback>& callback, const std::string& line) {
    ITovanDravik& service = *shared_service;
    std::istringstream words(line);
    std::string command;
    int64_t argument = 0;
    words >> command >> argument;
    if (command == "callback") {
        const ndk::ScopedAStatus status = service.setCallback(callback);
        return status.isOk() ? "ok" : statusText(status);
    }
    if (command == "uncallback") {
        const ndk::ScopedAStatus status = service.unSetCallback(callback);
        return status.isOk() ? "ok" : statusText(status);
    }
    if (command == "uncallback-stranger") {
        const ndk::ScopedAStatus status =
                service.unSetCallback(ndk::SharedRefBase::make<Callback>());
        return status.isOk() ? "ok" : statusText(status);
    }
    if (command == "session") return createPopulatedSession(service, static_cast<int>(argument));
    if (command == "use") {
        DRAVIK_MEMINFO_HD memory;
        ndk::ScopedAStatus status =
                service.session_memAlloc(argument, kBlockSize, 0, 0, 0, &memory);
        if (!status.isOk()) return statusText(status);
        int32_t ret = 0;
        service.session_memFree(argument, memory.mem_id, &ret);
        return "ret " + std::to_string(ret);
    }
    if (command == "share") return shareMemory(service, argument);
    if (command == "soak") {
        int64_t steps = 0;
        words >> steps;
        return "done " +
               std::to_string(e2e::soak(shared_service, static_cast<uint64_t>(argument), steps));
    }
    if (command == "typedrun") {
        int64_t milliseconds = 0;
        words >> milliseconds;
        return runTypedAndStall(service, argument, milliseconds);
    }
    if (command == "delete") {
        int32_t ret = 0;
        service.session_deleteInstance(argument, &ret);
        return "ret " + std::to_string(ret);
    }
    return "error unknown command " + command;
}

}  // namespace

int main() {
    ABinderProcess_startThreadPool();
    const std::string instance = std::string(ITovanDravik::descriptor) + "/default";
    ndk::SpAIBinder binder(AServiceManager_waitForService(instance.c_str()));
    std::shared_ptr<ITovanDravik> service = ITovanDravik::fromBinder(binder);
    if (service == nullptr) {
        std::cout << "error no service" << std::endl;
        return 1;
    }
    const auto callback = ndk::SharedRefBase::make<Callback>();
    std::cout << "ready " << getpid() << std::endl;
    std::string line;
    while (std::getline(std::cin, line) && line != "exit") {
        std::cout << carryOut(service, callback, line) << std::endl;
    }
    return 0;
}
