// One driver session: the registry of its memory objects (allocations, imports, command buffers)
// and of its commands. Once closed it takes nothing more, so objects cannot be added to a session
// that is being deleted.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "HandleRegistry.h"
#include "LiveObjects.h"
#include "MemoryObject.h"
#include "dravik_mdw.h"

namespace dravik::reference {

class Command;

class Session {
  public:
    Session() : live_token_(LiveObjectKind::kSession) {}

    // Throws DriverError(EINVAL) when the session is closed.
    dravik_mem* addMemory(std::shared_ptr<MemoryObject> memory);
    // Throws DriverError(EINVAL) unless memory is one of this session's objects.
    std::shared_ptr<MemoryObject> findMemory(dravik_mem* memory) const;
    // Removes one of this session's objects of the given kind; throws DriverError(EINVAL) for
    // anything else.
    std::shared_ptr<MemoryObject> removeMemory(dravik_mem* memory, MemoryKind kind);
    // The memory objects live in the session now, for a run to resolve device addresses against.
    std::vector<std::shared_ptr<MemoryObject>> memorySnapshot() const { return memory_.snapshot(); }

    void addCommand(const std::shared_ptr<Command>& command);
    std::shared_ptr<Command> removeCommand(dravik_cmd* command);

    struct Contents {
        std::vector<std::shared_ptr<Command>> commands;
        std::vector<std::shared_ptr<MemoryObject>> memory;
    };
    // Closes the session and hands over everything still in it.
    Contents close();

  private:
    const LiveObjectToken live_token_;
    // Held while checking closed_ and adding, or closing, so the two cannot interleave.
    std::mutex admission_mutex_;
    bool closed_ = false;
    HandleRegistry<dravik_mem, MemoryObject> memory_;
    HandleRegistry<dravik_cmd, Command> commands_;
};

}  // namespace dravik::reference
