// The interface between the cross-process tests and their peer program (binder_test_peer): a
// service class with one code per check.
#pragma once

#include <android/binder_ibinder.h>

#include <cstdint>

namespace peer {

constexpr const char* kServiceDescriptor = "test.peer.IPeer";

enum Code : transaction_code_t {
    // in: string, descriptor. out: the string reversed, the caller's pid and uid; "written by the
    // server" is written at the start of the descriptor's file.
    kExchange = FIRST_CALL_TRANSACTION,
    // in: int32 n. Waits until n calls of kBarrier are running at once; out: the count reached.
    kBarrier,
};

// A class whose binders carry no user data; on_transact serves them.
inline AIBinder_Class* defineClass(const char* descriptor, AIBinder_Class_onTransact on_transact) {
    return AIBinder_Class_define(
            descriptor, [](void* args) { return args; }, [](void*) {}, on_transact);
}

}  // namespace peer
