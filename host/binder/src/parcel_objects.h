// Descriptors and binders held by parcels.
#pragma once

#include <android/binder_status.h>

#include "parcel.h"

namespace host_binder {

// A close-on-exec duplicate of fd in *duplicate. STATUS_BAD_VALUE when fd is not open,
// STATUS_NO_MEMORY when the process has no descriptor left.
binder_status_t duplicateDescriptor(int fd, int* duplicate);

// An independent copy of object: a duplicate descriptor, or another strong reference.
binder_status_t copyParcelObject(const ParcelObject& object, ParcelObject* copy);

}  // namespace host_binder
