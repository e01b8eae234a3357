// Status headers: how a reply says whether the call succeeded. The exception code, then, unless
// it is EX_NONE, the message (a string) and, for EX_SERVICE_SPECIFIC, the error number.
#include <android/binder_parcel.h>

#include <memory>
#include <string>

#include "log.h"
#include "parcel.h"
#include "status.h"
#include "utf8.h"

using host_binder::logError;

namespace {

// Skips the header an EX_HAS_REPLY_HEADER reply carries: its size (counting the size itself),
// then its content.
binder_status_t skipReplyHeader(const AParcel& parcel) {
    const int32_t start = parcel.dataPosition();
    int32_t header_size = 0;
    binder_status_t status = parcel.readValue(&header_size);
    if (status != STATUS_OK) return status;
    const auto content_size = static_cast<size_t>(header_size) - sizeof(int32_t);
    if (header_size < static_cast<int32_t>(sizeof(int32_t)) || content_size > parcel.remaining()) {
        logError("AParcel_readStatusHeader: reply header of %d bytes at offset %d", header_size,
                 start);
        return STATUS_BAD_VALUE;
    }
    parcel.setDataPosition(parcel.dataPosition() + static_cast<int32_t>(content_size));
    return STATUS_OK;
}

bool allocateMessage(void* message, int32_t length, char** buffer) {
    auto* text = static_cast<std::string*>(message);
    if (length <= 0) {
        text->clear();  // a null message reads as an empty one
        return true;
    }
    text->resize(static_cast<size_t>(length) - 1);
    *buffer = text->data();
    return true;
}

binder_status_t readStatus(const AParcel& parcel, AStatus* status) {
    binder_status_t result = parcel.readValue(&status->exception);
    if (result != STATUS_OK) return result;
    if (status->exception == EX_HAS_REPLY_HEADER) {
        status->exception = EX_NONE;
        return skipReplyHeader(parcel);
    }
    if (status->exception == EX_NONE) return STATUS_OK;
    result = AParcel_readString(&parcel, &status->message, allocateMessage);
    if (result != STATUS_OK) return result;
    if (status->exception == EX_SERVICE_SPECIFIC) {
        return parcel.readValue(&status->service_specific_error);
    }
    if (status->exception == EX_TRANSACTION_FAILED) status->status = STATUS_FAILED_TRANSACTION;
    return STATUS_OK;
}

}  // namespace

binder_status_t AParcel_writeStatusHeader(AParcel* parcel, const AStatus* status) {
    if (parcel == nullptr || status == nullptr) return STATUS_UNEXPECTED_NULL;
    if (status->exception == EX_TRANSACTION_FAILED) {
        // The transaction itself fails with this status; a reply never claims it.
        return status->status == STATUS_OK ? STATUS_FAILED_TRANSACTION : status->status;
    }
    binder_status_t result = parcel->writeValue(status->exception);
    if (result != STATUS_OK || status->exception == EX_NONE) return result;
    // A message is for people: bytes that are not UTF-8 must not cost the caller its reply.
    const std::string message = host_binder::withInvalidUtf8Replaced(status->message);
    result = AParcel_writeString(parcel, message.c_str(), static_cast<int32_t>(message.size()));
    if (result != STATUS_OK) return result;
    if (status->exception == EX_SERVICE_SPECIFIC) {
        result = parcel->writeValue(status->service_specific_error);
    }
    return result;
}

binder_status_t AParcel_readStatusHeader(const AParcel* parcel, AStatus** status) {
    if (parcel == nullptr || status == nullptr) return STATUS_UNEXPECTED_NULL;
    const int32_t start = parcel->dataPosition();
    AStatus read;
    binder_status_t result = readStatus(*parcel, &read);
    if (result != STATUS_OK) {
        parcel->setDataPosition(start);
        return result;
    }
    // Most replies say OK: they share the one OK status (AStatus_newOk).
    *status = read.exception == EX_NONE ? AStatus_newOk() : new AStatus(std::move(read));
    return STATUS_OK;
}
