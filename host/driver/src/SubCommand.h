// One sub-command: the work of one device of one type. Its changeable state is guarded by the
// mutex of the command that owns it; the command does every change.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "DriverError.h"
#include "LiveObjects.h"
#include "MemoryObject.h"

namespace dravik::reference {

class Command;

class SubCommand {
  public:
    SubCommand(std::weak_ptr<Command> owner, int32_t device_type, std::size_t index)
        : live_token_(LiveObjectKind::kSubCommand),
          owner_(std::move(owner)),
          device_type_(device_type),
          index_(index) {}

    // Throws DriverError(EINVAL) when the command is gone.
    std::shared_ptr<Command> owner() const {
        std::shared_ptr<Command> command = owner_.lock();
        require(command != nullptr, EINVAL);
        return command;
    }
    int32_t deviceType() const { return device_type_; }
    // Its place in the command's creation order.
    std::size_t index() const { return index_; }

    // Guarded by the owning command's mutex.
    std::vector<std::weak_ptr<MemoryObject>> command_buffers;
    std::vector<const MemoryObject*> command_buffer_identities;  // never dereferenced
    int64_t device_index = 0;
    int64_t performance_hint = 100;
    std::optional<std::size_t> appendix;  // set when this is the main of a pack
    bool is_appendix = false;
    int64_t run_count = 0;
    int64_t last_run_duration_ns = 0;

  private:
    const LiveObjectToken live_token_;
    const std::weak_ptr<Command> owner_;
    const int32_t device_type_;
    const std::size_t index_;
};

}  // namespace dravik::reference
