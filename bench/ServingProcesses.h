#pragma once

// The serving processes of the cross-process figures, each in a service directory of its own,
// started on first use. main() owns them, so that they stop and this process's proxies go before
// the binder runtime itself is torn down at exit.

#include <memory>
#include <string>

#include "ChildProcess.h"
#include "CrossProcessCall.h"

namespace bench {

// A private service directory, removed with everything in it when done.
class ServiceDirectory {
  public:
    ServiceDirectory();
    ~ServiceDirectory();
    ServiceDirectory(const ServiceDirectory&) = delete;
    ServiceDirectory& operator=(const ServiceDirectory&) = delete;

    const std::string& path() const { return path_; }
    std::string environmentEntry() const { return "TESSARO_BINDER_DIR=" + path_; }

  private:
    std::string path_;
};

struct ServingProcess {
    ServiceDirectory directory;
    ChildProcess host;

    explicit ServingProcess(const std::string& program);
    // Sends command and answers the host's reply line, empty when none came.
    std::string ask(const std::string& command);
};

class ServingProcesses {
  public:
    ServingProcesses();
    ~ServingProcesses();
    ServingProcesses(const ServingProcesses&) = delete;
    ServingProcesses& operator=(const ServingProcesses&) = delete;

    // The one main() made.
    static ServingProcesses& current();

    // The service on the reference driver, for the crash clients.
    ServingProcess& referenceDriverHost();
    // A trivial command on the service on the no-op driver; this process's own
    // TESSARO_BINDER_DIR names that service's directory, so AServiceManager_getService reaches it.
    RemoteTrivialCommand& remoteTrivialCommand();

  private:
    std::unique_ptr<ServingProcess> reference_;
    std::unique_ptr<ServingProcess> fast_;
    std::unique_ptr<RemoteTrivialCommand> remote_;  // declared last: released first
};

// The crash client program.
std::string crashClientPath();

}  // namespace bench
