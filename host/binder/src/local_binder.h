// A binder whose object lives in this process: transactions run its class's onTransact here.
#pragma once

#include "binder.h"

namespace host_binder {

class LocalBinder final : public AIBinder {
  public:
    // Runs the class's onCreate(args); its result is the user data.
    LocalBinder(const AIBinder_Class* binder_class, void* args);
    // Runs the class's onDestroy(user data).
    ~LocalBinder() override;

    bool isRemote() const override { return false; }
    bool isAlive() const override { return true; }
    void* userData() const override { return user_data_; }
    binder_status_t ping() override { return STATUS_OK; }
    binder_status_t dump(int fd, const char** args, uint32_t arg_count) override;
    binder_status_t transact(transaction_code_t code, const AParcel& request, AParcel* reply,
                             binder_flags_t flags) override;
    // A local object cannot die apart from this process: both refuse, as on the platform.
    binder_status_t linkToDeath(AIBinder_DeathRecipient* recipient, void* cookie) override;
    binder_status_t unlinkToDeath(AIBinder_DeathRecipient* recipient, void* cookie) override;

  private:
    binder_status_t runTransaction(transaction_code_t code, const AParcel& request, AParcel* reply);

    void* const user_data_;
};

}  // namespace host_binder
