// BM_BareMutexMapLookup/<live objects>: the baseline of the registry and interface-call figures.
#include "BareLookupBaseline.h"

#include <benchmark/benchmark.h>

#include <map>
#include <mutex>
#include <random>
#include <vector>

namespace bench {
namespace {

void BM_BareMutexMapLookup(benchmark::State& state) {
    std::mutex lock;
    std::map<std::pair<uint64_t, uint64_t>, void*> table;
    std::vector<std::pair<uint64_t, uint64_t>> keys;
    for (int64_t filed = 0; filed < state.range(0); ++filed) {
        keys.emplace_back(0x100000 + filed / kObjectsPerSession, filed + 1);
        table.emplace(keys.back(), fakePointer(filed + 1));
    }
    std::mt19937_64 random(1);
    for (auto _ : state) {
        const auto& key = keys[keys.size() - 1 - random() % kObjectsPerSession];
        std::lock_guard<std::mutex> guard(lock);
        benchmark::DoNotOptimize(table.find(key)->second);
    }
}

BENCHMARK(BM_BareMutexMapLookup)->RangeMultiplier(10)->Range(1000, 1000000);

}  // namespace
}  // namespace bench
