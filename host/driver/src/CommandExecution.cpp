// The work of a run: every sub-command's programs checked and resolved first, then executed with
// the dependencies honoured and independent sub-commands side by side.
#include <algorithm>
#include <chrono>
#include <new>
#include <thread>

#include "AddressResolution.h"
#include "Command.h"
#include "DependencyScheduler.h"
#include "DriverError.h"
#include "PreparedWork.h"
#include "Session.h"

namespace dravik::reference {

namespace {

// Sub-commands of one run executing at the same time, at most; runs of different commands add up,
// so this stays small.
constexpr std::size_t kMaxParallelSubCommands = 4;

std::size_t threadsForRun() {
    const std::size_t cores = std::max(1u, std::thread::hardware_concurrency());
    return std::min(kMaxParallelSubCommands, cores);
}

}  // namespace

int Command::executeSubCommands(const RunPlan& plan, std::vector<int64_t>& durations) const {
    try {
        const std::shared_ptr<Session> session = session_.lock();
        // The session's memory went with it.
        require(session != nullptr, EFAULT);
        // Holds every object the programs may name until the run is over.
        const SessionMemoryMap memory(session->memorySnapshot());
        // All of it checked before anything executes, so a failed run writes nothing.
        std::vector<PreparedWork> work(plan.buffers.size());
        for (const std::size_t index : plan.order) {
            work[index] = PreparedWork::prepare(plan.buffers[index], memory);
        }
        runInDependencyOrder(plan.order, plan.edges, threadsForRun(), [&](std::size_t index) {
            const auto start = std::chrono::steady_clock::now();
            work[index].execute();
            durations[index] = std::chrono::duration_cast<std::chrono::nanoseconds>(
                                       std::chrono::steady_clock::now() - start)
                                       .count();
        });
        return 0;
    } catch (const DriverError& error) {
        return error.errorNumber();
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

}  // namespace dravik::reference
