// Preparing and sending transactions: AIBinder_prepareTransaction and AIBinder_transact.
#include <android/binder_ibinder.h>
#include <android/binder_stability.h>

#include <memory>

#include "binder.h"
#include "interface_token.h"
#include "log.h"
#include "parcel.h"
#include "transaction_codes.h"

using host_binder::logError;

namespace {

constexpr binder_flags_t kKnownFlags = FLAG_ONEWAY | FLAG_CLEAR_BUF | FLAG_PRIVATE_VENDOR;

binder_status_t checkTransaction(const AIBinder& binder, transaction_code_t code,
                                 const AParcel& request, binder_flags_t flags) {
    if (!host_binder::isInterfaceCode(code) && !host_binder::isRuntimeCode(code)) {
        logError("AIBinder_transact: code %#x is neither an interface's nor the runtime's", code);
        return STATUS_UNKNOWN_TRANSACTION;
    }
    if ((flags & ~kKnownFlags) != 0) {
        logError("AIBinder_transact: unknown flags %#x", flags & ~kKnownFlags);
        return STATUS_BAD_VALUE;
    }
    if (request.target() != &binder) {
        logError("AIBinder_transact: the parcel was not prepared for this binder");
        return STATUS_BAD_VALUE;
    }
    return STATUS_OK;
}

}  // namespace

binder_status_t AIBinder_prepareTransaction(AIBinder* binder, AParcel** in) {
    if (binder == nullptr || in == nullptr) return STATUS_UNEXPECTED_NULL;
    const AIBinder_Class* binder_class = binder->binderClass();
    if (binder_class == nullptr) {
        logError("AIBinder_prepareTransaction: the binder has no class; associate one first");
        return STATUS_INVALID_OPERATION;
    }
    auto request = std::make_unique<AParcel>(binder);
    const binder_status_t status = host_binder::writeInterfaceToken(request.get(), *binder_class);
    if (status != STATUS_OK) return status;
    *in = request.release();
    return STATUS_OK;
}

binder_status_t AIBinder_transact(AIBinder* binder, transaction_code_t code, AParcel** in,
                                  AParcel** out, binder_flags_t flags) {
    if (in == nullptr) {
        logError("AIBinder_transact: null request");
        return STATUS_UNEXPECTED_NULL;
    }
    // The request is consumed whatever happens.
    std::unique_ptr<AParcel> request(*in);
    *in = nullptr;
    if (out != nullptr) *out = nullptr;
    if (binder == nullptr || request == nullptr || out == nullptr) {
        logError("AIBinder_transact: null %s", binder == nullptr    ? "binder"
                                               : request == nullptr ? "request"
                                                                    : "reply pointer");
        return STATUS_UNEXPECTED_NULL;
    }
    binder_status_t status = checkTransaction(*binder, code, *request, flags);
    if (status != STATUS_OK) return status;
    auto reply = std::make_unique<AParcel>();
    status = binder->transact(code, *request, reply.get(), flags);
    if (status != STATUS_OK) return status;
    reply->setDataPosition(0);
    *out = reply.release();
    return STATUS_OK;
}
