// The devices the model offers: which types exist, how many of each, their metadata blocks and the
// driver-wide information answers.
#pragma once

#include <cstdint>

namespace dravik::reference {

bool isDeviceType(int32_t device_type);
// Throws DriverError(EINVAL) for an unknown type.
int64_t deviceCount(int32_t device_type);
// Writes the type's dravik_reference_device_metadata; throws DriverError(EINVAL) for an unknown
// type or a null buffer.
void writeDeviceMetadata(int32_t device_type, void* buffer);
// dravikSession_queryInfo; throws DriverError(EINVAL) for an unknown kind.
int64_t driverInformation(int32_t kind);

}  // namespace dravik::reference
