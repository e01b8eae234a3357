// The interface between the cross-process tests and their peer program (binder_test_peer): a
// service class and the code it serves.
#pragma once

#include <android/binder_ibinder.h>

namespace peer {

constexpr const char* kServiceDescriptor = "test.peer.IPeer";

// in: int32 n. Waits until n calls of kBarrier are running at once; out: an int32 vector of the
// count reached, the caller's pid and its uid.
constexpr transaction_code_t kBarrier = FIRST_CALL_TRANSACTION;

// A class whose binders carry no user data; on_transact serves them.
inline AIBinder_Class* defineClass(const char* descriptor, AIBinder_Class_onTransact on_transact) {
    return AIBinder_Class_define(
            descriptor, [](void* args) { return args; }, [](void*) {}, on_transact);
}

}  // namespace peer
