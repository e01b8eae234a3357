// The 37 operations of the driver library, by name, for failure injection.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace dravik::reference {

enum class Operation {
    kSessionCreateInstance,
    kSessionDeleteInstance,
    kSessionQueryInfo,
    kSessionQueryDeviceNum,
    kSessionQueryDeviceMetaData,
    kSessionMemAlloc,
    kSessionMemAllocWithName,
    kSessionMemAllocV1,
    kSessionMemFree,
    kSessionMemImport,
    kSessionMemImportWithFlag,
    kSessionMemImportV1,
    kSessionMemUnImport,
    kSessionMemFlush,
    kSessionMemInvalidate,
    kSessionMemGetInfoFromHostPtr,
    kSessionMemSetParamViaHostPtr,
    kSessionCmdBufAlloc,
    kSessionCmdBufAllocWithName,
    kSessionCmdBufFree,
    kSessionCreateCmd,
    kSessionDeleteCmd,
    kCmdSetParam,
    kCmdCreateSubcmd,
    kCmdSetDependencyEdge,
    kCmdSetDependencyPack,
    kCmdSetDependencyTightly,
    kCmdBuild,
    kCmdRun,
    kCmdRunWithType,
    kCmdRunAsync,
    kCmdWait,
    kCmdRunFence,
    kCmdGetRunInfo,
    kSubCmdSetParam,
    kSubCmdAddCmdBuf,
    kSubCmdGetRunInfo,
};

constexpr std::size_t kOperationCount = static_cast<std::size_t>(Operation::kSubCmdGetRunInfo) + 1;

// The function name of dravik_mdw.h.
std::string_view operationName(Operation operation);
// The errno an injected failure sets when none is given: ENOMEM for creators, EIO otherwise.
int defaultInjectedError(Operation operation);
std::optional<Operation> findOperation(std::string_view name);

}  // namespace dravik::reference
