// The ways a client can have the service run a built command.
#pragma once

#include <vector>

namespace tessaro_workload {

enum class RunStyle {
    kRun,                   // cmd_run
    kRunWithType,           // cmd_runWithType
    kRunAsyncAndWait,       // cmd_runAsync, then cmd_wait
    kRunFence,              // cmd_runFence; its fence number is only meaningful in the service's
                            // own process
    kRunFenceV2,            // cmd_runFence_v2, waiting on the fence it hands back
    kCachedRun,             // cmd_cachedAndRun: flush the inputs, run, invalidate the outputs
    kCachedRunWithType,     // cmd_cachedAndRunWithType
    kCachedRunWithTypeExt,  // cmd_cachedAndRunWithTypeExt
};

const char* runStyleName(RunStyle style);

// Every style a client in another process can use (all but kRunFence).
std::vector<RunStyle> remoteRunStyles();
// Every style, for a client in the service's own process.
std::vector<RunStyle> allRunStyles();

}  // namespace tessaro_workload
