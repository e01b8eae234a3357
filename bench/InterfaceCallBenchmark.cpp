// The cost of one call through ITovanDravik in the service's own process, on the no-op driver:
// cmd_run of a trivial command, called on the service object itself and through the generated
// proxy over the local binder (marshalled through parcels into onTransact), beside a bare mutex
// and map look-up.
#include <aidl/vendor/korvane/hardware/tessaro/dravik/BpTovanDravik.h>
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>

#include "RatioReporter.h"
#include "service/TovanDravik.h"

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;

// A session with one command, on a service of this process; ITovanDravik is either the service
// object or a proxy of it.
struct TrivialCommand {
    std::shared_ptr<TovanDravik> service = ndk::SharedRefBase::make<TovanDravik>();
    std::shared_ptr<ITovanDravik> proxy =
            ndk::SharedRefBase::make<BpTovanDravik>(service->asBinder());
    int64_t session = 0;
    int64_t command = 0;

    TrivialCommand() {
        if (!service->session_createInstance(&session).isOk() ||
            !service->session_createCmd(session, &command).isOk()) {
            std::abort();
        }
    }

    static TrivialCommand& instance() {
        static TrivialCommand made;
        return made;
    }
};

void runCalls(benchmark::State& state, ITovanDravik& target) {
    const TrivialCommand& made = TrivialCommand::instance();
    for (auto _ : state) {
        int32_t ret = -1;
        const ndk::ScopedAStatus status = target.cmd_run(made.session, made.command, &ret);
        if (!status.isOk() || ret != 0) {
            state.SkipWithError("cmd_run failed");
            break;
        }
    }
}

void BM_DirectCmdRun(benchmark::State& state) {
    runCalls(state, *TrivialCommand::instance().service);
}

void BM_ProxyCmdRun(benchmark::State& state) {
    runCalls(state, *TrivialCommand::instance().proxy);
}

BENCHMARK(BM_DirectCmdRun);
BENCHMARK(BM_ProxyCmdRun);

}  // namespace

int main(int argc, char** argv) {
    return bench::runWithRatios(
            argc, argv,
            {
                    {"in process: cmd_run through the proxy vs bare mutex + map", "BM_ProxyCmdRun",
                     "BM_BareMutexMapLookup/1000", 3.0},
                    {"in process: cmd_run on the service object vs bare mutex + map",
                     "BM_DirectCmdRun", "BM_BareMutexMapLookup/1000", 3.0},
            });
}
