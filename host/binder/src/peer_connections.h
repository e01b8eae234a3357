// The connections other processes have open to this one, by the endpoint each named in its
// hello. A process's death is acted on only once every connection it had here has been read to
// its end: every call it sent before it died has then run, so what those calls made (a session,
// say) exists when its death recipients clean up after it.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace host_binder {

class PeerConnections {
  public:
    static PeerConnections& processConnections();

    void opened(const std::string& endpoint);
    // After the connection's last call has run.
    void closed(const std::string& endpoint);
    // Runs then (copied) once endpoint has no connection open here: on a pool thread when it
    // still has some, on the calling thread otherwise.
    void whenAllClosed(const std::string& endpoint, std::function<void()> then);

  private:
    struct Peer {
        size_t open = 0;
        std::vector<std::function<void()>> waiting;
    };

    std::mutex lock_;
    std::map<std::string, Peer> peers_;  // guarded by lock_; only peers with open connections
};

}  // namespace host_binder
