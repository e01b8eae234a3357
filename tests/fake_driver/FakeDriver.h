// A scriptable stand-in for libdravik_mdw in unit tests of the service: it defines the same 37
// functions, answers each as programmed, and records every call in order.
//
// Defaults (after reset()): every operation succeeds. Creators answer distinct non-null handles
// (never dereferenced, never reused within the process); acting operations answer 0;
// dravikSession_queryInfo answers kMetadataSize for kind 1 and 0 otherwise;
// dravikSession_queryDeviceNum answers 1; dravikSession_queryDeviceMetaData writes as many bytes as
// the last queryInfo kind 1 answered (byte i = device_kind + i, modulo 256) and answers 0;
// dravikSession_memGetInfoFromHostPtr answers for kind 2 a memfd of kSharedMemorySize bytes that
// the fake owns for the whole process (callers dup it, never close it) and 0 for other kinds;
// dravikCmd_runFence answers a new, already signalled eventfd that the caller owns; the run-info
// queries answer 0. errno is left alone.
//
// Programmed results: setResult makes every later call of the function answer result (a handle,
// an int32 or an int64, converted) and set errno to error_number when it is not 0; queueResult
// answers the next calls in order before falling back to setResult's or the default. A programmed
// runFence result is handed out as is (the service closes what it gets). The functions' names are
// those of dravik_mdw.h; any other name throws std::invalid_argument.
//
// Linking. dravik_fake_driver is an OBJECT library: its definitions go into the test executable
// itself, and the dynamic linker searches the executable before any library, so the service
// library binds to the fake although it links the real libdravik_mdw.so (which is still loaded).
// Its usage requirements add --export-dynamic, so libraries loaded later (dlopen) bind to the fake
// too. A test target links it like this and needs nothing else:
//
//     add_executable(my_service_test MyServiceTest.cpp)
//     target_link_libraries(my_service_test PRIVATE
//         dravik_fake_driver TessaroDravikAidlServer GTest::gtest_main)
//
// The executable must name dravik_fake_driver itself: object files do not pass through another
// library. The fake does not define the reference driver's host-only dravikReference_* entry
// points; calls to those reach the real library.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace fake_driver {

constexpr int64_t kMetadataSize = 64;
constexpr int64_t kSharedMemorySize = 64 << 20;

struct Call {
    std::string function;            // as named in dravik_mdw.h
    std::vector<int64_t> arguments;  // in order; handles and pointers as their numeric values,
                                     // the name strings left out (see text)
    std::string text;                // the name argument of the functions that take one
    int64_t result = 0;              // what the call answered (handles as numbers)
};

// Forgets every call and programmed result; handles keep counting.
void reset();
void setResult(const std::string& function, int64_t result, int error_number = 0);
void queueResult(const std::string& function, int64_t result, int error_number = 0);
// Back to the default answer.
void clearResult(const std::string& function);

std::vector<Call> calls();
std::vector<Call> callsTo(const std::string& function);

// The memfd that kind 2 answers by default.
int sharedMemoryDescriptor();

}  // namespace fake_driver
