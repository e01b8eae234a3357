#include "Operation.h"

#include <array>
#include <cerrno>

namespace dravik::reference {

namespace {

struct OperationDescription {
    std::string_view name;
    bool creates_object;
};

// In the order of the Operation enumeration.
constexpr std::array<OperationDescription, kOperationCount> kDescriptions = {{
        {"dravikSession_createInstance", true},
        {"dravikSession_deleteInstance", false},
        {"dravikSession_queryInfo", false},
        {"dravikSession_queryDeviceNum", false},
        {"dravikSession_queryDeviceMetaData", false},
        {"dravikSession_memAlloc", true},
        {"dravikSession_memAllocWithName", true},
        {"dravikSession_memAllocV1", true},
        {"dravikSession_memFree", false},
        {"dravikSession_memImport", true},
        {"dravikSession_memImportWithFlag", true},
        {"dravikSession_memImportV1", true},
        {"dravikSession_memUnImport", false},
        {"dravikSession_memFlush", false},
        {"dravikSession_memInvalidate", false},
        {"dravikSession_memGetInfoFromHostPtr", false},
        {"dravikSession_memSetParamViaHostPtr", false},
        {"dravikSession_cmdBufAlloc", true},
        {"dravikSession_cmdBufAllocWithName", true},
        {"dravikSession_cmdBufFree", false},
        {"dravikSession_createCmd", true},
        {"dravikSession_deleteCmd", false},
        {"dravikCmd_setParam", false},
        {"dravikCmd_createSubcmd", true},
        {"dravikCmd_setDependencyEdge", false},
        {"dravikCmd_setDependencyPack", false},
        {"dravikCmd_setDependencyTightly", false},
        {"dravikCmd_build", false},
        {"dravikCmd_run", false},
        {"dravikCmd_runWithType", false},
        {"dravikCmd_runAsync", false},
        {"dravikCmd_wait", false},
        {"dravikCmd_runFence", false},
        {"dravikCmd_getRunInfo", false},
        {"dravikSubCmd_setParam", false},
        {"dravikSubCmd_addCmdBuf", false},
        {"dravikSubCmd_getRunInfo", false},
}};

const OperationDescription& describe(Operation operation) {
    return kDescriptions[static_cast<std::size_t>(operation)];
}

}  // namespace

std::string_view operationName(Operation operation) {
    return describe(operation).name;
}

int defaultInjectedError(Operation operation) {
    return describe(operation).creates_object ? ENOMEM : EIO;
}

std::optional<Operation> findOperation(std::string_view name) {
    for (std::size_t index = 0; index < kOperationCount; ++index) {
        if (kDescriptions[index].name == name) return static_cast<Operation>(index);
    }
    return std::nullopt;
}

}  // namespace dravik::reference
