// Runs honour the dependency graph while sub-commands free of each other run side by side: the
// scheduler alone over many graphs, and through the driver with programs whose results depend on
// the order; and build refuses what cannot run.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <numeric>
#include <set>
#include <thread>
#include <vector>

#include "DependencyScheduler.h"
#include "DriverTestSupport.h"

namespace dravik_test {
namespace {

// Every task starts only once all its predecessors have finished, and each runs once, over graphs
// from a chain to no edges at all.
TEST(DependencySchedulerTest, TasksStartAfterTheirPredecessorsFinish) {
    constexpr std::size_t kTasks = 12;
    std::vector<std::size_t> order(kTasks);
    std::iota(order.begin(), order.end(), 0);
    for (uint32_t seed = 0; seed < 50; ++seed) {
        // Edges only from lower to higher numbers keep the graph acyclic; density varies by seed.
        std::set<std::pair<std::size_t, std::size_t>> edges;
        const std::vector<float> draws = pseudoRandom(kTasks * kTasks, seed);
        for (std::size_t before = 0; before < kTasks; ++before) {
            for (std::size_t after = before + 1; after < kTasks; ++after) {
                if (draws[before * kTasks + after] + 1.0f < static_cast<float>(seed % 5) / 2.0f) {
                    edges.emplace(before, after);
                }
            }
        }
        // Starts and ends on one clock; long enough that a successor started early overlaps.
        std::atomic<int> clock{0};
        std::vector<std::atomic<int>> runs(kTasks);
        std::vector<int> started(kTasks, -1), ended(kTasks, -1);
        dravik::reference::runInDependencyOrder(order, edges, 4, [&](std::size_t index) {
            ++runs[index];
            started[index] = clock++;
            std::this_thread::sleep_for(std::chrono::microseconds(200));
            ended[index] = clock++;
        });
        for (const auto& [before, after] : edges) EXPECT_LT(ended[before], started[after]) << seed;
        for (const std::atomic<int>& count : runs) EXPECT_EQ(count.load(), 1) << "seed " << seed;
    }
}

// Each of two independent tasks waits until the other has started: that ends well only when they
// run at the same time (the limit is there to fail, not to measure).
TEST(DependencySchedulerTest, IndependentTasksRunSideBySide) {
    std::mutex mutex;
    std::condition_variable changed;
    int started = 0;
    int met = 0;
    dravik::reference::runInDependencyOrder({0, 1}, {}, 2, [&](std::size_t) {
        std::unique_lock<std::mutex> lock(mutex);
        ++started;
        changed.notify_all();
        if (changed.wait_for(lock, std::chrono::seconds(10), [&] { return started == 2; })) ++met;
    });
    EXPECT_EQ(met, 2);
}

using DependencyRunTest = DriverTest;

// x = 2; y = x * x and z = x + x side by side; w = y + z; and v = w + w in an appendix packed to
// the sub-command writing w. Created in the reverse order, so that only the dependencies order
// them; the first waits before it writes, so that a successor started early reads stale data.
TEST_F(DependencyRunTest, ADiamondAndAnAppendixSeeWhatTheirPredecessorsWrote) {
    ScopedSession session;
    constexpr uint64_t kHeadStartNs = 2'000'000;
    const Floats x = allocateFloats(session.get(), 32), y = allocateFloats(session.get(), 32);
    const Floats z = allocateFloats(session.get(), 32), w = allocateFloats(session.get(), 32);
    const Floats v = allocateFloats(session.get(), 32);
    const ProgramCommand made =
            makeProgramCommand(session.get(),
                               {Program().add(w.address, w.address, v.address, 32),
                                Program().add(y.address, z.address, w.address, 32),
                                Program().add(x.address, x.address, z.address, 32),
                                Program().mul(x.address, x.address, y.address, 32),
                                Program().wait(kHeadStartNs).fill(x.address, 2.0f, 32)},
                               {{4, 3}, {4, 2}, {3, 1}, {2, 1}});
    ASSERT_EQ(dravikCmd_setDependencyPack(made.command, made.sub_commands[1], made.sub_commands[0]),
              0);
    ASSERT_EQ(dravikCmd_build(made.command), 0);
    ASSERT_EQ(dravikCmd_runWithType(made.command, DRAVIK_REFERENCE_RUN_TYPE_LOW_POWER), 0)
            << "errno " << errno;
    EXPECT_EQ(w.values(), std::vector<float>(32, 8.0f));
    EXPECT_EQ(v.values(), std::vector<float>(32, 16.0f));
    EXPECT_GE(dravikSubCmd_getRunInfo(made.sub_commands[4],
                                      DRAVIK_REFERENCE_SUBCMD_RUN_INFO_DURATION_NS),
              static_cast<int64_t>(kHeadStartNs))
            << "the wait instruction waits";
}

// Build refuses what cannot run, and any change to the structure un-builds.
TEST_F(DependencyRunTest, BuildRefusesEmptyCommandsMissingBuffersAndCycles) {
    ScopedSession session;
    dravik_session* s = session.get();
    EXPECT_EQ(errnoOfFailure(dravikCmd_build(dravikSession_createCmd(s))), EINVAL) << "empty";
    const ProgramCommand made =
            makeProgramCommand(s, {Program(), Program(), Program()}, {{0, 1}, {1, 2}});
    dravik_subcmd* bare = dravikCmd_createSubcmd(made.command, 2);
    EXPECT_EQ(dravikCmd_getRunInfo(made.command, DRAVIK_REFERENCE_CMD_RUN_INFO_BUILT), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(made.command)), ENOEXEC);
    EXPECT_EQ(errnoOfFailure(dravikCmd_build(made.command)), EINVAL) << "no buffer";
    ASSERT_EQ(dravikSubCmd_addCmdBuf(bare, dravikSession_cmdBufAlloc(s, 64, 0), 0), 0);
    EXPECT_EQ(dravikCmd_build(made.command), 0);
    const std::vector<dravik_subcmd*>& subs = made.sub_commands;
    EXPECT_EQ(errnoOfFailure(dravikCmd_setDependencyEdge(made.command, subs[0], subs[0])), EINVAL);
    EXPECT_EQ(dravikCmd_setDependencyEdge(made.command, subs[2], subs[0]), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_build(made.command)), EINVAL) << "0, 1, 2, 0";
}

}  // namespace
}  // namespace dravik_test
