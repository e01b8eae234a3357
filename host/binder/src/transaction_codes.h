// Transaction codes the runtime answers itself, above LAST_CALL_TRANSACTION as on the platform.
#pragma once

#include <android/binder_ibinder.h>

namespace host_binder {

constexpr transaction_code_t packCode(char first, char second, char third, char fourth) {
    return (static_cast<transaction_code_t>(first) << 24) |
           (static_cast<transaction_code_t>(second) << 16) |
           (static_cast<transaction_code_t>(third) << 8) | static_cast<transaction_code_t>(fourth);
}

// Answers with an empty reply: the object is reachable.
constexpr transaction_code_t kPingTransaction = packCode('_', 'P', 'N', 'G');
// Answers with the object's interface descriptor, a string.
constexpr transaction_code_t kInterfaceTransaction = packCode('_', 'N', 'T', 'F');

constexpr bool isInterfaceCode(transaction_code_t code) {
    return code >= FIRST_CALL_TRANSACTION && code <= LAST_CALL_TRANSACTION;
}

constexpr bool isRuntimeCode(transaction_code_t code) {
    return code == kPingTransaction || code == kInterfaceTransaction;
}

}  // namespace host_binder
