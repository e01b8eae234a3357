// binder_test_peer <instance>: registers the test service (PeerProtocol.h) under instance and
// serves it from the thread pool its main thread joins.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <android/binder_parcel_utils.h>
#include <android/binder_process.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>

#include "PeerProtocol.h"

namespace {

std::mutex lock;
std::condition_variable barrier_changed;
int barrier_arrived = 0;  // guarded by lock

binder_status_t exchange(const AParcel* in, AParcel* out) {
    std::string text;
    ndk::ScopedFileDescriptor file;
    binder_status_t status = ndk::AParcel_readData(in, &text);
    if (status == STATUS_OK) status = ndk::AParcel_readData(in, &file);
    if (status != STATUS_OK) return status;
    const std::string written = "written by the server";
    if (::pwrite(file.get(), written.data(), written.size(), 0) < 0) return STATUS_UNKNOWN_ERROR;
    std::reverse(text.begin(), text.end());
    status = ndk::AParcel_writeData(out, text);
    if (status == STATUS_OK) status = ndk::AParcel_writeData(out, AIBinder_getCallingPid());
    if (status != STATUS_OK) return status;
    return ndk::AParcel_writeData(out, static_cast<int32_t>(AIBinder_getCallingUid()));
}

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
    return ndk::AParcel_writeData(out, int32_t{barrier_arrived});
}

binder_status_t onTransact(AIBinder* /*binder*/, transaction_code_t code, const AParcel* in,
                           AParcel* out) {
    switch (code) {
        case peer::kExchange:
            return exchange(in, out);
        case peer::kBarrier:
            return barrier(in, out);
        default:
            return STATUS_UNKNOWN_TRANSACTION;
    }
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
