// The client process of the end-to-end tests, well-behaved or not. It connects to the service,
// prints "ready", then carries out one command per input line, answering each with one line, until
// its input ends:
//   callback, uncallback     "ok" or "failed"
//   session                  the id of a new session, or "failed"
//   typedrun <session> <ms>  "running" once set up, then "ret <result>" of a typed run whose
//                            one instruction waits <ms> in the device
//   soak <seed> [<steps>]    random well-formed work, without end when no steps are given, then
//                            "done <failed calls>" once its sessions are deleted
//   <bad request>            what came back (BadRequests.h)
#include <aidl/vendor/korvane/hardware/tessaro/dravik/BnTovanDravikCallback.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <dravik_reference_program.h>
#include <sys/mman.h>
#include <unistd.h>

#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "BadRequests.h"
#include "MappedMemory.h"
#include "ServicePerceptron.h"

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;

class Callback : public BnTovanDravikCallback {};

// Sets up a command whose one sub-command waits milliseconds in the device and runs it with a run
// type, printing "running" just before the run when asked; the run's result, -1 when a step
// before it failed (a failed step leaves an id unknown, which fails the steps after it).
int32_t typedRun(ITovanDravik& service, int64_t session, uint64_t milliseconds, bool announce) {
    DRAVIK_CMDBUF_INFO_HD buffer;
    int64_t command = 0, sub_command = 0;
    int32_t ret = -1;
    service.session_cmdBufAlloc(session, 256, 0, &buffer);
    service.session_createCmd(session, &command);
    service.cmd_createSubcmd(session, command, 4, &sub_command);
    if (buffer.fds.size() != 1) return -1;
    const tessaro_workload::MappedMemory mapping(buffer.fds[0], 256);
    dravik_reference::Program program;
    if (!mapping.valid() || !program.wait(milliseconds * 1000000).copyTo(mapping.as<void>(), 256)) {
        return -1;
    }
    service.subCmd_addCmdBuf(session, sub_command, buffer.cmd_buf_id, 0, &ret);
    if (ret == 0) service.cmd_build(session, command, &ret);
    if (ret != 0) return -1;
    if (announce) std::cout << "running" << std::endl;
    return service.cmd_runWithType(session, command, 0, &ret).isOk() ? ret : -1;
}

// Random work for steps steps (without end when 0) on the client's own objects only, so that every
// call must succeed, whatever other clients do or however they end; then deletes the sessions
// still held. The number of calls that failed.
int64_t soak(const std::shared_ptr<ITovanDravik>& service, uint64_t seed, int64_t steps) {
    std::mt19937_64 random(seed);
    const auto pick = [&random](uint64_t count) { return random() % count; };
    int64_t failures = 0;
    const auto check = [&failures](bool succeeded) { failures += succeeded ? 0 : 1; };
    std::vector<int64_t> sessions;
    for (int64_t step = 0; steps == 0 || step < steps; ++step) {
        const uint64_t choice = pick(6);
        int64_t id = 0;
        if (choice == 0 || sessions.empty()) {
            check(service->session_createInstance(&id).isOk());
            sessions.push_back(id);
            continue;
        }
        const size_t index = pick(sessions.size());
        id = sessions[index];
        DRAVIK_MEMINFO_HD memory;
        int32_t ret = 0;
        if (choice == 1) {
            const auto size = static_cast<int32_t>(4096 * (1 + pick(4)));
            check(service->session_memAlloc(id, size, 0, 0, 0, &memory).isOk());
            if (pick(2) == 0) check(service->session_memFree(id, memory.mem_id, &ret).isOk());
        } else if (choice == 2) {
            std::vector<ndk::ScopedFileDescriptor> fds;
            fds.emplace_back(memfd_create("soak", MFD_CLOEXEC));
            check(ftruncate(fds[0].get(), 8192) == 0 &&
                  service->session_memImport(id, fds, 8192, &memory).isOk());
            if (pick(2) == 0) check(service->session_memUnImport(id, memory.mem_id, &ret).isOk());
        } else if (choice == 3) {
            // A typed run that stays in the driver for a while, so that a kill can land during it.
            ret = typedRun(*service, id, 1 + pick(80), false);
        } else if (choice == 4) {
            // A small perceptron from start to end in a session of its own, in a random run style.
            const auto styles = tessaro_workload::remoteRunStyles();
            std::string error;
            const auto perceptron = tessaro_workload::ServicePerceptron::create(
                    service, tessaro_workload::PerceptronModel({16, 8, 4}, pick(1000)), 2, &error);
            check(perceptron != nullptr && perceptron->run(styles[pick(styles.size())], &error));
        } else {
            check(service->session_deleteInstance(id, &ret).isOk());
            sessions.erase(sessions.begin() + static_cast<std::ptrdiff_t>(index));
        }
        check(ret == 0);
    }
    for (const int64_t id : sessions) {
        int32_t ret = 0;
        check(service->session_deleteInstance(id, &ret).isOk() && ret == 0);
    }
    return failures;
}

std::string carryOut(const std::shared_ptr<ITovanDravik>& service,
                     const std::shared_ptr<Callback>& callback, const std::string& line) {
    std::istringstream words(line);
    std::string command;
    int64_t first = 0, second = 0;
    words >> command >> first >> second;
    if (command == "callback" || command == "uncallback") {
        const bool done = command == "callback" ? service->setCallback(callback).isOk()
                                                : service->unSetCallback(callback).isOk();
        return done ? "ok" : "failed";
    }
    if (command == "session") {
        int64_t id = 0;
        return service->session_createInstance(&id).isOk() ? std::to_string(id) : "failed";
    }
    if (command == "typedrun") {
        return "ret " + std::to_string(typedRun(*service, first, second, true));
    }
    if (command == "soak") return "done " + std::to_string(soak(service, first, second));
    return e2e::sendBadRequest(command, first, *service);
}

}  // namespace

int main() {
    ABinderProcess_startThreadPool();
    const std::string instance = std::string(ITovanDravik::descriptor) + "/default";
    const std::shared_ptr<ITovanDravik> service = ITovanDravik::fromBinder(
            ndk::SpAIBinder(AServiceManager_waitForService(instance.c_str())));
    if (service == nullptr) return 1;
    const auto callback = ndk::SharedRefBase::make<Callback>();
    std::cout << "ready" << std::endl;
    for (std::string line; std::getline(std::cin, line);) {
        std::cout << carryOut(service, callback, line) << std::endl;
    }
    return 0;
}
