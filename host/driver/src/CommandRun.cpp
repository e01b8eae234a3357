// Running a built command: synchronously, queued (runAsync + wait), or fenced; and what the last
// run left to read.
#include <chrono>

#include "Command.h"
#include "DriverError.h"
#include "Fence.h"
#include "dravik_reference_driver.h"

namespace dravik::reference {

namespace {

std::atomic<int64_t> g_last_extension_id{0};

bool isRunType(int32_t run_type) {
    return run_type == DRAVIK_REFERENCE_RUN_TYPE_NORMAL ||
           run_type == DRAVIK_REFERENCE_RUN_TYPE_LOW_LATENCY ||
           run_type == DRAVIK_REFERENCE_RUN_TYPE_LOW_POWER;
}

int64_t nanosecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() -
                                                                start)
            .count();
}

}  // namespace

class Command::RunAdmission {
  public:
    explicit RunAdmission(std::atomic<int>& runs_in_flight) : runs_in_flight_(runs_in_flight) {
        runs_in_flight_.fetch_add(1);
    }
    ~RunAdmission() { runs_in_flight_.fetch_sub(1); }
    RunAdmission(const RunAdmission&) = delete;
    RunAdmission& operator=(const RunAdmission&) = delete;

  private:
    std::atomic<int>& runs_in_flight_;
};

std::shared_ptr<Command::RunAdmission> Command::admitRunLocked() {
    require(!deleted_.load(), EINVAL);
    require(run_order_.has_value(), ENOEXEC);
    return std::make_shared<RunAdmission>(runs_in_flight_);
}

void Command::recordRunLocked(int32_t run_type, int status, int64_t duration_ns) {
    last_run_.duration_ns = duration_ns;
    last_run_.extension_id = ++g_last_extension_id;
    last_run_.run_count += 1;
    last_run_.status = status;
    last_run_.run_type = run_type;
}

int Command::executeRun(int32_t run_type) {
    std::lock_guard<std::mutex> one_run_at_a_time(execution_mutex_);
    std::vector<std::shared_ptr<SubCommand>> sub_commands;
    RunPlan plan;
    int status = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        sub_commands = sub_commands_;
        plan.order = *run_order_;
        plan.edges = edges_;
        // Held for the whole run, so no buffer goes away under it.
        for (const auto& sub_command : sub_commands_) {
            plan.buffers.emplace_back();
            for (const auto& weak_buffer : sub_command->command_buffers) {
                std::shared_ptr<MemoryObject> buffer = weak_buffer.lock();
                if (buffer == nullptr || buffer->released()) status = EFAULT;
                plan.buffers.back().push_back(std::move(buffer));
            }
        }
    }
    const auto run_start = std::chrono::steady_clock::now();
    std::vector<int64_t> durations(sub_commands.size(), 0);
    if (status == 0) status = executeSubCommands(plan, durations);
    const int64_t run_duration = nanosecondsSince(run_start);

    std::lock_guard<std::mutex> lock(mutex_);
    recordRunLocked(run_type, status, run_duration);
    if (status == 0) {
        for (std::size_t index = 0; index < sub_commands.size(); ++index) {
            sub_commands[index]->run_count += 1;
            sub_commands[index]->last_run_duration_ns = durations[index];
        }
    }
    return status;
}

QueuedRunWork Command::queuedRunWork(std::shared_ptr<RunAdmission> admission) {
    return [this, admission = std::move(admission)](int blocked_by) {
        if (blocked_by == 0) return executeRun(DRAVIK_REFERENCE_RUN_TYPE_NORMAL);
        std::lock_guard<std::mutex> lock(mutex_);
        recordRunLocked(DRAVIK_REFERENCE_RUN_TYPE_NORMAL, blocked_by, 0);
        return blocked_by;
    };
}

void Command::run(int32_t run_type) {
    require(isRunType(run_type), EINVAL);
    std::shared_ptr<RunAdmission> admission;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        admission = admitRunLocked();
    }
    const int status = executeRun(run_type);
    admission.reset();
    require(status == 0, status);
}

void Command::runAsync() {
    std::lock_guard<std::mutex> lock(mutex_);
    std::shared_ptr<RunAdmission> admission = admitRunLocked();
    require(!async_result_.valid(), EBUSY);
    async_result_ = run_queue_.submit(
            {UniqueDescriptor(), UniqueDescriptor(), queuedRunWork(std::move(admission))});
}

void Command::wait() {
    std::future<int> result;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        require(!deleted_.load() && async_result_.valid(), EINVAL);
        result = std::move(async_result_);
    }
    const int status = result.get();
    require(status == 0, status);
}

UniqueDescriptor Command::runFenced(int input_fence, int64_t flags) {
    require(flags == 0, EINVAL);
    require(input_fence >= -1, EINVAL);
    UniqueDescriptor input;
    if (input_fence >= 0) input = duplicateDescriptor(input_fence);
    UniqueDescriptor caller_fence = createFence();
    UniqueDescriptor completion_signal = duplicateDescriptor(caller_fence.get());

    std::lock_guard<std::mutex> lock(mutex_);
    std::shared_ptr<RunAdmission> admission = admitRunLocked();
    // The caller learns the outcome from the fence and the run information, not from the future.
    run_queue_.submit(
            {std::move(input), std::move(completion_signal), queuedRunWork(std::move(admission))});
    return caller_fence;
}

int64_t Command::runInformation(int32_t kind) const {
    std::lock_guard<std::mutex> lock(mutex_);
    switch (kind) {
        case DRAVIK_REFERENCE_CMD_RUN_INFO_DURATION_NS:
            return last_run_.duration_ns;
        case DRAVIK_REFERENCE_CMD_RUN_INFO_EXTENSION_ID:
            return last_run_.extension_id;
        case DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT:
            return last_run_.run_count;
        case DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS:
            return last_run_.status;
        case DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_TYPE:
            return last_run_.run_type;
        case DRAVIK_REFERENCE_CMD_RUN_INFO_SUB_COMMANDS:
            return static_cast<int64_t>(sub_commands_.size());
        case DRAVIK_REFERENCE_CMD_RUN_INFO_BUILT:
            return run_order_.has_value() ? 1 : 0;
        default:
            failWith(EINVAL);
    }
}

int64_t Command::subCommandRunInformation(const SubCommand& sub_command, int32_t kind) const {
    std::lock_guard<std::mutex> lock(mutex_);
    requireOwnSubCommandLocked(sub_command);
    switch (kind) {
        case DRAVIK_REFERENCE_SUBCMD_RUN_INFO_DURATION_NS:
            return sub_command.last_run_duration_ns;
        case DRAVIK_REFERENCE_SUBCMD_RUN_INFO_RUN_COUNT:
            return sub_command.run_count;
        case DRAVIK_REFERENCE_SUBCMD_RUN_INFO_DEVICE_TYPE:
            return sub_command.deviceType();
        case DRAVIK_REFERENCE_SUBCMD_RUN_INFO_CMD_BUFS:
            return static_cast<int64_t>(sub_command.command_buffers.size());
        default:
            failWith(EINVAL);
    }
}

}  // namespace dravik::reference
