#pragma once

#include "Model.h"

#include <string>

namespace aidl_ndk_generator {

// Parses the text of one .aidl file into a Document. Only the syntax is checked here; names and
// types are checked by validation. Throws SourceError for anything outside the supported subset.
Document parseDocument(const std::string& path, const std::string& text);

// Reads and parses one .aidl file. Throws SourceError when it cannot be read.
Document parseFile(const std::string& path);

}  // namespace aidl_ndk_generator
