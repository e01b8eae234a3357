// The registries under load: a look-up and an allocation pair with 10^3 to 10^6 live objects,
// beside a bare mutex and map look-up, and deleting a session of k objects beside 10^3 or 10^6
// others. Look-ups pick among the objects of one session, as a client names its own objects; the
// other sessions' objects are live but untouched, so the figures show how the registry scales
// rather than how far main memory is from the cache.
#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <random>

#include "BareLookupBaseline.h"
#include "RatioReporter.h"
#include "service/TovanDravik.h"

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;
using bench::fakePointer;
using bench::kObjectsPerSession;

// A service holding `objects` live command buffers and memory blocks, spread over sessions of
// kObjectsPerSession each; built once per size.
struct LoadedService {
    std::shared_ptr<TovanDravik> service = ndk::SharedRefBase::make<TovanDravik>();
    std::vector<std::pair<uint64_t, uint64_t>> command_buffers;  // (session id, id)

    explicit LoadedService(int64_t objects) {
        for (int64_t filed = 0; filed < objects; ++filed) {
            const uint64_t session = 0x100000 + static_cast<uint64_t>(filed / kObjectsPerSession);
            command_buffers.emplace_back(
                    session, service->generateDravikCmdBufId(session, fakePointer(filed + 1)));
            service->generateDravikMemId(session, fakePointer(filed + 1), 0, false);
        }
    }

    static LoadedService& withObjects(int64_t objects) {
        static std::map<int64_t, std::unique_ptr<LoadedService>> built;
        auto& entry = built[objects];
        if (!entry) entry = std::make_unique<LoadedService>(objects);
        return *entry;
    }
};

void BM_RegistryLookup(benchmark::State& state) {
    LoadedService& loaded = LoadedService::withObjects(state.range(0));
    std::mt19937_64 random(1);
    for (auto _ : state) {
        const auto& key = loaded.command_buffers[loaded.command_buffers.size() - 1 -
                                                 random() % kObjectsPerSession];
        benchmark::DoNotOptimize(loaded.service->getDravikCmdBuf(key.first, key.second));
    }
}

void BM_MemAllocFreePair(benchmark::State& state) {
    LoadedService& loaded = LoadedService::withObjects(state.range(0));
    int64_t session = 0;
    loaded.service->session_createInstance(&session);
    for (auto _ : state) {
        DRAVIK_MEMINFO_HD info;
        loaded.service->session_memAlloc(session, 4096, 64, 0, 0, &info);
        int32_t ret = 0;
        loaded.service->session_memFree(session, info.mem_id, &ret);
        benchmark::DoNotOptimize(ret);
    }
    int32_t ret = 0;
    loaded.service->session_deleteInstance(session, &ret);
}

// BM_DeleteSession/<objects in the session>/<live objects beside it>.
void BM_DeleteSession(benchmark::State& state) {
    LoadedService& loaded = LoadedService::withObjects(state.range(1));
    for (auto _ : state) {
        state.PauseTiming();
        int64_t session = 0;
        loaded.service->session_createInstance(&session);
        for (int64_t object = 0; object < state.range(0); ++object) {
            loaded.service->generateDravikMemId(session, fakePointer(object + 1), 0, false);
        }
        state.ResumeTiming();
        int32_t ret = 0;
        loaded.service->session_deleteInstance(session, &ret);
        benchmark::DoNotOptimize(ret);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(BM_RegistryLookup)->RangeMultiplier(10)->Range(1000, 1000000);
BENCHMARK(BM_MemAllocFreePair)->RangeMultiplier(10)->Range(1000, 1000000);
BENCHMARK(BM_DeleteSession)
        ->Args({1000, 1000})
        ->Args({10, 1000000})
        ->Args({100, 1000000})
        ->Args({1000, 1000000})
        ->Args({10000, 1000000});

}  // namespace

int main(int argc, char** argv) {
    return bench::runWithRatios(
            argc, argv,
            {
                    {"registry look-up, 10^6 vs 10^3 live objects", "BM_RegistryLookup/1000000",
                     "BM_RegistryLookup/1000", 2.0},
                    {"registry look-up vs bare mutex + map, 10^3", "BM_RegistryLookup/1000",
                     "BM_BareMutexMapLookup/1000", 3.0},
                    {"registry look-up vs bare mutex + map, 10^6", "BM_RegistryLookup/1000000",
                     "BM_BareMutexMapLookup/1000000", 3.0},
                    {"memAlloc + memFree, 10^6 vs 10^3 live objects", "BM_MemAllocFreePair/1000000",
                     "BM_MemAllocFreePair/1000", 2.0},
                    {"delete a 1,000-object session, beside 10^6 vs 10^3",
                     "BM_DeleteSession/1000/1000000", "BM_DeleteSession/1000/1000", 2.0},
            });
}
