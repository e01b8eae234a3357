// Runs honour the dependency graph while sub-commands free of each other may run side by side:
// through the driver with programs whose results depend on the order, and on the scheduler alone
// over many graphs.
#include <unistd.h>

#include <chrono>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "DependencyScheduler.h"
#include "ProgramTestSupport.h"

namespace dravik_test {
namespace {

using DependencyRunTest = DriverTest;
using dravik_reference::Program;

// A delay before the first write, so a successor started too early would read stale data.
constexpr uint64_t kHeadStartNs = 2'000'000;

TEST_F(DependencyRunTest, AChainAndADiamondGiveTheirResultsOnEveryKindOfRun) {
    ScopedSession session;
    const Floats accumulator = allocateFloats(session.get(), 64);
    const Floats ones = allocateFloats(session.get(), 64);
    ones.set(std::vector<float>(64, 1.0f));
    // Position 0 starts the chain, then each adds one in place; created in reverse so that the
    // creation order disagrees with the edges.
    constexpr int kLinks = 8;
    std::vector<Program> chain(kLinks);
    std::vector<std::pair<int, int>> chain_edges;
    for (int link = 0; link < kLinks; ++link) {
        const int position = kLinks - 1 - link;
        if (link == 0) {
            chain[position].wait(kHeadStartNs).fill(accumulator.address, 1.0f, 64);
        } else {
            chain[position].add(accumulator.address, ones.address, accumulator.address, 64);
            chain_edges.emplace_back(position + 1, position);
        }
    }
    const ProgramCommand chained = makeProgramCommand(session.get(), chain, chain_edges);

    // x = 2; y = x * x and z = x + x side by side; w = y + z.
    const Floats x = allocateFloats(session.get(), 32), y = allocateFloats(session.get(), 32);
    const Floats z = allocateFloats(session.get(), 32), w = allocateFloats(session.get(), 32);
    Program start, square, twice, sum;
    start.wait(kHeadStartNs).fill(x.address, 2.0f, 32);
    square.mul(x.address, x.address, y.address, 32);
    twice.add(x.address, x.address, z.address, 32);
    sum.add(y.address, z.address, w.address, 32);
    const ProgramCommand diamond = makeProgramCommand(session.get(), {sum, twice, square, start},
                                                      {{3, 2}, {3, 1}, {2, 0}, {1, 0}});

    auto reset = [&] {
        accumulator.set(std::vector<float>(64, -100.0f));
        for (const Floats* floats : {&x, &y, &z, &w}) floats->set(std::vector<float>(32, -100.0f));
    };
    auto expectResults = [&](const char* how) {
        EXPECT_EQ(accumulator.values(), std::vector<float>(64, float{kLinks})) << how;
        EXPECT_EQ(w.values(), std::vector<float>(32, 8.0f)) << how;
    };

    reset();
    ASSERT_EQ(dravikCmd_run(chained.command), 0) << "errno " << errno;
    ASSERT_EQ(dravikCmd_run(diamond.command), 0) << "errno " << errno;
    expectResults("run");

    reset();
    ASSERT_EQ(dravikCmd_runAsync(chained.command), 0);
    ASSERT_EQ(dravikCmd_runAsync(diamond.command), 0);
    EXPECT_EQ(dravikCmd_wait(chained.command), 0);
    EXPECT_EQ(dravikCmd_wait(diamond.command), 0);
    expectResults("runAsync");

    reset();
    const int chain_fence = dravikCmd_runFence(chained.command, -1, 0);
    const int diamond_fence = dravikCmd_runFence(diamond.command, -1, 0);
    ASSERT_TRUE(pollsReadable(chain_fence, -1));
    ASSERT_TRUE(pollsReadable(diamond_fence, -1));
    close(chain_fence);
    close(diamond_fence);
    // A signalled fence says the run is over; its status says how it went.
    EXPECT_EQ(dravikCmd_getRunInfo(chained.command, DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS), 0);
    EXPECT_EQ(dravikCmd_getRunInfo(diamond.command, DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS), 0);
    expectResults("runFence");

    for (dravik_subcmd* sub_command : diamond.sub_commands) {
        EXPECT_EQ(dravikSubCmd_getRunInfo(sub_command, DRAVIK_REFERENCE_SUBCMD_RUN_INFO_RUN_COUNT),
                  3);
    }
    EXPECT_GE(dravikSubCmd_getRunInfo(diamond.sub_commands[3],
                                      DRAVIK_REFERENCE_SUBCMD_RUN_INFO_DURATION_NS),
              static_cast<int64_t>(kHeadStartNs));
    EXPECT_EQ(dravikCmd_getRunInfo(diamond.command, DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS), 0);
    EXPECT_GE(dravikCmd_getRunInfo(diamond.command, DRAVIK_REFERENCE_CMD_RUN_INFO_DURATION_NS),
              static_cast<int64_t>(kHeadStartNs));
}

TEST_F(DependencyRunTest, AnAppendixReadsWhatItsMainWrote) {
    ScopedSession session;
    const Floats values = allocateFloats(session.get(), 16);
    const Floats doubled = allocateFloats(session.get(), 16);
    dravik_cmd* command = dravikSession_createCmd(session.get());
    dravik_subcmd* appendix = dravikCmd_createSubcmd(command, DRAVIK_REFERENCE_DEVICE_SCALAR_CORE);
    dravik_subcmd* main = dravikCmd_createSubcmd(command, DRAVIK_REFERENCE_DEVICE_SCALAR_CORE);
    dravik_mem* appendix_buffer = dravikSession_cmdBufAlloc(session.get(), 128, 0);
    dravik_mem* main_buffer = dravikSession_cmdBufAlloc(session.get(), 128, 0);
    writeProgram(session.get(), appendix_buffer,
                 Program().add(values.address, values.address, doubled.address, 16));
    writeProgram(session.get(), main_buffer,
                 Program().wait(kHeadStartNs).fill(values.address, 4.0f, 16));
    ASSERT_EQ(dravikSubCmd_addCmdBuf(appendix, appendix_buffer, 0), 0);
    ASSERT_EQ(dravikSubCmd_addCmdBuf(main, main_buffer, 0), 0);
    ASSERT_EQ(dravikCmd_setDependencyPack(command, main, appendix), 0);
    ASSERT_EQ(dravikCmd_build(command), 0);
    ASSERT_EQ(dravikCmd_run(command), 0) << "errno " << errno;
    EXPECT_EQ(doubled.values(), std::vector<float>(16, 8.0f));
}

// Every task starts only once all its predecessors have finished, and each runs once, over graphs
// from a chain to no edges at all.
TEST(DependencySchedulerTest, TasksStartAfterTheirPredecessorsFinish) {
    for (uint32_t seed = 0; seed < 50; ++seed) {
        constexpr std::size_t kTasks = 12;
        std::set<std::pair<std::size_t, std::size_t>> edges;
        const std::vector<float> draws = pseudoRandom(kTasks * kTasks, seed);
        // Edges only from lower to higher numbers keep the graph acyclic; density varies by seed.
        const float density = static_cast<float>(seed % 5) / 4.0f;
        for (std::size_t before = 0; before < kTasks; ++before) {
            for (std::size_t after = before + 1; after < kTasks; ++after) {
                if ((draws[before * kTasks + after] + 1.0f) / 2.0f < density) {
                    edges.emplace(before, after);
                }
            }
        }
        std::vector<std::size_t> order(kTasks);
        for (std::size_t index = 0; index < kTasks; ++index) order[index] = index;

        std::mutex mutex;
        std::vector<int> runs(kTasks, 0);
        std::vector<bool> finished(kTasks, false);
        std::vector<std::pair<std::size_t, std::size_t>> violations;
        dravik::reference::runInDependencyOrder(order, edges, 4, [&](std::size_t index) {
            {
                std::lock_guard<std::mutex> lock(mutex);
                for (const auto& [before, after] : edges) {
                    if (after == index && !finished[before]) violations.emplace_back(before, after);
                }
                ++runs[index];
            }
            // Long enough that a successor started too early would overlap it.
            std::this_thread::sleep_for(std::chrono::microseconds(200));
            std::lock_guard<std::mutex> lock(mutex);
            finished[index] = true;
        });
        EXPECT_TRUE(violations.empty()) << "seed " << seed;
        EXPECT_EQ(runs, std::vector<int>(kTasks, 1)) << "seed " << seed;
    }
}

}  // namespace
}  // namespace dravik_test
