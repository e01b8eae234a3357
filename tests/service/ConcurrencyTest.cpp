// Many clients at once, on the reference driver: afterwards nothing is left filed in the service
// and no driver object is left alive.
#include <dravik_reference_driver.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

#include "service/TovanDravik.h"

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;

dravik_reference_live_counts liveCounts() {
    dravik_reference_live_counts counts{};
    dravikReference_getLiveCounts(&counts);
    return counts;
}

TEST(ServiceConcurrencyTest, ConcurrentSessionsLeaveNothingBehind) {
    const dravik_reference_live_counts before = liveCounts();
    auto service = ndk::SharedRefBase::make<TovanDravik>();
    constexpr int kThreads = 4;
    constexpr int kRounds = 40;
    std::atomic<int> failures{0};

    auto client = [&service, &failures](int seed) {
        for (int round = 0; round < kRounds; ++round) {
            int64_t id = 0;
            if (!service->session_createInstance(&id).isOk()) {
                ++failures;
                continue;
            }
            std::vector<int64_t> memory;
            for (int block = 0; block < 3; ++block) {
                DRAVIK_MEMINFO_HD info;
                if (service->session_memAlloc(id, 4096 * (block + 1), 64, 0, 0, &info).isOk()) {
                    memory.push_back(info.mem_id);
                } else {
                    ++failures;
                }
            }
            DRAVIK_CMDBUF_INFO_HD command_buffer;
            if (!service->session_cmdBufAlloc(id, 1024, 0, &command_buffer).isOk()) ++failures;
            int32_t ret = 0;
            // Free some memory by hand and leave the rest to the session's deletion.
            if ((seed + round) % 2 == 0 && !memory.empty()) {
                service->session_memFree(id, memory.front(), &ret);
                if (ret != 0) ++failures;
            }
            service->session_deleteInstance(id, &ret);
            if (ret != 0) ++failures;
        }
    };
    std::vector<std::thread> threads;
    for (int seed = 0; seed < kThreads; ++seed) threads.emplace_back(client, seed);
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(failures.load(), 0);
    const dravik_reference_live_counts after = liveCounts();
    EXPECT_EQ(after.sessions, before.sessions);
    EXPECT_EQ(after.memory_objects, before.memory_objects);
    EXPECT_EQ(after.command_buffers, before.command_buffers);
    // The per-client list of this process is gone with its last session.
    EXPECT_EQ(service->releaseCrashClient(getpid()), -1);
}

}  // namespace
