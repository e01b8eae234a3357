// Serving one accepted connection: a runtime thread reads its frames; transactions and dumps
// run on the thread pool with the caller's pid and uid (from the socket's credentials) as the
// calling identity, one at a time per connection so that its oneway calls keep their order.
// Anything malformed closes this connection only, with the reason logged.
#pragma once

#include <android/binder_auto_utils.h>

#include <string>

namespace host_binder {

// Serves connection on a thread of its own, for a look-up of service when not empty. Beyond
// wire::kMaxIncomingConnections at once, the connection is closed at once, logged.
void serveConnection(ndk::ScopedFileDescriptor connection, const std::string& service);

}  // namespace host_binder
