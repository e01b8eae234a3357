// The AIBinder C functions about strong and weak references, and binder identity.
#include <android/binder_ibinder.h>

#include <functional>

#include "binder.h"
#include "binder_lifetime.h"

using host_binder::BinderLifetime;

// A weak reference names the binder's lifetime record, which outlives the binder.
struct AIBinder_Weak {
    BinderLifetime* lifetime;
};

void AIBinder_incStrong(AIBinder* binder) {
    if (binder != nullptr) binder->lifetime().incrementStrong();
}

void AIBinder_decStrong(AIBinder* binder) {
    if (binder != nullptr) binder->lifetime().decrementStrong();
}

int32_t AIBinder_debugGetRefCount(AIBinder* binder) {
    return binder == nullptr ? -1 : binder->lifetime().strongCount();
}

bool AIBinder_lt(const AIBinder* lhs, const AIBinder* rhs) {
    return std::less<const AIBinder*>()(lhs, rhs);
}

AIBinder_Weak* AIBinder_Weak_new(AIBinder* binder) {
    if (binder == nullptr) return nullptr;
    BinderLifetime& lifetime = binder->lifetime();
    lifetime.incrementWeak();
    return new AIBinder_Weak{&lifetime};
}

void AIBinder_Weak_delete(AIBinder_Weak* weakBinder) {
    if (weakBinder == nullptr) return;
    weakBinder->lifetime->decrementWeak();
    delete weakBinder;
}

AIBinder* AIBinder_Weak_promote(AIBinder_Weak* weakBinder) {
    if (weakBinder == nullptr || !weakBinder->lifetime->tryIncrementStrong()) return nullptr;
    return weakBinder->lifetime->binder();
}

AIBinder_Weak* AIBinder_Weak_clone(const AIBinder_Weak* weak) {
    if (weak == nullptr) return nullptr;
    weak->lifetime->incrementWeak();
    return new AIBinder_Weak{weak->lifetime};
}

bool AIBinder_Weak_lt(const AIBinder_Weak* lhs, const AIBinder_Weak* rhs) {
    // The lifetime record stands for its binder one to one, even after the binder is gone.
    const BinderLifetime* left = lhs == nullptr ? nullptr : lhs->lifetime;
    const BinderLifetime* right = rhs == nullptr ? nullptr : rhs->lifetime;
    return std::less<const BinderLifetime*>()(left, right);
}
