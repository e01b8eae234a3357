// A command's structure: sub-commands, their command buffers and parameters, dependencies, and
// the build that checks them all and fixes the run order.
#include <algorithm>

#include "Command.h"
#include "CommandGraph.h"
#include "DeviceCatalog.h"
#include "DriverError.h"
#include "dravik_reference_driver.h"

namespace dravik::reference {

namespace {

bool isUsable(const std::weak_ptr<MemoryObject>& buffer) {
    const std::shared_ptr<MemoryObject> memory = buffer.lock();
    return memory != nullptr && !memory->released();
}

}  // namespace

void Command::requireOwnSubCommandLocked(const SubCommand& sub_command) const {
    require(sub_command.index() < sub_commands_.size() &&
                    sub_commands_[sub_command.index()].get() == &sub_command,
            EINVAL);
}

void Command::requireChangeableLocked() const {
    require(!deleted_.load(), EINVAL);
    require(runs_in_flight_.load() == 0, EBUSY);
}

std::shared_ptr<SubCommand> Command::createSubCommand(int32_t device_type) {
    require(isDeviceType(device_type), EINVAL);
    std::lock_guard<std::mutex> lock(mutex_);
    requireChangeableLocked();
    require(sub_commands_.size() < DRAVIK_REFERENCE_MAX_SUB_COMMANDS, ENOSPC);
    auto sub_command =
            std::make_shared<SubCommand>(weak_from_this(), device_type, sub_commands_.size());
    sub_commands_.push_back(sub_command);
    run_order_.reset();
    return sub_command;
}

void Command::setDependencyEdge(const SubCommand& predecessor, const SubCommand& successor) {
    std::lock_guard<std::mutex> lock(mutex_);
    requireChangeableLocked();
    requireOwnSubCommandLocked(predecessor);
    requireOwnSubCommandLocked(successor);
    require(&predecessor != &successor, EINVAL);
    edges_.emplace(predecessor.index(), successor.index());
    run_order_.reset();
}

void Command::setDependencyPack(const SubCommand& main, const SubCommand& appendix) {
    std::lock_guard<std::mutex> lock(mutex_);
    requireChangeableLocked();
    requireOwnSubCommandLocked(main);
    requireOwnSubCommandLocked(appendix);
    require(&main != &appendix, EINVAL);
    require(main.deviceType() == appendix.deviceType(), EINVAL);
    SubCommand& main_state = *sub_commands_[main.index()];
    SubCommand& appendix_state = *sub_commands_[appendix.index()];
    require(!main_state.appendix && !appendix_state.is_appendix, EEXIST);
    main_state.appendix = appendix.index();
    appendix_state.is_appendix = true;
    edges_.emplace(main.index(), appendix.index());
    run_order_.reset();
}

void Command::setDependencyTightly(const SubCommand& predecessor,
                                   const std::shared_ptr<Command>& successor, void* token) {
    require(token != nullptr, EINVAL);
    require(successor.get() != this && !successor->deleted(), EINVAL);
    require(successor->sessionIdentity() == session_identity_, EINVAL);
    std::lock_guard<std::mutex> lock(mutex_);
    requireChangeableLocked();
    requireOwnSubCommandLocked(predecessor);
    tight_links_.push_back({predecessor.index(), successor, token});
    run_order_.reset();
}

void Command::addCommandBuffer(SubCommand& sub_command, const std::shared_ptr<MemoryObject>& buffer,
                               int32_t mode) {
    require(mode == DRAVIK_REFERENCE_ADD_CMD_BUF_APPEND ||
                    mode == DRAVIK_REFERENCE_ADD_CMD_BUF_REPLACE,
            EINVAL);
    std::lock_guard<std::mutex> lock(mutex_);
    requireChangeableLocked();
    requireOwnSubCommandLocked(sub_command);
    if (mode == DRAVIK_REFERENCE_ADD_CMD_BUF_REPLACE) {
        sub_command.command_buffers.clear();
        sub_command.command_buffer_identities.clear();
    }
    const auto& identities = sub_command.command_buffer_identities;
    require(std::find(identities.begin(), identities.end(), buffer.get()) == identities.end(),
            EEXIST);
    require(identities.size() < DRAVIK_REFERENCE_MAX_CMD_BUFS_PER_SUB_COMMAND, ENOSPC);
    sub_command.command_buffers.push_back(buffer);
    sub_command.command_buffer_identities.push_back(buffer.get());
    run_order_.reset();
}

void Command::setSubCommandParameter(SubCommand& sub_command, int32_t kind, int64_t value) {
    std::lock_guard<std::mutex> lock(mutex_);
    require(!deleted_.load(), EINVAL);
    requireOwnSubCommandLocked(sub_command);
    switch (kind) {
        case DRAVIK_REFERENCE_SUBCMD_PARAM_DEVICE_INDEX:
            require(value >= 0 && value < deviceCount(sub_command.deviceType()), EINVAL);
            sub_command.device_index = value;
            return;
        case DRAVIK_REFERENCE_SUBCMD_PARAM_PERFORMANCE_HINT:
            require(value >= 0 && value <= 100, EINVAL);
            sub_command.performance_hint = value;
            return;
        default:
            failWith(EINVAL);
    }
}

int64_t Command::subCommandParameter(const SubCommand& sub_command, int32_t kind) const {
    std::lock_guard<std::mutex> lock(mutex_);
    requireOwnSubCommandLocked(sub_command);
    switch (kind) {
        case DRAVIK_REFERENCE_SUBCMD_PARAM_DEVICE_INDEX:
            return sub_command.device_index;
        case DRAVIK_REFERENCE_SUBCMD_PARAM_PERFORMANCE_HINT:
            return sub_command.performance_hint;
        default:
            failWith(EINVAL);
    }
}

void Command::build() {
    std::lock_guard<std::mutex> lock(mutex_);
    requireChangeableLocked();
    require(!sub_commands_.empty(), EINVAL);
    DependencyGraph graph;
    graph.count = sub_commands_.size();
    graph.edges = edges_;
    for (const auto& sub_command : sub_commands_) {
        require(!sub_command->command_buffers.empty(), EINVAL);
        require(std::all_of(sub_command->command_buffers.begin(),
                            sub_command->command_buffers.end(), isUsable),
                EINVAL);
        if (sub_command->appendix)
            graph.packs.emplace(sub_command->index(), *sub_command->appendix);
    }
    for (const TightLink& link : tight_links_) {
        const std::shared_ptr<Command> successor = link.successor.lock();
        require(successor != nullptr && !successor->deleted(), EINVAL);
    }
    std::optional<std::vector<std::size_t>> order = runOrder(graph);
    require(order.has_value(), EINVAL);
    run_order_ = std::move(order);
}

}  // namespace dravik::reference
