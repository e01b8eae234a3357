#pragma once

#include "GeneratedFile.h"
#include "Model.h"

namespace aidl_ndk_generator {

// The canonical text of a validated declaration, at <package path>/<Name>.aidl: a fixed header
// comment, the package, the annotations and the members with fully qualified type names, no
// imports and no comments. Two sources with the same API give the same text.
GeneratedFile emitApiDump(const Document& document);

}  // namespace aidl_ndk_generator
