#include "DyingClient.h"

#include <aidl/vendor/korvane/hardware/tessaro/dravik/BnTovanDravikCallback.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace tessaro_vts {
namespace {

using ::aidl::vendor::korvane::hardware::tessaro::dravik::BnTovanDravikCallback;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_MEMINFO_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik;

class Callback : public BnTovanDravikCallback {};

// The first line fd delivers, without its newline.
std::string readLine(int fd) {
    std::string line;
    char character = 0;
    while (read(fd, &character, 1) == 1 && character != '\n') line += character;
    return line;
}

}  // namespace

DyingClient::DyingClient(const std::string& instance) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    ndk::ScopedFileDescriptor read_end(ends[0]), write_end(ends[1]);
    pid_ = fork();
    if (pid_ == 0) {
        dup2(write_end.get(), STDOUT_FILENO);
        execl("/proc/self/exe", "dying-client", kModeArgument, instance.c_str(), nullptr);
        _exit(127);
    }
    write_end.set(-1);  // so that the read ends when the client does
    std::istringstream line(readLine(read_end.get()));
    for (int64_t session = 0; line >> session;) sessions_.push_back(session);
}

DyingClient::~DyingClient() {
    kill();
}

void DyingClient::kill() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

void DyingClient::run(const std::string& instance) {
    ABinderProcess_startThreadPool();
    const std::shared_ptr<ITovanDravik> service = ITovanDravik::fromBinder(
            ndk::SpAIBinder(AServiceManager_waitForService(instance.c_str())));
    if (service == nullptr || !service->setCallback(ndk::SharedRefBase::make<Callback>()).isOk()) {
        std::_Exit(EXIT_FAILURE);
    }
    for (int index = 0; index < kSessions; ++index) {
        int64_t session = 0, command = 0;
        DRAVIK_MEMINFO_HD memory;
        if (!service->session_createInstance(&session).isOk() ||
            !service->session_createCmd(session, &command).isOk() ||
            !service->session_memAlloc(session, 4096, 0, 0, 0, &memory).isOk()) {
            std::_Exit(EXIT_FAILURE);
        }
        std::printf("%lld ", static_cast<long long>(session));
    }
    std::printf("\n");
    std::fflush(stdout);
    for (;;) pause();
}

}  // namespace tessaro_vts
