// The content of an AIBinder: what every binder, local or remote, is and does. A local binder
// (local_binder.h) runs transactions in this process; a remote one forwards them to the process
// that owns the object.
#pragma once

#include <android/binder_ibinder.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "binder_lifetime.h"

namespace host_binder {

// Which partitions may talk to a binder.
enum class Stability { kLocal, kVintf };

}  // namespace host_binder

struct AIBinder {
  public:
    // binder_class may be null for a remote binder whose class is not known yet.
    explicit AIBinder(const AIBinder_Class* binder_class);
    AIBinder(const AIBinder&) = delete;
    AIBinder& operator=(const AIBinder&) = delete;
    // Only the lifetime record destroys a binder, when its last strong reference goes.
    virtual ~AIBinder() = default;

    host_binder::BinderLifetime& lifetime() const { return *lifetime_; }
    const AIBinder_Class* binderClass() const {
        return binder_class_.load(std::memory_order_acquire);
    }
    // Gives the binder wanted as its class; see AIBinder_associateClass.
    bool associateClass(const AIBinder_Class* wanted);

    host_binder::Stability stability() const { return stability_.load(std::memory_order_acquire); }
    void setStability(host_binder::Stability stability) {
        stability_.store(stability, std::memory_order_release);
    }

    virtual bool isRemote() const = 0;
    virtual bool isAlive() const = 0;
    virtual void* userData() const { return nullptr; }
    virtual binder_status_t ping() = 0;
    virtual binder_status_t dump(int fd, const char** args, uint32_t arg_count) = 0;

    // Runs one transaction: request is read from its start, reply filled (left empty for a
    // oneway call). Codes, flags and the request's target are checked by the caller.
    virtual binder_status_t transact(transaction_code_t code, const AParcel& request,
                                     AParcel* reply, binder_flags_t flags) = 0;

    virtual binder_status_t linkToDeath(AIBinder_DeathRecipient* recipient, void* cookie) = 0;
    virtual binder_status_t unlinkToDeath(AIBinder_DeathRecipient* recipient, void* cookie) = 0;

  protected:
    // The interface descriptor of the object behind a binder that has no class yet; only remote
    // binders can lack one, and they ask the object's owner.
    virtual binder_status_t fetchDescriptor(std::string* descriptor);

  private:
    // Freed by its last weak reference, which may outlive this binder.
    host_binder::BinderLifetime* const lifetime_;
    std::atomic<const AIBinder_Class*> binder_class_;
    std::atomic<host_binder::Stability> stability_{host_binder::Stability::kLocal};
};
