// A proxy: a binder whose object lives in another process. Transactions, pings, dumps and the
// descriptor go to the owner over this thread's connection to it; death links are kept here
// and fired when the owner's process dies (remote_process.h).
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "binder.h"
#include "death_recipient.h"

namespace host_binder {

class RemoteProcess;
struct Frame;

class RemoteBinder final : public AIBinder {
  public:
    // Made only by the proxy table, which keeps one per remote object.
    RemoteBinder(std::shared_ptr<RemoteProcess> owner, uint64_t id);
    // Gives the owner back every reference this proxy received, and ends its death links.
    ~RemoteBinder() override;

    const std::string& ownerEndpoint() const;
    uint64_t id() const { return id_; }
    // One more reference of this process to the object, which the proxy gives back when it goes.
    void addReference() { references_.fetch_add(1, std::memory_order_relaxed); }

    bool isRemote() const override { return true; }
    bool isAlive() const override;
    binder_status_t ping() override;
    binder_status_t dump(int fd, const char** args, uint32_t arg_count) override;
    binder_status_t transact(transaction_code_t code, const AParcel& request, AParcel* reply,
                             binder_flags_t flags) override;
    // STATUS_DEAD_OBJECT once the owner is known dead.
    binder_status_t linkToDeath(AIBinder_DeathRecipient* recipient, void* cookie) override;
    // STATUS_NAME_NOT_FOUND when no such link exists (any more).
    binder_status_t unlinkToDeath(AIBinder_DeathRecipient* recipient, void* cookie) override;

    // The owner died: every link to this proxy fires.
    void notifyDied();

  protected:
    binder_status_t fetchDescriptor(std::string* descriptor) override;

  private:
    // Sends frame (target and kind set) and, unless oneway, fills reply from the answer.
    binder_status_t call(Frame* frame, AParcel* reply, bool oneway);
    std::vector<std::shared_ptr<DeathRecipientLinks>> linkedRecipients();

    const std::shared_ptr<RemoteProcess> owner_;
    const uint64_t id_;
    std::atomic<uint32_t> references_{0};
    std::mutex lock_;
    std::vector<std::weak_ptr<DeathRecipientLinks>> recipients_;  // guarded by lock_
};

}  // namespace host_binder
