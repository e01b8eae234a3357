#include "ServingProcesses.h"

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>

namespace bench {

namespace {
ServingProcesses* current_processes = nullptr;
}  // namespace

ServiceDirectory::ServiceDirectory() {
    char pattern[] = "/tmp/tessaro-bench-XXXXXX";
    if (mkdtemp(pattern) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

ServiceDirectory::~ServiceDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

ServingProcess::ServingProcess(const std::string& program)
    : host(program, {}, {directory.environmentEntry()}) {
    const auto ready = host.readLine();
    if (ready != "ready") throw std::runtime_error(program + " did not start");
}

std::string ServingProcess::ask(const std::string& command) {
    if (!host.writeLine(command)) return "";
    return host.readLine().value_or("");
}

ServingProcesses::ServingProcesses() {
    current_processes = this;
}

ServingProcesses::~ServingProcesses() {
    current_processes = nullptr;
}

ServingProcesses& ServingProcesses::current() {
    return *current_processes;
}

ServingProcess& ServingProcesses::referenceDriverHost() {
    if (!reference_) reference_ = std::make_unique<ServingProcess>(TESSARO_BENCH_SERVICE_HOST);
    return *reference_;
}

RemoteTrivialCommand& ServingProcesses::remoteTrivialCommand() {
    if (!remote_) {
        fast_ = std::make_unique<ServingProcess>(TESSARO_BENCH_FAST_SERVICE_HOST);
        setenv("TESSARO_BINDER_DIR", fast_->directory.path().c_str(), 1);
        remote_ = std::make_unique<RemoteTrivialCommand>();
    }
    return *remote_;
}

std::string crashClientPath() {
    return TESSARO_BENCH_CRASH_CLIENT;
}

}  // namespace bench
