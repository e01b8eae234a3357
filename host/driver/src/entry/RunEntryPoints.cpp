// dravikCmd_run, runWithType, runAsync, wait, runFence, getRunInfo.
#include "EntryGuard.h"
#include "Registries.h"
#include "dravik_mdw.h"
#include "dravik_reference_driver.h"

using namespace dravik::reference;

extern "C" int32_t dravikCmd_run(dravik_cmd* cmd) {
    return guardAction(Operation::kCmdRun,
                       [&] { findCommand(cmd)->run(DRAVIK_REFERENCE_RUN_TYPE_NORMAL); });
}

extern "C" int32_t dravikCmd_runWithType(dravik_cmd* cmd, int32_t type) {
    return guardAction(Operation::kCmdRunWithType, [&] { findCommand(cmd)->run(type); });
}

extern "C" int32_t dravikCmd_runAsync(dravik_cmd* cmd) {
    return guardAction(Operation::kCmdRunAsync, [&] { findCommand(cmd)->runAsync(); });
}

extern "C" int32_t dravikCmd_wait(dravik_cmd* cmd) {
    return guardAction(Operation::kCmdWait, [&] { findCommand(cmd)->wait(); });
}

extern "C" int32_t dravikCmd_runFence(dravik_cmd* cmd, int32_t fence_fd, int64_t flags) {
    return guardEntry<int32_t>(Operation::kCmdRunFence, -1, [&] {
        return findCommand(cmd)->runFenced(fence_fd, flags).release();
    });
}

extern "C" int64_t dravikCmd_getRunInfo(dravik_cmd* cmd, int32_t kind) {
    return guardEntry<int64_t>(Operation::kCmdGetRunInfo, 0,
                               [&] { return findCommand(cmd)->runInformation(kind); });
}
