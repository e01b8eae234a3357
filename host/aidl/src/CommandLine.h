#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace aidl_ndk_generator {

struct Options {
    bool dump_api = false;
    std::string output_directory;
    std::vector<std::string> import_roots;
    std::vector<std::string> inputs;
    // Unfrozen interfaces answer version 1 and hash "notfrozen", as on the platform.
    int32_t version = 1;
    std::string hash = "notfrozen";
};

// Reads the arguments after the program name. Throws UsageError for an unknown option, a missing
// value, a version that is not a positive integer, a hash that could not be a C++ string literal
// as is, or no input file.
Options parseCommandLine(const std::vector<std::string>& arguments);

// The help text printed with usage errors.
const char* usageText();

}  // namespace aidl_ndk_generator
