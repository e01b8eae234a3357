#include "binder_lifetime.h"

#include "binder.h"
#include "log.h"

namespace host_binder {

void BinderLifetime::incrementStrong() {
    const int32_t previous = strong_count_.fetch_add(1, std::memory_order_relaxed);
    if (previous <= 0) logError("AIBinder_incStrong: binder %p was already destroyed", binder_);
}

void BinderLifetime::decrementStrong() {
    const int32_t previous = strong_count_.fetch_sub(1, std::memory_order_acq_rel);
    if (previous > 1) return;
    if (previous < 1) {
        logError("AIBinder_decStrong: binder %p has no strong reference left", binder_);
        return;
    }
    delete binder_;
    decrementWeak();
}

bool BinderLifetime::tryIncrementStrong() {
    int32_t count = strong_count_.load(std::memory_order_relaxed);
    while (count > 0) {
        if (strong_count_.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel,
                                                std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

void BinderLifetime::incrementWeak() {
    weak_count_.fetch_add(1, std::memory_order_relaxed);
}

void BinderLifetime::decrementWeak() {
    if (weak_count_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

}  // namespace host_binder
