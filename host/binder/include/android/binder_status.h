/**
 * Status and exception numbers of the binder NDK, and AStatus: the result of a remote call.
 *
 * A call can fail two ways. A transport failure (the call never reached the other side, or its
 * reply could not be read) is a binder_status_t. A call that ran and failed carries an exception
 * code, a message and, for EX_SERVICE_SPECIFIC, the service's own error number; a transport
 * failure is carried as the exception EX_TRANSACTION_FAILED with its binder_status_t.
 */
#pragma once

#include <errno.h>
#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Transport status numbers; the negative ones are errno values, as on the platform. */
enum {
    STATUS_OK = 0,
    STATUS_UNKNOWN_ERROR = (-2147483647 - 1),
    STATUS_NO_MEMORY = -ENOMEM,
    STATUS_INVALID_OPERATION = -ENOSYS,
    STATUS_BAD_VALUE = -EINVAL,
    STATUS_BAD_TYPE = (STATUS_UNKNOWN_ERROR + 1),
    STATUS_NAME_NOT_FOUND = -ENOENT,
    STATUS_PERMISSION_DENIED = -EPERM,
    STATUS_NO_INIT = -ENODEV,
    STATUS_ALREADY_EXISTS = -EEXIST,
    STATUS_DEAD_OBJECT = -EPIPE,
    STATUS_FAILED_TRANSACTION = (STATUS_UNKNOWN_ERROR + 2),
    STATUS_BAD_INDEX = -EOVERFLOW,
    STATUS_NOT_ENOUGH_DATA = -ENODATA,
    STATUS_WOULD_BLOCK = -EWOULDBLOCK,
    STATUS_TIMED_OUT = -ETIMEDOUT,
    STATUS_UNKNOWN_TRANSACTION = -EBADMSG,
    STATUS_FDS_NOT_ALLOWED = (STATUS_UNKNOWN_ERROR + 7),
    STATUS_UNEXPECTED_NULL = (STATUS_UNKNOWN_ERROR + 8),
};

/** One of the STATUS_* numbers. */
typedef int32_t binder_status_t;

/** Exception codes a call can end with, as on the platform. */
enum {
    EX_NONE = 0,
    EX_SECURITY = -1,
    EX_BAD_PARCELABLE = -2,
    EX_ILLEGAL_ARGUMENT = -3,
    EX_NULL_POINTER = -4,
    EX_ILLEGAL_STATE = -5,
    EX_NETWORK_MAIN_THREAD = -6,
    EX_UNSUPPORTED_OPERATION = -7,
    EX_SERVICE_SPECIFIC = -8,
    EX_PARCELABLE = -9,
    /** Only ever seen in a reply parcel: a header precedes the reply and is skipped. */
    EX_HAS_REPLY_HEADER = -128,
    /** The call did not complete; AStatus_getStatus says why. */
    EX_TRANSACTION_FAILED = -129,
};

/** One of the EX_* codes; any other number is kept and carried unchanged. */
typedef int32_t binder_exception_t;

/** The result of a call. Created by the AStatus_from* functions, freed with AStatus_delete. */
struct AStatus;
typedef struct AStatus AStatus;

/** A new status meaning success. The caller owns it. Never null. */
AStatus* AStatus_newOk(void);

/**
 * A new status with this exception code and an empty message. Any number is kept as given, even
 * one that is not an EX_* code. EX_NONE gives success; EX_TRANSACTION_FAILED gives the status
 * STATUS_FAILED_TRANSACTION; EX_SERVICE_SPECIFIC gives the service-specific error 0. The caller
 * owns the result. Never null.
 */
AStatus* AStatus_fromExceptionCode(binder_exception_t exception);

/**
 * As AStatus_fromExceptionCode, with a copy of message (UTF-8; null means empty). The caller owns
 * the result. Never null.
 */
AStatus* AStatus_fromExceptionCodeWithMessage(binder_exception_t exception, const char* message);

/** A new status with exception EX_SERVICE_SPECIFIC and this error number. Caller owns it. */
AStatus* AStatus_fromServiceSpecificError(int32_t serviceSpecific);

/** As AStatus_fromServiceSpecificError, with a copy of message (null means empty). */
AStatus* AStatus_fromServiceSpecificErrorWithMessage(int32_t serviceSpecific, const char* message);

/**
 * A new status from a transport status: STATUS_OK gives success, anything else the exception
 * EX_TRANSACTION_FAILED carrying that status. The caller owns the result. Never null.
 */
AStatus* AStatus_fromStatus(binder_status_t status);

/** Whether status means success (exception EX_NONE). A null status is not a success. */
bool AStatus_isOk(const AStatus* status);

/** The exception code; EX_TRANSACTION_FAILED for a null status. */
binder_exception_t AStatus_getExceptionCode(const AStatus* status);

/** The service's error number when the exception is EX_SERVICE_SPECIFIC, otherwise 0. */
int32_t AStatus_getServiceSpecificError(const AStatus* status);

/**
 * The transport status when the exception is EX_TRANSACTION_FAILED, otherwise STATUS_OK.
 * STATUS_UNEXPECTED_NULL for a null status.
 */
binder_status_t AStatus_getStatus(const AStatus* status);

/**
 * The message, UTF-8, never null ("" when there is none). The pointer is owned by status and
 * valid until it is deleted.
 */
const char* AStatus_getMessage(const AStatus* status);

/**
 * A one-line human-readable description of status, for logs. The caller owns the string and
 * frees it with AStatus_deleteDescription. Never null.
 */
const char* AStatus_getDescription(const AStatus* status);

/** Frees a string returned by AStatus_getDescription. Null is ignored. */
void AStatus_deleteDescription(const char* description);

/** Frees status. Null is ignored. */
void AStatus_delete(AStatus* status);

#ifdef __cplusplus
}  // extern "C"
#endif
