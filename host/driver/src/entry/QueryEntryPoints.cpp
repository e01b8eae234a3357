// dravikSession_queryInfo, dravikSession_queryDeviceNum, dravikSession_queryDeviceMetaData.
#include "DeviceCatalog.h"
#include "EntryGuard.h"
#include "Registries.h"
#include "dravik_mdw.h"

using namespace dravik::reference;

extern "C" int64_t dravikSession_queryInfo(dravik_session* session, int32_t kind) {
    return guardEntry<int64_t>(Operation::kSessionQueryInfo, 0, [&] {
        findSession(session);
        return driverInformation(kind);
    });
}

extern "C" int64_t dravikSession_queryDeviceNum(dravik_session* session, int32_t device_kind) {
    return guardEntry<int64_t>(Operation::kSessionQueryDeviceNum, 0, [&] {
        findSession(session);
        return deviceCount(device_kind);
    });
}

extern "C" int32_t dravikSession_queryDeviceMetaData(dravik_session* session, int32_t device_kind,
                                                     void* buffer) {
    return guardAction(Operation::kSessionQueryDeviceMetaData, [&] {
        findSession(session);
        writeDeviceMetadata(device_kind, buffer);
    });
}
