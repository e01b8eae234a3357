#pragma once

#include <string>

namespace aidl_ndk_generator {

// Reads a whole file; false when it cannot be opened or read.
bool readFileText(const std::string& path, std::string& text);

// Whether a regular file exists at the path.
bool isRegularFile(const std::string& path);

}  // namespace aidl_ndk_generator
