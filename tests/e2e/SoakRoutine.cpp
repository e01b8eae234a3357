#include "SoakRoutine.h"

#include <dravik_reference_program.h>
#include <sys/mman.h>
#include <unistd.h>

#include <iostream>
#include <random>
#include <vector>

#include "MappedMemory.h"
#include "ServicePerceptron.h"

namespace e2e {

namespace {

using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_CMDBUF_INFO_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_MEMINFO_HD;

class Soaker {
  public:
    Soaker(std::shared_ptr<ITovanDravik> service, uint64_t seed)
        : service_(std::move(service)), random_(seed) {}

    void step() {
        switch (pick(6)) {
            case 0:
                createSession();
                break;
            case 1:
                allocate();
                break;
            case 2:
                runPerceptron();
                break;
            case 3:
                runTypedWait();
                break;
            case 4:
                importOwnMemory();
                break;
            default:
                deleteSession();
                break;
        }
        std::cout << "calls " << calls_ << std::endl;
    }

    void deleteAll() {
        while (!sessions_.empty()) deleteSession();
    }

    int64_t calls() const { return calls_; }

  private:
    uint64_t pick(uint64_t count) { return random_() % count; }

    int64_t anySession() {
        if (sessions_.empty()) createSession();
        return sessions_.empty() ? 0 : sessions_[pick(sessions_.size())];
    }

    void createSession() {
        int64_t id = 0;
        ++calls_;
        if (service_->session_createInstance(&id).isOk()) sessions_.push_back(id);
    }

    void allocate() {
        const int64_t id = anySession();
        DRAVIK_MEMINFO_HD memory;
        ++calls_;
        service_->session_memAlloc(id, static_cast<int32_t>(4096 * (1 + pick(4))), 0, 0, 0,
                                   &memory);
        DRAVIK_CMDBUF_INFO_HD buffer;
        ++calls_;
        service_->session_cmdBufAlloc(id, 512, 0, &buffer);
        if (pick(2) == 0) {
            int32_t ret = 0;
            ++calls_;
            service_->session_memFree(id, memory.mem_id, &ret);
        }
    }

    // A small perceptron from start to end in a session of its own, in a random run style.
    void runPerceptron() {
        const tessaro_workload::PerceptronModel model({16, 8, 4}, pick(1000));
        std::string error;
        auto perceptron = tessaro_workload::ServicePerceptron::create(service_, model, 2, &error);
        calls_ += 20;
        if (perceptron == nullptr) return;
        const std::vector<tessaro_workload::RunStyle> styles = tessaro_workload::remoteRunStyles();
        perceptron->run(styles[pick(styles.size())], &error);
        ++calls_;
    }

    // A typed run that stays in the driver for a while, so a kill can land during it.
    void runTypedWait() {
        const int64_t id = anySession();
        DRAVIK_CMDBUF_INFO_HD buffer;
        int64_t command = 0;
        int64_t sub_command = 0;
        int32_t ret = 0;
        calls_ += 5;
        if (!service_->session_cmdBufAlloc(id, 256, 0, &buffer).isOk() ||
            !service_->session_createCmd(id, &command).isOk() ||
            !service_->cmd_createSubcmd(id, command, 4, &sub_command).isOk()) {
            return;
        }
        {
            const tessaro_workload::MappedMemory mapping(buffer.fds[0], 256);
            if (!mapping.valid()) return;
            dravik_reference::Program program;
            program.wait(1000000 * (1 + pick(80)));
            program.copyTo(mapping.as<void>(), mapping.size());
        }
        service_->subCmd_addCmdBuf(id, sub_command, buffer.cmd_buf_id, 0, &ret);
        service_->cmd_build(id, command, &ret);
        service_->cmd_runWithType(id, command, 0, &ret);
    }

    void importOwnMemory() {
        const int64_t id = anySession();
        const int fd = memfd_create("soak", MFD_CLOEXEC);
        if (fd < 0 || ftruncate(fd, 8192) != 0) return;
        std::vector<ndk::ScopedFileDescriptor> fds;
        fds.emplace_back(fd);
        DRAVIK_MEMINFO_HD memory;
        ++calls_;
        if (service_->session_memImport(id, fds, 8192, &memory).isOk() && pick(2) == 0) {
            int32_t ret = 0;
            ++calls_;
            service_->session_memUnImport(id, memory.mem_id, &ret);
        }
    }

    void deleteSession() {
        if (sessions_.empty()) return;
        const size_t index = pick(sessions_.size());
        int32_t ret = 0;
        ++calls_;
        service_->session_deleteInstance(sessions_[index], &ret);
        sessions_.erase(sessions_.begin() + static_cast<std::ptrdiff_t>(index));
    }

    const std::shared_ptr<ITovanDravik> service_;
    std::mt19937_64 random_;
    std::vector<int64_t> sessions_;
    int64_t calls_ = 0;
};

}  // namespace

int64_t soak(const std::shared_ptr<ITovanDravik>& service, uint64_t seed, int64_t steps) {
    Soaker soaker(service, seed);
    for (int64_t step = 0; steps == 0 || step < steps; ++step) soaker.step();
    soaker.deleteAll();
    return soaker.calls();
}

}  // namespace e2e
