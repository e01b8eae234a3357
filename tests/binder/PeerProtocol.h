// The interface between the cross-process tests and their peer program (binder_test_peer): a
// service class with one code per check, and a callback class that clients hand to it.
#pragma once

#include <android/binder_ibinder.h>

#include <cstdint>

namespace peer {

constexpr const char* kServiceDescriptor = "test.peer.IPeer";
constexpr const char* kCallbackDescriptor = "test.peer.ICallback";

enum Code : transaction_code_t {
    // in: int32, int64, string, int32[], descriptor. out: int32 + 1, int64 * 2, the string
    // reversed, the array's sum, the caller's pid and uid; "written by the server" is appended to
    // the descriptor's file.
    kExchange = FIRST_CALL_TRANSACTION,
    // in: binder. out: the binder itself, and whether it is the same AIBinder as the last one kept.
    kKeep,
    // in: int32 n. Waits until n calls of kBarrier are running at once; out: the count reached.
    kBarrier,
    // Calls the kept callback (kCallbackPing) and answers what it answered.
    kCallBack,
    // out: the server's pid.
    kPid,
};

// The callback's code: answers the caller's pid.
constexpr transaction_code_t kCallbackPing = FIRST_CALL_TRANSACTION;

// Classes whose onTransact is given: the service's in the peer program, stubs in the tests.
AIBinder_Class* defineClass(const char* descriptor, AIBinder_Class_onTransact on_transact);

}  // namespace peer
