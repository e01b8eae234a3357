#pragma once

#include <string>
#include <vector>

namespace aidl_generator_test {

// A private folder under the system's temporary directory, removed with everything in it.
class ScratchDirectory {
  public:
    ScratchDirectory();
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const std::string& path() const { return path_; }

    // Writes a file below the folder, creating its parent folders; returns its full path.
    std::string writeFile(const std::string& relative_path, const std::string& text) const;

    // The content of a file below the folder; empty when it does not exist.
    std::string readFile(const std::string& relative_path) const;

    // Every regular file below the given subfolder, as sorted paths relative to that subfolder.
    std::vector<std::string> listFiles(const std::string& relative_path) const;

  private:
    std::string path_;
};

struct GeneratorResult {
    int exit_code = -1;
    std::string error_output;
};

// Runs aidl_ndk_generator with the arguments and waits for it.
GeneratorResult runGenerator(const std::vector<std::string>& arguments);

}  // namespace aidl_generator_test
