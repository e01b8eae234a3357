// binder_test_peer <instance> [join|nopool]: registers the test service under instance and
// serves it, from a pool the main thread joins or, with nopool, from the runtime's own threads.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <android/binder_parcel_utils.h>
#include <android/binder_process.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <numeric>
#include <string>
#include <vector>

#include "PeerProtocol.h"

namespace {

std::mutex lock;
std::condition_variable barrier_changed;
int barrier_arrived = 0;
ndk::SpAIBinder kept;  // guarded by lock

binder_status_t exchange(const AParcel* in, AParcel* out) {
    int32_t small = 0;
    int64_t large = 0;
    std::string text;
    std::vector<int32_t> numbers;
    ndk::ScopedFileDescriptor file;
    binder_status_t status = ndk::AParcel_readData(in, &small);
    if (status == STATUS_OK) status = ndk::AParcel_readData(in, &large);
    if (status == STATUS_OK) status = ndk::AParcel_readString(in, &text);
    if (status == STATUS_OK) status = ndk::AParcel_readVector(in, &numbers);
    if (status == STATUS_OK) status = ndk::AParcel_readRequiredParcelFileDescriptor(in, &file);
    if (status != STATUS_OK) return status;
    const char written[] = "written by the server";
    if (::pwrite(file.get(), written, std::strlen(written), 0) < 0) return STATUS_UNKNOWN_ERROR;
    std::reverse(text.begin(), text.end());
    status = ndk::AParcel_writeData(out, small + 1);
    if (status == STATUS_OK) status = ndk::AParcel_writeData(out, large * 2);
    if (status == STATUS_OK) status = ndk::AParcel_writeString(out, text);
    if (status == STATUS_OK) {
        status = ndk::AParcel_writeData(out, std::accumulate(numbers.begin(), numbers.end(), 0));
    }
    if (status == STATUS_OK)
        status = ndk::AParcel_writeData(out, int32_t{AIBinder_getCallingPid()});
    if (status == STATUS_OK) {
        status = ndk::AParcel_writeData(out, static_cast<int32_t>(AIBinder_getCallingUid()));
    }
    return status;
}

binder_status_t keep(const AParcel* in, AParcel* out) {
    ndk::SpAIBinder received;
    binder_status_t status = AParcel_readStrongBinder(in, received.getR());
    if (status != STATUS_OK) return status;
    bool same = false;
    {
        std::lock_guard<std::mutex> guard(lock);
        same = kept.get() != nullptr && kept == received;
        kept = received;
    }
    status = AParcel_writeStrongBinder(out, received.get());
    if (status == STATUS_OK) status = AParcel_writeBool(out, same);
    return status;
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

binder_status_t callBack(AParcel* out) {
    ndk::SpAIBinder callback;
    {
        std::lock_guard<std::mutex> guard(lock);
        callback = kept;
    }
    if (callback.get() == nullptr) return STATUS_INVALID_OPERATION;
    static AIBinder_Class* const callback_class = peer::defineClass(
            peer::kCallbackDescriptor,
            [](AIBinder*, transaction_code_t, const AParcel*, AParcel*) -> binder_status_t {
                return STATUS_UNKNOWN_TRANSACTION;
            });
    if (!AIBinder_associateClass(callback.get(), callback_class)) return STATUS_BAD_TYPE;
    ndk::ScopedAParcel request;
    ndk::ScopedAParcel reply;
    binder_status_t status = AIBinder_prepareTransaction(callback.get(), request.getR());
    if (status == STATUS_OK) {
        status = AIBinder_transact(callback.get(), peer::kCallbackPing, request.getR(),
                                   reply.getR(), 0);
    }
    int32_t answer = 0;
    if (status == STATUS_OK) status = ndk::AParcel_readData(reply.get(), &answer);
    if (status == STATUS_OK) status = ndk::AParcel_writeData(out, answer);
    return status;
}

binder_status_t onTransact(AIBinder* /*binder*/, transaction_code_t code, const AParcel* in,
                           AParcel* out) {
    switch (code) {
        case peer::kExchange:
            return exchange(in, out);
        case peer::kKeep:
            return keep(in, out);
        case peer::kBarrier:
            return barrier(in, out);
        case peer::kCallBack:
            return callBack(out);
        case peer::kPid:
            return ndk::AParcel_writeData(out, int32_t{::getpid()});
        default:
            return STATUS_UNKNOWN_TRANSACTION;
    }
}

binder_status_t onDump(AIBinder* /*binder*/, int fd, const char** args, uint32_t count) {
    std::string text = "peer dump";
    for (uint32_t index = 0; index < count; ++index) text += std::string(" ") + args[index];
    return ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size())
                   ? STATUS_OK
                   : STATUS_UNKNOWN_ERROR;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s <instance> [join|nopool]\n", argv[0]);
        return 2;
    }
    AIBinder_Class* service_class = peer::defineClass(peer::kServiceDescriptor, onTransact);
    AIBinder_Class_setOnDump(service_class, onDump);
    ndk::SpAIBinder service(AIBinder_new(service_class, nullptr));
    if (AServiceManager_addService(service.get(), argv[1]) != EX_NONE) {
        std::fprintf(stderr, "cannot register %s\n", argv[1]);
        return 1;
    }
    if (argc > 2 && std::strcmp(argv[2], "nopool") == 0) {
        for (;;) ::pause();
    }
    ABinderProcess_setThreadPoolMaxThreadCount(8);
    ABinderProcess_startThreadPool();
    ABinderProcess_joinThreadPool();
}
