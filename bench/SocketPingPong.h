#pragma once

// The cross-process baseline: a raw ping-pong over a Unix stream socket between this process and
// a forked echo process, of the same payload as one call's request, each way.

#include <cstddef>

namespace bench {

// Registers BM_SocketPingPong for payloads of bytes.
void registerSocketPingPong(size_t bytes);

}  // namespace bench
