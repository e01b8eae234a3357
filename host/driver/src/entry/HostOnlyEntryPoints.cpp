// The host-only entry points of dravik_reference_driver.h, for tests. They are never failed by
// injection, so a test can always look inside the model.
#include <cerrno>
#include <cstring>

#include "DriverError.h"
#include "FailureInjection.h"
#include "LiveObjects.h"
#include "Registries.h"
#include "dravik_reference_driver.h"

using namespace dravik::reference;

namespace {

template <typename Body>
int32_t inspect(Body&& body) {
    try {
        body();
        return 0;
    } catch (const DriverError& error) {
        errno = error.errorNumber();
    } catch (...) {
        errno = EIO;
    }
    return -1;
}

}  // namespace

extern "C" void dravikReference_getLiveCounts(dravik_reference_live_counts* counts) {
    if (counts == nullptr) return;
    counts->sessions = liveObjectCount(LiveObjectKind::kSession);
    counts->memory_objects = liveObjectCount(LiveObjectKind::kMemoryObject);
    counts->command_buffers = liveObjectCount(LiveObjectKind::kCommandBuffer);
    counts->commands = liveObjectCount(LiveObjectKind::kCommand);
    counts->sub_commands = liveObjectCount(LiveObjectKind::kSubCommand);
}

extern "C" int32_t dravikReference_reloadFailureInjection(void) {
    if (reloadFailureInjection() == 0) return 0;
    errno = EINVAL;
    return -1;
}

extern "C" void dravikReference_resetFailureInjection(void) {
    resetFailureInjection();
}

extern "C" int32_t dravikReference_memGetMaintenanceCounts(dravik_session* session, dravik_mem* mem,
                                                           int64_t* flushes, int64_t* invalidates) {
    return inspect([&] {
        const std::shared_ptr<MemoryObject> memory = findSession(session)->findMemory(mem);
        if (flushes != nullptr) *flushes = memory->flushes();
        if (invalidates != nullptr) *invalidates = memory->invalidates();
    });
}

extern "C" int32_t dravikReference_memGetName(dravik_session* session, dravik_mem* mem,
                                              char* buffer, uint64_t capacity) {
    return inspect([&] {
        const std::shared_ptr<MemoryObject> memory = findSession(session)->findMemory(mem);
        require(buffer != nullptr, EINVAL);
        const std::string& name = memory->name();
        require(name.size() < capacity, ERANGE);
        std::memcpy(buffer, name.c_str(), name.size() + 1);
    });
}

extern "C" int32_t dravikReference_cmdGetParam(dravik_cmd* cmd, int32_t kind, int64_t* value) {
    return inspect([&] {
        const std::shared_ptr<Command> command = findCommand(cmd);
        require(value != nullptr, EINVAL);
        *value = command->parameter(kind);
    });
}

extern "C" int32_t dravikReference_subCmdGetParam(dravik_subcmd* sub_cmd, int32_t kind,
                                                  int64_t* value) {
    return inspect([&] {
        const std::shared_ptr<SubCommand> sub_command = findSubCommand(sub_cmd);
        require(value != nullptr, EINVAL);
        *value = sub_command->owner()->subCommandParameter(*sub_command, kind);
    });
}
