// The reference counts of one binder. The binder lives while it has strong references; this
// record lives on while weak references remain, so that they can tell the binder is gone.
#pragma once

#include <atomic>
#include <cstdint>

struct AIBinder;

namespace host_binder {

class BinderLifetime {
  public:
    // Starts with the one strong reference that the creator of binder holds.
    explicit BinderLifetime(AIBinder* binder) : binder_(binder) {}
    BinderLifetime(const BinderLifetime&) = delete;
    BinderLifetime& operator=(const BinderLifetime&) = delete;

    AIBinder* binder() const { return binder_; }
    int32_t strongCount() const { return strong_count_.load(std::memory_order_acquire); }

    void incrementStrong();
    // Releases one strong reference; the last one destroys the binder.
    void decrementStrong();
    // Adds a strong reference only while the binder lives; false once it is gone.
    bool tryIncrementStrong();

    void incrementWeak();
    // Releases one weak reference; the last one frees this record.
    void decrementWeak();

  private:
    ~BinderLifetime() = default;

    AIBinder* const binder_;
    std::atomic<int32_t> strong_count_{1};
    // One weak reference stands for all strong ones together, so the record outlives the binder.
    std::atomic<int32_t> weak_count_{1};
};

}  // namespace host_binder
