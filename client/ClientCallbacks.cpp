// Client callbacks: the service only watches their binders for their owners' deaths.
#include <algorithm>

#include "service/Logging.h"
#include "service/TovanDravik.h"
#include "service/Trace.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

std::vector<CallbackInfo>::iterator lookupCallback(std::vector<CallbackInfo>& callbacks,
                                                   const AIBinder* binder) {
    return std::find_if(callbacks.begin(), callbacks.end(),
                        [binder](const CallbackInfo& info) { return info.binder.get() == binder; });
}

bool TovanDravik::isRegisteredLocked(const AIBinder* binder) const {
    return std::any_of(callbacks.begin(), callbacks.end(),
                       [binder](const CallbackInfo& info) { return info.binder.get() == binder; });
}

ndk::ScopedAStatus TovanDravik::setCallback(
        const std::shared_ptr<ITovanDravikCallback>& in_callback) {
    ScopedTrace trace("setCallback");
    std::lock_guard<std::mutex> guard(callback_lock);
    const int32_t pid = AIBinder_getCallingPid();
    const uid_t uid = AIBinder_getCallingUid();
    ndk::SpAIBinder binder = in_callback->asBinder();

    if (isRegisteredLocked(binder.get())) {
        DRAVIK_LOGW("The callback(pid: %d, uid: %d) is already registered.", pid, uid);
        return ndk::ScopedAStatus::ok();
    }
    auto context = std::make_unique<OnClientBinderDiedContext>(
            OnClientBinderDiedContext{this, binder.get()});
    if (AIBinder_linkToDeath(binder.get(), death_recipient.get(), context.get()) != STATUS_OK) {
        DRAVIK_LOGE("Cannot link to death");
        return ndk::ScopedAStatus::fromExceptionCode(EX_NULL_POINTER);
    }
    death_contexts[binder.get()] = std::move(context);
    callbacks.emplace_back(binder, pid);
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::unSetCallback(
        const std::shared_ptr<ITovanDravikCallback>& in_callback) {
    ScopedTrace trace("unSetCallback");
    std::lock_guard<std::mutex> guard(callback_lock);
    ndk::SpAIBinder binder = in_callback->asBinder();

    // A binder never registered gets an empty entry and a null cookie, and it stays.
    std::unique_ptr<OnClientBinderDiedContext>& context = death_contexts[binder.get()];
    if (AIBinder_unlinkToDeath(binder.get(), death_recipient.get(), context.get()) != STATUS_OK) {
        DRAVIK_LOGE("Cannot unlink to death");
        return ndk::ScopedAStatus::fromExceptionCode(EX_NULL_POINTER);
    }
    auto registered = lookupCallback(callbacks, binder.get());
    if (registered != callbacks.end()) callbacks.erase(registered);
    death_contexts.erase(binder.get());
    return ndk::ScopedAStatus::ok();
}

void TovanDravik::onClientBinderDied(void* cookie) {
    auto* context = static_cast<OnClientBinderDiedContext*>(cookie);
    context->service->handleClientBinderDeath(context->binder);
}

void TovanDravik::handleClientBinderDeath(const AIBinder* binder) {
    std::lock_guard<std::mutex> guard(callback_lock);
    auto registered = lookupCallback(callbacks, binder);
    if (registered == callbacks.end()) {
        death_contexts.erase(binder);
        return;
    }
    DRAVIK_LOGW("Tovan AIDL client callback(pid: %d) died", registered->pid);
    releaseCrashClient(registered->pid);
    callbacks.erase(registered);
    // This frees the context that was the notification's cookie.
    death_contexts.erase(binder);
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
