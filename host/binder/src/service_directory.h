// The service directory: where a process's endpoint socket and the sockets of the services it
// registers live, so that other processes of the user can reach them. It is $TESSARO_BINDER_DIR
// when set, otherwise $XDG_RUNTIME_DIR/tessaro-binder, otherwise /tmp/tessaro-binder-<uid>;
// created mode 0700, and refused when another user owns it or others may enter it.
#pragma once

#include <string>

namespace host_binder {

// The directory's path, created when missing; empty, with the reason logged, when unusable.
std::string serviceDirectory();

// The socket path of a service's instance name: its letters, digits, '_', '-' and '.' kept and
// every other byte escaped as %XX (a '/' included); a name whose path would not fit a Unix
// socket is named by a hash instead, and the look-up checks the name. Empty when the directory
// is unusable.
std::string servicePath(const std::string& instance);

// The socket path of a process endpoint; empty when the directory is unusable.
std::string endpointPath(const std::string& endpoint);

// Whether name has the shape of an endpoint name ("p<pid>-<16 hex digits>").
bool isEndpointName(const std::string& name);

}  // namespace host_binder
