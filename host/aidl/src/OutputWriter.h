#pragma once

#include "GeneratedFile.h"

#include <string>
#include <vector>

namespace aidl_ndk_generator {

// Writes every file under the output folder, creating folders as needed. Each file goes to a
// temporary name first and is renamed into place; when any write fails, the files placed so far
// are removed and SourceError is thrown, so a failed run leaves no partial output behind.
void writeGeneratedFiles(const std::string& output_directory,
                         const std::vector<GeneratedFile>& files);

}  // namespace aidl_ndk_generator
