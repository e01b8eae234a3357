#pragma once

#define ATRACE_TAG ATRACE_TAG_NNAPI
#include <cutils/trace.h>

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

// A trace section named after a remote method. The enabled tags are asked again at the end, so a
// section is ended only if tracing is on by then.
class ScopedTrace {
  public:
    explicit ScopedTrace(const char* name) { atrace_begin(ATRACE_TAG_NNAPI, name); }
    ~ScopedTrace() { atrace_end(ATRACE_TAG_NNAPI); }

    ScopedTrace(const ScopedTrace&) = delete;
    ScopedTrace& operator=(const ScopedTrace&) = delete;
};

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
