// BM_CrossProcessCmdRun: cmd_run of a trivial command, from this process to the service in
// another.
#include "CrossProcessCall.h"

#include <android/binder_manager.h>
#include <android/binder_parcel.h>
#include <benchmark/benchmark.h>

#include <stdexcept>
#include <string>

#include "ServingProcesses.h"

namespace bench {

RemoteTrivialCommand::RemoteTrivialCommand() {
    const std::string name = std::string(ITovanDravik::descriptor) + "/default";
    ndk::SpAIBinder binder(AServiceManager_waitForService(name.c_str()));
    service = ITovanDravik::fromBinder(binder);
    if (service == nullptr || !service->session_createInstance(&session).isOk() ||
        !service->session_createCmd(session, &command).isOk()) {
        throw std::runtime_error("cannot reach the service in the serving process");
    }
}

size_t RemoteTrivialCommand::requestBytes() const {
    AParcel* request = nullptr;
    if (AIBinder_prepareTransaction(service->asBinder().get(), &request) != STATUS_OK) return 0;
    AParcel_writeInt64(request, session);
    AParcel_writeInt64(request, command);
    const int32_t bytes = AParcel_getDataSize(request);
    AParcel_delete(request);
    return bytes > 0 ? static_cast<size_t>(bytes) : 0;
}

namespace {

void BM_CrossProcessCmdRun(benchmark::State& state) {
    const RemoteTrivialCommand& remote = ServingProcesses::current().remoteTrivialCommand();
    for (auto _ : state) {
        int32_t ret = -1;
        const ndk::ScopedAStatus status =
                remote.service->cmd_run(remote.session, remote.command, &ret);
        if (!status.isOk() || ret != 0) {
            state.SkipWithError("cmd_run failed");
            break;
        }
    }
}

BENCHMARK(BM_CrossProcessCmdRun);

}  // namespace
}  // namespace bench
