#include "RunStyle.h"

namespace tessaro_workload {

const char* runStyleName(RunStyle style) {
    switch (style) {
        case RunStyle::kRun:
            return "cmd_run";
        case RunStyle::kRunWithType:
            return "cmd_runWithType";
        case RunStyle::kRunAsyncAndWait:
            return "cmd_runAsync+cmd_wait";
        case RunStyle::kRunFence:
            return "cmd_runFence";
        case RunStyle::kRunFenceV2:
            return "cmd_runFence_v2";
        case RunStyle::kCachedRun:
            return "cmd_cachedAndRun";
        case RunStyle::kCachedRunWithType:
            return "cmd_cachedAndRunWithType";
        case RunStyle::kCachedRunWithTypeExt:
            return "cmd_cachedAndRunWithTypeExt";
    }
    return "unknown";
}

std::vector<RunStyle> remoteRunStyles() {
    return {RunStyle::kRun,
            RunStyle::kRunWithType,
            RunStyle::kRunAsyncAndWait,
            RunStyle::kRunFenceV2,
            RunStyle::kCachedRun,
            RunStyle::kCachedRunWithType,
            RunStyle::kCachedRunWithTypeExt};
}

std::vector<RunStyle> allRunStyles() {
    std::vector<RunStyle> styles = remoteRunStyles();
    styles.insert(styles.begin() + 3, RunStyle::kRunFence);
    return styles;
}

}  // namespace tessaro_workload
