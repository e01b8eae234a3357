// Names of exception codes and status numbers, and AStatus descriptions for logs.
#include <cstring>
#include <string>

#include "status.h"

namespace host_binder {

const char* exceptionName(binder_exception_t exception) {
    switch (exception) {
        case EX_NONE:
            return "EX_NONE";
        case EX_SECURITY:
            return "EX_SECURITY";
        case EX_BAD_PARCELABLE:
            return "EX_BAD_PARCELABLE";
        case EX_ILLEGAL_ARGUMENT:
            return "EX_ILLEGAL_ARGUMENT";
        case EX_NULL_POINTER:
            return "EX_NULL_POINTER";
        case EX_ILLEGAL_STATE:
            return "EX_ILLEGAL_STATE";
        case EX_NETWORK_MAIN_THREAD:
            return "EX_NETWORK_MAIN_THREAD";
        case EX_UNSUPPORTED_OPERATION:
            return "EX_UNSUPPORTED_OPERATION";
        case EX_SERVICE_SPECIFIC:
            return "EX_SERVICE_SPECIFIC";
        case EX_PARCELABLE:
            return "EX_PARCELABLE";
        case EX_HAS_REPLY_HEADER:
            return "EX_HAS_REPLY_HEADER";
        case EX_TRANSACTION_FAILED:
            return "EX_TRANSACTION_FAILED";
        default:
            return nullptr;
    }
}

const char* statusName(binder_status_t status) {
    switch (status) {
        case STATUS_OK:
            return "STATUS_OK";
        case STATUS_UNKNOWN_ERROR:
            return "STATUS_UNKNOWN_ERROR";
        case STATUS_NO_MEMORY:
            return "STATUS_NO_MEMORY";
        case STATUS_INVALID_OPERATION:
            return "STATUS_INVALID_OPERATION";
        case STATUS_BAD_VALUE:
            return "STATUS_BAD_VALUE";
        case STATUS_BAD_TYPE:
            return "STATUS_BAD_TYPE";
        case STATUS_NAME_NOT_FOUND:
            return "STATUS_NAME_NOT_FOUND";
        case STATUS_PERMISSION_DENIED:
            return "STATUS_PERMISSION_DENIED";
        case STATUS_NO_INIT:
            return "STATUS_NO_INIT";
        case STATUS_ALREADY_EXISTS:
            return "STATUS_ALREADY_EXISTS";
        case STATUS_DEAD_OBJECT:
            return "STATUS_DEAD_OBJECT";
        case STATUS_FAILED_TRANSACTION:
            return "STATUS_FAILED_TRANSACTION";
        case STATUS_BAD_INDEX:
            return "STATUS_BAD_INDEX";
        case STATUS_NOT_ENOUGH_DATA:
            return "STATUS_NOT_ENOUGH_DATA";
        case STATUS_WOULD_BLOCK:
            return "STATUS_WOULD_BLOCK";
        case STATUS_TIMED_OUT:
            return "STATUS_TIMED_OUT";
        case STATUS_UNKNOWN_TRANSACTION:
            return "STATUS_UNKNOWN_TRANSACTION";
        case STATUS_FDS_NOT_ALLOWED:
            return "STATUS_FDS_NOT_ALLOWED";
        case STATUS_UNEXPECTED_NULL:
            return "STATUS_UNEXPECTED_NULL";
        default:
            return nullptr;
    }
}

namespace {

std::string describe(const AStatus& status) {
    if (status.exception == EX_NONE) return "No error";
    const char* name = exceptionName(status.exception);
    std::string text = "Status(" + std::to_string(status.exception) + ", " +
                       (name != nullptr ? name : "unknown exception") + "): '";
    if (status.exception == EX_SERVICE_SPECIFIC) {
        text += std::to_string(status.service_specific_error) + ": ";
    } else if (status.exception == EX_TRANSACTION_FAILED) {
        const char* status_text = statusName(status.status);
        text += status_text != nullptr ? std::string(status_text) : std::to_string(status.status);
        text += ": ";
    }
    return text + status.message + "'";
}

}  // namespace

}  // namespace host_binder

const char* AStatus_getDescription(const AStatus* status) {
    const std::string text =
            status == nullptr ? std::string("null status") : host_binder::describe(*status);
    char* description = new char[text.size() + 1];
    std::memcpy(description, text.c_str(), text.size() + 1);
    return description;
}

void AStatus_deleteDescription(const char* description) {
    delete[] description;
}
