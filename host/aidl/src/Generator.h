#pragma once

#include "CommandLine.h"
#include "GeneratedFile.h"

#include <vector>

namespace aidl_ndk_generator {

// Parses and validates every input, then emits either the NDK C++ files or the API dumps. Nothing
// is emitted unless every input is valid. Throws SourceError at the first problem.
std::vector<GeneratedFile> generate(const Options& options);

}  // namespace aidl_ndk_generator
