// BM_CrashCleanup/<sessions>/<objects>: the time from a client's SIGKILL to the last of its
// objects released in the driver of the serving process (reference driver), as that process sees
// it. The client registered its callback, so the service learns of the death from its death
// notification.
#include <benchmark/benchmark.h>
#include <signal.h>
#include <time.h>

#include <string>

#include "ServingProcesses.h"

namespace bench {
namespace {

int64_t monotonicNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

void BM_CrashCleanup(benchmark::State& state) {
    ServingProcess& serving = ServingProcesses::current().referenceDriverHost();
    const std::vector<std::string> arguments{std::to_string(state.range(0)),
                                             std::to_string(state.range(1))};
    for (auto _ : state) {
        if (serving.ask("baseline") != "ok") {
            state.SkipWithError("the serving process does not answer");
            break;
        }
        ChildProcess client(crashClientPath(), arguments, {serving.directory.environmentEntry()});
        if (client.readLine(std::chrono::seconds(120)) != "ready") {
            state.SkipWithError("the crash client did not file its objects");
            break;
        }
        serving.host.writeLine("watch");
        const int64_t killed = monotonicNanoseconds();
        client.kill(SIGKILL);
        const std::string released = serving.host.readLine().value_or("");
        client.wait();
        if (released.rfind("released ", 0) != 0) {
            state.SkipWithError("the objects were not released");
            break;
        }
        state.SetIterationTime(static_cast<double>(std::stoll(released.substr(9)) - killed) / 1e9);
    }
    state.counters["objects"] = static_cast<double>(state.range(0) * state.range(1));
}

BENCHMARK(BM_CrashCleanup)
        ->Args({100, 100})
        ->Iterations(5)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace bench
