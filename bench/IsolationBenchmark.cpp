// Isolation between sessions, in the service's process on the reference driver, through the
// generated proxy: calls on one session while another session's command runs for 100 ms (a WAIT
// instruction), against the same calls on an idle service.
#include <aidl/vendor/korvane/hardware/tessaro/dravik/BpTovanDravik.h>
#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "ProgramCommand.h"
#include "RatioReporter.h"
#include "service/TovanDravik.h"

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;

constexpr uint64_t kLongRunNanoseconds = 100'000'000;

// Two sessions on one service: a busy one whose command waits 100 ms, and a measured one whose
// command runs the empty program.
struct TwoSessions {
    std::shared_ptr<TovanDravik> service = ndk::SharedRefBase::make<TovanDravik>();
    std::shared_ptr<ITovanDravik> proxy =
            ndk::SharedRefBase::make<BpTovanDravik>(service->asBinder());
    int64_t busy_session = 0;
    int64_t busy_command = 0;
    int64_t measured_session = 0;
    int64_t measured_command = 0;

    TwoSessions() {
        std::string error;
        proxy->session_createInstance(&busy_session);
        proxy->session_createInstance(&measured_session);
        busy_command = bench::setUpProgramCommand(
                *proxy, busy_session, dravik_reference::Program().wait(kLongRunNanoseconds),
                &error);
        if (busy_command != 0) {
            measured_command = bench::setUpProgramCommand(*proxy, measured_session,
                                                          dravik_reference::Program(), &error);
        }
        if (measured_command == 0) {
            std::fprintf(stderr, "cannot set up the sessions: %s\n", error.c_str());
            std::exit(1);
        }
    }

    static TwoSessions& instance() {
        static TwoSessions made;
        return made;
    }
};

// Runs the busy session's 100 ms command back to back, from another thread, for its lifetime,
// and counts the runs that succeeded, to show the figure was taken beside them.
class LongRuns {
  public:
    explicit LongRuns(TwoSessions& sessions)
        : thread_([this, &sessions] {
              while (!stop_) {
                  int32_t ret = -1;
                  sessions.proxy->cmd_run(sessions.busy_session, sessions.busy_command, &ret);
                  if (ret == 0) ++finished_;
              }
          }) {
        // The first run is under way once the thread has called in; leave it a moment.
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ~LongRuns() {
        stop_ = true;
        thread_.join();
    }
    LongRuns(const LongRuns&) = delete;
    LongRuns& operator=(const LongRuns&) = delete;

    int64_t finished() const { return finished_; }

  private:
    std::atomic<bool> stop_{false};
    std::atomic<int64_t> finished_{0};
    std::thread thread_;
};

void emptyRuns(benchmark::State& state) {
    TwoSessions& sessions = TwoSessions::instance();
    for (auto _ : state) {
        int32_t ret = -1;
        sessions.proxy->cmd_run(sessions.measured_session, sessions.measured_command, &ret);
        if (ret != 0) {
            state.SkipWithError("cmd_run failed");
            break;
        }
    }
}

void allocationPairs(benchmark::State& state) {
    TwoSessions& sessions = TwoSessions::instance();
    for (auto _ : state) {
        DRAVIK_MEMINFO_HD info;
        int32_t ret = -1;
        sessions.proxy->session_memAlloc(sessions.measured_session, 4096, 0, 1, 0, &info);
        sessions.proxy->session_memFree(sessions.measured_session, info.mem_id, &ret);
        if (ret != 0) {
            state.SkipWithError("memAlloc + memFree failed");
            break;
        }
    }
}

void BM_EmptyRunIdle(benchmark::State& state) {
    emptyRuns(state);
}
void BM_EmptyRunBesideLongRun(benchmark::State& state) {
    LongRuns long_runs(TwoSessions::instance());
    emptyRuns(state);
    state.counters["long_runs"] = static_cast<double>(long_runs.finished());
}
void BM_MemAllocFreeIdle(benchmark::State& state) {
    allocationPairs(state);
}
void BM_MemAllocFreeBesideLongRun(benchmark::State& state) {
    LongRuns long_runs(TwoSessions::instance());
    allocationPairs(state);
    state.counters["long_runs"] = static_cast<double>(long_runs.finished());
}

BENCHMARK(BM_EmptyRunIdle);
BENCHMARK(BM_EmptyRunBesideLongRun);
BENCHMARK(BM_MemAllocFreeIdle);
BENCHMARK(BM_MemAllocFreeBesideLongRun);

}  // namespace

int main(int argc, char** argv) {
    return bench::runWithRatios(
            argc, argv,
            {
                    {"isolation: empty cmd_run beside a 100 ms run vs idle",
                     "BM_EmptyRunBesideLongRun", "BM_EmptyRunIdle", 1.5},
                    {"isolation: memAlloc + memFree beside a 100 ms run vs idle",
                     "BM_MemAllocFreeBesideLongRun", "BM_MemAllocFreeIdle", 1.5},
            });
}
