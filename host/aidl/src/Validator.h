#pragma once

#include "DeclarationIndex.h"
#include "Model.h"

namespace aidl_ndk_generator {

// Checks a parsed document against the supported subset and resolves its types through the
// index: every type reference gets its kind and, for user types, its qualified name; every
// field default gets its value. Throws SourceError at the first problem.
void validateDocument(Document& document, DeclarationIndex& index);

}  // namespace aidl_ndk_generator
