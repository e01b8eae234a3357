// binder_test_peer <instance>: registers the test service (PeerProtocol.h) under instance and
// serves it from the thread pool its main thread joins.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <android/binder_parcel_utils.h>
#include <android/binder_process.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <vector>

#include "PeerProtocol.h"

namespace {

std::mutex lock;
std::condition_variable barrier_changed;
int barrier_arrived = 0;  // guarded by lock

binder_status_t barrier(const AParcel* in, AParcel* out) {
    int32_t wanted = 0;
    binder_status_t status = ndk::AParcel_readData(in, &wanted);
    if (status != STATUS_OK) return status;
    std::unique_lock<std::mutex> guard(lock);
    ++barrier_arrived;
    barrier_changed.notify_all();
    // The bound only keeps a broken run from hanging; the test fails on a short count.
    barrier_changed.wait_for(guard, std::chrono::seconds(60),
                             [&] { return barrier_arrived >= wanted; });
    return ndk::AParcel_writeData(
            out, std::vector<int32_t>{barrier_arrived, AIBinder_getCallingPid(),
                                      static_cast<int32_t>(AIBinder_getCallingUid())});
}

binder_status_t onTransact(AIBinder* /*binder*/, transaction_code_t code, const AParcel* in,
                           AParcel* out) {
    return code == peer::kBarrier ? barrier(in, out) : STATUS_UNKNOWN_TRANSACTION;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <instance>\n", argv[0]);
        return 2;
    }
    ndk::SpAIBinder service(
            AIBinder_new(peer::defineClass(peer::kServiceDescriptor, onTransact), nullptr));
    if (AServiceManager_addService(service.get(), argv[1]) != EX_NONE) {
        std::fprintf(stderr, "cannot register %s\n", argv[1]);
        return 1;
    }
    ABinderProcess_joinThreadPool();
}
