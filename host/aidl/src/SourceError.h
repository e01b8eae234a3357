#pragma once

#include <stdexcept>
#include <string>

namespace aidl_ndk_generator {

// A refusal of the input, located at a line of an .aidl file. Its what() is the complete
// "<file>:<line>: <message>" text printed on stderr.
class SourceError : public std::runtime_error {
  public:
    // A line of 0 means the problem concerns the file as a whole (it cannot be read, say).
    SourceError(const std::string& file, int line, const std::string& message)
        : std::runtime_error(file + (line > 0 ? ":" + std::to_string(line) : std::string()) + ": " +
                             message) {}
};

// A refusal of the command line itself, printed with the usage text.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace aidl_ndk_generator
