// Calls from this process to others. Each thread keeps its own connection to each process it
// calls (made on first use, closed when the thread ends), so calls from several threads run at
// once and a connection carries one call at a time.
#pragma once

#include <android/binder_auto_utils.h>

#include <string>

#include "frame_codec.h"

namespace host_binder {

// Sends request to the process at endpoint and, when reply is given, waits for its kReply
// (as long as the call takes; a dying process ends the wait). STATUS_DEAD_OBJECT when the
// process cannot be reached, stops reading or the connection breaks.

binder_status_t callProcess(const std::string& endpoint, Frame* request, Frame* reply);

// Looks instance up in the service directory. STATUS_NAME_NOT_FOUND when no live process has
// it registered; a process that does not answer within the handshake timeout is taken as absent.
binder_status_t lookupService(const std::string& instance, ndk::SpAIBinder* binder);

}  // namespace host_binder
