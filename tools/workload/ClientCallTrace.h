// A trace section around one of the client's calls, named "client <call>", so that a trace shows
// the client's side of each call beside the service's own sections. It uses the service's tag, so
// the one property setting turns both on.
#pragma once

#include <cutils/trace.h>

#include <string>

namespace tessaro_workload {

class ClientCallTrace {
  public:
    explicit ClientCallTrace(const char* call) : began_(atrace_is_tag_enabled(ATRACE_TAG_NNAPI)) {
        if (began_) atrace_begin(ATRACE_TAG_NNAPI, (std::string("client ") + call).c_str());
    }
    ~ClientCallTrace() {
        if (began_) atrace_end(ATRACE_TAG_NNAPI);
    }
    ClientCallTrace(const ClientCallTrace&) = delete;
    ClientCallTrace& operator=(const ClientCallTrace&) = delete;

  private:
    const bool began_;
};

}  // namespace tessaro_workload
