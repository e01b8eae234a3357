// What a death recipient knows: its callbacks and the (binder, cookie) pairs linked to it. A
// remote binder whose owner dies tells each recipient linked to it (notifyDied), on whatever
// thread noticed the death; the links are shared so that this still works, and does nothing,
// after the recipient itself was deleted.
#pragma once

#include <android/binder_ibinder.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace host_binder {

class DeathRecipientLinks {
  public:
    explicit DeathRecipientLinks(AIBinder_DeathRecipient_onBinderDied on_died)
        : on_died_(on_died) {}

    void setOnUnlinked(AIBinder_DeathRecipient_onBinderUnlinked on_unlinked);

    // Records one link; the same pair may be linked more than once.
    void link(const AIBinder* binder, void* cookie);
    // Removes one link of that pair and reports it unlinked; false when there is none.
    bool unlink(const AIBinder* binder, void* cookie);
    // Ends every link to binder: onBinderDied, then onUnlinked, for each cookie.
    void notifyDied(const AIBinder* binder);
    // Ends every link (the recipient is being deleted): onUnlinked for each cookie.
    void unlinkAll();
    // Ends every link to binder, which is being destroyed: onUnlinked for each cookie.
    void unlinkBinder(const AIBinder* binder);
    size_t linkCount(const AIBinder* binder) const;

  private:
    struct Link {
        const AIBinder* binder;
        void* cookie;
    };

    // Takes the links to binder out of the table.
    std::vector<Link> takeLinks(const AIBinder* binder);
    // Callbacks run with no lock held: they may link or unlink again.
    void reportUnlinked(const std::vector<Link>& ended) const;

    const AIBinder_DeathRecipient_onBinderDied on_died_;
    mutable std::mutex lock_;
    AIBinder_DeathRecipient_onBinderUnlinked on_unlinked_ = nullptr;  // guarded by lock_
    std::vector<Link> links_;                                         // guarded by lock_
};

}  // namespace host_binder

struct AIBinder_DeathRecipient {
    std::shared_ptr<host_binder::DeathRecipientLinks> links;
};
