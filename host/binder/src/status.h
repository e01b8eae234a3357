// The content of an AStatus.
#pragma once

#include <android/binder_status.h>

#include <string>

struct AStatus {
    binder_exception_t exception = EX_NONE;
    // Meaningful for EX_TRANSACTION_FAILED only; STATUS_OK otherwise.
    binder_status_t status = STATUS_OK;
    // Meaningful for EX_SERVICE_SPECIFIC only; 0 otherwise.
    int32_t service_specific_error = 0;
    std::string message;
};

namespace host_binder {

// The platform's name of an exception code or a status number, or null for other numbers.
const char* exceptionName(binder_exception_t exception);
const char* statusName(binder_status_t status);

// A new status with exception and message, keeping any number as the exception code.
AStatus* newStatusFromException(binder_exception_t exception, const char* message);

}  // namespace host_binder
