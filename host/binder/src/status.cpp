// The AStatus C functions.
#include "status.h"

#include "log.h"

namespace host_binder {

AStatus* newStatusFromException(binder_exception_t exception, const char* message) {
    auto* status = new AStatus;
    status->exception = exception;
    if (exception == EX_TRANSACTION_FAILED) status->status = STATUS_FAILED_TRANSACTION;
    if (message != nullptr) status->message = message;
    return status;
}

}  // namespace host_binder

using host_binder::logError;
using host_binder::newStatusFromException;

namespace {

// Every OK status is this one, never changed and never freed: making and dropping the status of
// a successful call costs nothing on the path of each transaction.
AStatus& sharedOk() {
    static auto* ok = new AStatus;
    return *ok;
}

}  // namespace

AStatus* AStatus_newOk() {
    return &sharedOk();
}

AStatus* AStatus_fromExceptionCode(binder_exception_t exception) {
    return newStatusFromException(exception, nullptr);
}

AStatus* AStatus_fromExceptionCodeWithMessage(binder_exception_t exception, const char* message) {
    return newStatusFromException(exception, message);
}

AStatus* AStatus_fromServiceSpecificError(int32_t serviceSpecific) {
    return AStatus_fromServiceSpecificErrorWithMessage(serviceSpecific, nullptr);
}

AStatus* AStatus_fromServiceSpecificErrorWithMessage(int32_t serviceSpecific, const char* message) {
    AStatus* status = newStatusFromException(EX_SERVICE_SPECIFIC, message);
    status->service_specific_error = serviceSpecific;
    return status;
}

AStatus* AStatus_fromStatus(binder_status_t transportStatus) {
    auto* status = new AStatus;
    if (transportStatus != STATUS_OK) {
        status->exception = EX_TRANSACTION_FAILED;
        status->status = transportStatus;
    }
    return status;
}

bool AStatus_isOk(const AStatus* status) {
    if (status == nullptr) {
        logError("AStatus_isOk: null status");
        return false;
    }
    return status->exception == EX_NONE;
}

binder_exception_t AStatus_getExceptionCode(const AStatus* status) {
    if (status == nullptr) {
        logError("AStatus_getExceptionCode: null status");
        return EX_TRANSACTION_FAILED;
    }
    return status->exception;
}

int32_t AStatus_getServiceSpecificError(const AStatus* status) {
    if (status == nullptr || status->exception != EX_SERVICE_SPECIFIC) return 0;
    return status->service_specific_error;
}

binder_status_t AStatus_getStatus(const AStatus* status) {
    if (status == nullptr) {
        logError("AStatus_getStatus: null status");
        return STATUS_UNEXPECTED_NULL;
    }
    return status->exception == EX_TRANSACTION_FAILED ? status->status : STATUS_OK;
}

const char* AStatus_getMessage(const AStatus* status) {
    return status == nullptr ? "" : status->message.c_str();
}

void AStatus_delete(AStatus* status) {
    if (status != &sharedOk()) delete status;
}
