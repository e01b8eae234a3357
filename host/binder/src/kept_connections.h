// The connections this process keeps open to others between calls. Each calling thread keeps
// its own connection to each process it calls; when that process dies, every thread's connection
// to it is closed here, so threads that never call it again do not hold it open.
#pragma once

#include <android/binder_auto_utils.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace host_binder {

// One thread's connection to one process. The thread holds lock while it uses the connection.
struct KeptConnection {
    std::mutex lock;
    ndk::ScopedFileDescriptor fd;  // guarded by lock; -1 once closed
    // Set when the process died: whoever holds lock closes fd.
    std::atomic<bool> forgotten{false};
};

class KeptConnections {
  public:
    static KeptConnections& processConnections();

    // Records connection as one kept to endpoint.
    void keep(const std::string& endpoint, const std::shared_ptr<KeptConnection>& connection);
    // Closes every connection kept to endpoint (one in use is closed by its user when its call
    // ends) and forgets them.
    void forget(const std::string& endpoint);

  private:
    std::mutex lock_;
    std::map<std::string, std::vector<std::weak_ptr<KeptConnection>>> kept_;  // guarded by lock_
};

}  // namespace host_binder
