// Death recipients: their bookkeeping, and the C functions that create, link and delete them.
#include "death_recipient.h"

#include <algorithm>
#include <utility>

#include "binder.h"
#include "log.h"

namespace host_binder {

void DeathRecipientLinks::setOnUnlinked(AIBinder_DeathRecipient_onBinderUnlinked on_unlinked) {
    std::lock_guard<std::mutex> guard(lock_);
    on_unlinked_ = on_unlinked;
}

void DeathRecipientLinks::link(const AIBinder* binder, void* cookie) {
    std::lock_guard<std::mutex> guard(lock_);
    links_.push_back(Link{binder, cookie});
}

bool DeathRecipientLinks::unlink(const AIBinder* binder, void* cookie) {
    std::vector<Link> ended;
    {
        std::lock_guard<std::mutex> guard(lock_);
        auto found = std::find_if(links_.begin(), links_.end(), [&](const Link& link) {
            return link.binder == binder && link.cookie == cookie;
        });
        if (found == links_.end()) return false;
        ended.push_back(*found);
        links_.erase(found);
    }
    reportUnlinked(ended);
    return true;
}

std::vector<DeathRecipientLinks::Link> DeathRecipientLinks::takeLinks(const AIBinder* binder) {
    std::lock_guard<std::mutex> guard(lock_);
    auto taken = std::stable_partition(links_.begin(), links_.end(), [binder](const Link& link) {
        return link.binder != binder;
    });
    std::vector<Link> ended(taken, links_.end());
    links_.erase(taken, links_.end());
    return ended;
}

void DeathRecipientLinks::notifyDied(const AIBinder* binder) {
    const std::vector<Link> ended = takeLinks(binder);
    for (const Link& link : ended) {
        if (on_died_ != nullptr) on_died_(link.cookie);
    }
    reportUnlinked(ended);
}

void DeathRecipientLinks::unlinkBinder(const AIBinder* binder) {
    reportUnlinked(takeLinks(binder));
}

void DeathRecipientLinks::unlinkAll() {
    std::vector<Link> ended;
    {
        std::lock_guard<std::mutex> guard(lock_);
        ended.swap(links_);
    }
    reportUnlinked(ended);
}

size_t DeathRecipientLinks::linkCount(const AIBinder* binder) const {
    std::lock_guard<std::mutex> guard(lock_);
    return static_cast<size_t>(
            std::count_if(links_.begin(), links_.end(),
                          [binder](const Link& link) { return link.binder == binder; }));
}

void DeathRecipientLinks::reportUnlinked(const std::vector<Link>& ended) const {
    AIBinder_DeathRecipient_onBinderUnlinked on_unlinked = nullptr;
    {
        std::lock_guard<std::mutex> guard(lock_);
        on_unlinked = on_unlinked_;
    }
    if (on_unlinked == nullptr) return;
    for (const Link& link : ended) on_unlinked(link.cookie);
}

}  // namespace host_binder

using host_binder::logError;

AIBinder_DeathRecipient* AIBinder_DeathRecipient_new(
        AIBinder_DeathRecipient_onBinderDied onBinderDied) {
    if (onBinderDied == nullptr) {
        logError("AIBinder_DeathRecipient_new: null callback");
        return nullptr;
    }
    return new AIBinder_DeathRecipient{
            std::make_shared<host_binder::DeathRecipientLinks>(onBinderDied)};
}

void AIBinder_DeathRecipient_setOnUnlinked(AIBinder_DeathRecipient* recipient,
                                           AIBinder_DeathRecipient_onBinderUnlinked onUnlinked) {
    if (recipient == nullptr) {
        logError("AIBinder_DeathRecipient_setOnUnlinked: null recipient");
        return;
    }
    recipient->links->setOnUnlinked(onUnlinked);
}

void AIBinder_DeathRecipient_delete(AIBinder_DeathRecipient* recipient) {
    if (recipient == nullptr) return;
    recipient->links->unlinkAll();
    delete recipient;
}

binder_status_t AIBinder_linkToDeath(AIBinder* binder, AIBinder_DeathRecipient* recipient,
                                     void* cookie) {
    if (binder == nullptr || recipient == nullptr) {
        logError("AIBinder_linkToDeath: null %s", binder == nullptr ? "binder" : "recipient");
        return STATUS_UNEXPECTED_NULL;
    }
    return binder->linkToDeath(recipient, cookie);
}

binder_status_t AIBinder_unlinkToDeath(AIBinder* binder, AIBinder_DeathRecipient* recipient,
                                       void* cookie) {
    if (binder == nullptr || recipient == nullptr) {
        logError("AIBinder_unlinkToDeath: null %s", binder == nullptr ? "binder" : "recipient");
        return STATUS_UNEXPECTED_NULL;
    }
    return binder->unlinkToDeath(recipient, cookie);
}
