// A command's parameters and its end.
#include "Command.h"

#include <climits>

#include "DriverError.h"
#include "dravik_reference_driver.h"

namespace dravik::reference {

Command::~Command() {
    // Queued runs use the command: they end before any member goes.
    run_queue_.shutDown();
}

std::shared_ptr<Session> Command::session() const {
    std::shared_ptr<Session> session = session_.lock();
    require(session != nullptr, EINVAL);
    return session;
}

void Command::setParameter(int32_t kind, int64_t value) {
    std::lock_guard<std::mutex> lock(mutex_);
    switch (kind) {
        case DRAVIK_REFERENCE_CMD_PARAM_PRIORITY:
            require(value >= 0 && value <= DRAVIK_REFERENCE_MAX_PRIORITY, EINVAL);
            priority_ = value;
            return;
        case DRAVIK_REFERENCE_CMD_PARAM_PERFORMANCE_HINT:
            require(value >= 0 && value <= 100, EINVAL);
            performance_hint_ = value;
            return;
        case DRAVIK_REFERENCE_CMD_PARAM_CLIENT_PID:
            require(value >= 1 && value <= INT32_MAX, EINVAL);
            client_pid_ = value;
            return;
        default:
            failWith(EINVAL);
    }
}

int64_t Command::parameter(int32_t kind) const {
    std::lock_guard<std::mutex> lock(mutex_);
    switch (kind) {
        case DRAVIK_REFERENCE_CMD_PARAM_PRIORITY:
            return priority_;
        case DRAVIK_REFERENCE_CMD_PARAM_PERFORMANCE_HINT:
            return performance_hint_;
        case DRAVIK_REFERENCE_CMD_PARAM_CLIENT_PID:
            return client_pid_;
        default:
            failWith(EINVAL);
    }
}

std::vector<std::shared_ptr<SubCommand>> Command::shutDown() {
    std::vector<std::shared_ptr<SubCommand>> sub_commands;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        deleted_.store(true);
        sub_commands = sub_commands_;
        async_result_ = std::future<int>();
    }
    run_queue_.shutDown();
    // A synchronous run in progress on another thread ends before the command is gone.
    std::lock_guard<std::mutex> wait_for_run(execution_mutex_);
    return sub_commands;
}

}  // namespace dravik::reference
