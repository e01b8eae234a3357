#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

#include "marker_output.h"

namespace host_trace {

// The process's trace state: the tags enabled through the property, and the marker output that
// is opened once some tag is. Made at the first trace call and never destroyed, so that threads
// still tracing while the process exits never meet a destroyed state.
class TraceState {
  public:
    static TraceState& instance();

    // One load: the check that every trace call makes, so it must stay this cheap.
    uint64_t enabledTags() const { return enabled_tags_.load(std::memory_order_relaxed); }
    // Reads the property again, opening the marker output if a tag is now on and it is not open.
    void updateTags();
    // Records marker, when an output is open.
    void write(const char* marker, size_t length) const;

  private:
    TraceState() { updateTags(); }

    std::atomic<uint64_t> enabled_tags_{0};
    std::atomic<const MarkerOutput*> output_{nullptr};
    std::mutex update_lock_;
    std::unique_ptr<MarkerOutput> owned_output_;  // guarded by update_lock_; set once
    bool told_output_failure_ = false;            // guarded by update_lock_
};

}  // namespace host_trace
