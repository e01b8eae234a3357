#pragma once

#include "GeneratedFile.h"
#include "Model.h"

namespace aidl_ndk_generator {

// The header aidl/<package path>/<Name>.h of a validated parcelable record.
GeneratedFile emitRecordHeader(const Document& document);

// The source src/<package path>/<Name>.cpp of a validated parcelable record: its descriptor and
// its stable-parcelable marshalling.
GeneratedFile emitRecordSource(const Document& document);

}  // namespace aidl_ndk_generator
