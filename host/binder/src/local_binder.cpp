#include "local_binder.h"

#include <android/binder_parcel_utils.h>

#include "binder_class.h"
#include "interface_token.h"
#include "log.h"
#include "parcel.h"
#include "transaction_codes.h"

namespace host_binder {

LocalBinder::LocalBinder(const AIBinder_Class* binder_class, void* args)
    : AIBinder(binder_class), user_data_(binder_class->on_create(args)) {}

LocalBinder::~LocalBinder() {
    binderClass()->on_destroy(user_data_);
}

binder_status_t LocalBinder::dump(int fd, const char** args, uint32_t arg_count) {
    const AIBinder_onDump on_dump = binderClass()->on_dump.load(std::memory_order_acquire);
    return on_dump == nullptr ? STATUS_OK : on_dump(this, fd, args, arg_count);
}

binder_status_t LocalBinder::transact(transaction_code_t code, const AParcel& request,
                                      AParcel* reply, binder_flags_t flags) {
    request.setDataPosition(0);
    if ((flags & FLAG_ONEWAY) == 0) return runTransaction(code, request, reply);
    // A oneway call still runs here and now; whatever it replies is dropped.
    AParcel dropped_reply;
    return runTransaction(code, request, &dropped_reply);
}

binder_status_t LocalBinder::runTransaction(transaction_code_t code, const AParcel& request,
                                            AParcel* reply) {
    const AIBinder_Class& binder_class = *binderClass();
    if (code == kPingTransaction) return STATUS_OK;
    if (code == kInterfaceTransaction) {
        return ndk::AParcel_writeString(reply, binder_class.descriptor);
    }
    if (!isInterfaceCode(code)) {
        logError("transaction code %#x is not one of '%s'", code, binder_class.descriptor.c_str());
        return STATUS_UNKNOWN_TRANSACTION;
    }
    const binder_status_t status = checkInterfaceToken(request, binder_class);
    if (status != STATUS_OK) return status;
    return binder_class.on_transact(this, code, &request, reply);
}

binder_status_t LocalBinder::linkToDeath(AIBinder_DeathRecipient* /*recipient*/, void* /*cookie*/) {
    logError("AIBinder_linkToDeath: a local binder never dies apart from its process");
    return STATUS_INVALID_OPERATION;
}

binder_status_t LocalBinder::unlinkToDeath(AIBinder_DeathRecipient* /*recipient*/,
                                           void* /*cookie*/) {
    logError("AIBinder_unlinkToDeath: a local binder has no death links");
    return STATUS_INVALID_OPERATION;
}

}  // namespace host_binder
