// A thread accepting connections on a listening socket: the process endpoint's, or a service's.
// Each accepted connection is served by incoming_connection.h.
#pragma once

#include <android/binder_auto_utils.h>

#include <string>
#include <thread>

namespace host_binder {

class Listener {
  public:
    // Starts accepting on socket. service is the instance name a look-up on it may ask for;
    // empty for the process endpoint, which answers no look-up.
    Listener(ndk::ScopedFileDescriptor socket, std::string service);
    // Stops accepting; connections already accepted go on.
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

  private:
    void run();

    const ndk::ScopedFileDescriptor socket_;
    const std::string service_;
    ndk::ScopedFileDescriptor stop_;  // an eventfd, readable once the listener stops
    std::thread thread_;
};

}  // namespace host_binder
