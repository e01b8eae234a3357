#include "Session.h"

#include "Command.h"

namespace dravik::reference {

dravik_mem* Session::addMemory(std::shared_ptr<MemoryObject> memory) {
    std::lock_guard<std::mutex> lock(admission_mutex_);
    require(!closed_, EINVAL);
    return memory_.add(std::move(memory));
}

std::shared_ptr<MemoryObject> Session::findMemory(dravik_mem* memory) const {
    return memory_.find(memory);
}

std::shared_ptr<MemoryObject> Session::removeMemory(dravik_mem* memory, MemoryKind kind) {
    std::shared_ptr<MemoryObject> removed = memory_.removeIf(
            memory, [kind](const MemoryObject& object) { return object.kind() == kind; });
    removed->markReleased();
    return removed;
}

void Session::addCommand(const std::shared_ptr<Command>& command) {
    std::lock_guard<std::mutex> lock(admission_mutex_);
    require(!closed_, EINVAL);
    commands_.add(command);
}

std::shared_ptr<Command> Session::removeCommand(dravik_cmd* command) {
    return commands_.remove(command);
}

Session::Contents Session::close() {
    std::lock_guard<std::mutex> lock(admission_mutex_);
    closed_ = true;
    Contents contents{commands_.removeAll(), memory_.removeAll()};
    for (const auto& memory : contents.memory) memory->markReleased();
    return contents;
}

}  // namespace dravik::reference
