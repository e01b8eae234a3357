// What a well-formed answer to one transaction looks like, code by code, and the ids a successful
// answer hands out.
#pragma once

#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tessaro_fuzz {

// The kinds of id the service hands out, in the order the fuzz input names them.
enum class IdKind : uint8_t { kSession, kMemory, kCommand, kCommandBuffer, kSubCommand, kCount };

struct CreatedId {
    IdKind kind;
    int64_t id;
};

struct ReplyVerdict {
    std::string problem;             // empty when the answer is well-formed
    std::vector<CreatedId> created;  // ids a successful answer carries
    int32_t int_result = 0;          // the int result, for the methods that return one
    bool method_succeeded = false;   // the status header said OK
};

// What the transport may answer for a transaction that did not reach a method, or that the stub
// refused: one of the platform's STATUS_* numbers.
bool isTransportStatus(binder_status_t status);

// Checks reply, the answer of AIBinder_transact with code that returned STATUS_OK and was not
// oneway: a status header that can be read, an EX_* exception with nothing after it, or success
// followed by exactly the method's result.
ReplyVerdict checkReply(transaction_code_t code, const AParcel* reply);

}  // namespace tessaro_fuzz
