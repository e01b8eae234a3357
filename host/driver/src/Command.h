// One command: its sub-commands, their dependencies and command buffers, its parameters, the run
// order that build fixes, and its runs. Structure and parameters are guarded by mutex_; runs take
// execution_mutex_ so that one runs at a time.
#pragma once

#include <atomic>
#include <cstdint>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "LiveObjects.h"
#include "MemoryObject.h"
#include "RunQueue.h"
#include "SubCommand.h"
#include "UniqueDescriptor.h"

namespace dravik::reference {

class Session;

class Command : public std::enable_shared_from_this<Command> {
  public:
    explicit Command(const std::shared_ptr<Session>& session)
        : live_token_(LiveObjectKind::kCommand),
          session_(session),
          session_identity_(session.get()) {}
    ~Command();

    // Parameters (Command.cpp).
    void setParameter(int32_t kind, int64_t value);
    int64_t parameter(int32_t kind) const;

    // Structure (CommandStructure.cpp). Sub-commands passed in must be this command's.
    std::shared_ptr<SubCommand> createSubCommand(int32_t device_type);
    void setDependencyEdge(const SubCommand& predecessor, const SubCommand& successor);
    void setDependencyPack(const SubCommand& main, const SubCommand& appendix);
    void setDependencyTightly(const SubCommand& predecessor,
                              const std::shared_ptr<Command>& successor, void* token);
    // buffer must already be known to be a command buffer of this command's session.
    void addCommandBuffer(SubCommand& sub_command, const std::shared_ptr<MemoryObject>& buffer,
                          int32_t mode);
    void setSubCommandParameter(SubCommand& sub_command, int32_t kind, int64_t value);
    int64_t subCommandParameter(const SubCommand& sub_command, int32_t kind) const;
    void build();

    // Runs (CommandRun.cpp). Failures throw DriverError.
    void run(int32_t run_type);
    void runAsync();
    void wait();
    // Answers the fence the caller owns.
    UniqueDescriptor runFenced(int input_fence, int64_t flags);
    int64_t runInformation(int32_t kind) const;
    int64_t subCommandRunInformation(const SubCommand& sub_command, int32_t kind) const;

    // Throws DriverError(EINVAL) once the session is gone.
    std::shared_ptr<Session> session() const;
    // For same-session checks; never dereferenced.
    const Session* sessionIdentity() const { return session_identity_; }
    bool deleted() const { return deleted_.load(); }
    // Refuses everything from now on, cancels the queued runs, waits for the one in progress and
    // hands over the sub-commands.
    std::vector<std::shared_ptr<SubCommand>> shutDown();

  private:
    struct TightLink {
        std::size_t predecessor;
        std::weak_ptr<Command> successor;
        void* token;  // the caller's, never dereferenced
    };
    struct RunRecord {
        int64_t duration_ns = 0;
        int64_t extension_id = 0;
        int64_t run_count = 0;
        int64_t status = 0;
        int64_t run_type = 0;
    };
    // Counts a run from admission until it is over, so structure changes can be refused meanwhile.
    class RunAdmission;

    void requireOwnSubCommandLocked(const SubCommand& sub_command) const;
    void requireChangeableLocked() const;
    std::shared_ptr<RunAdmission> admitRunLocked();
    QueuedRunWork queuedRunWork(std::shared_ptr<RunAdmission> admission);
    int executeRun(int32_t run_type);
    // Prepares every sub-command's work, then executes it in dependency order
    // (CommandExecution.cpp). durations are by sub-command index. Answers 0 or the errno the run
    // failed with.
    struct RunPlan {
        std::vector<std::size_t> order;
        std::set<std::pair<std::size_t, std::size_t>> edges;
        std::vector<std::vector<std::shared_ptr<MemoryObject>>> buffers;  // by sub-command index
    };
    int executeSubCommands(const RunPlan& plan, std::vector<int64_t>& durations) const;
    void recordRunLocked(int32_t run_type, int status, int64_t duration_ns);

    // First, so the command counts as live until everything below is released.
    const LiveObjectToken live_token_;
    const std::weak_ptr<Session> session_;
    const Session* const session_identity_;
    std::atomic<bool> deleted_{false};
    std::atomic<int> runs_in_flight_{0};

    mutable std::mutex mutex_;
    int64_t priority_ = 0;
    int64_t performance_hint_ = 100;
    int64_t client_pid_ = 0;
    std::vector<std::shared_ptr<SubCommand>> sub_commands_;
    std::set<std::pair<std::size_t, std::size_t>> edges_;
    std::vector<TightLink> tight_links_;
    std::optional<std::vector<std::size_t>> run_order_;  // set while built
    RunRecord last_run_;
    std::future<int> async_result_;  // valid from runAsync until wait

    std::mutex execution_mutex_;
    // Last, so its worker is joined while everything it uses still exists.
    RunQueue run_queue_;
};

}  // namespace dravik::reference
