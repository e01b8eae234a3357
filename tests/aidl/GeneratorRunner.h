#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace aidl_generator_test {

// A private folder under the system's temporary directory, removed with everything in it.
class ScratchDirectory {
  public:
    ScratchDirectory() {
        std::string pattern =
                (std::filesystem::temp_directory_path() / "aidl-generator-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
        path_ = pattern;
    }
    ~ScratchDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const std::string& path() const { return path_; }

    // Writes a file below the folder, creating its parent folders; returns its full path.
    std::string writeFile(const std::string& relative_path, const std::string& text) const {
        std::filesystem::path path = std::filesystem::path(path_) / relative_path;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        file << text;
        if (!file) throw std::runtime_error("cannot write " + path.string());
        return path.string();
    }

    // The content of a file below the folder; empty when it does not exist.
    std::string readFile(const std::string& relative_path) const {
        std::ifstream file(std::filesystem::path(path_) / relative_path, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    bool exists(const std::string& relative_path) const {
        return std::filesystem::exists(std::filesystem::path(path_) / relative_path);
    }

  private:
    std::string path_;
};

struct GeneratorResult {
    int exit_code = -1;
    std::string error_output;
};

// Runs aidl_ndk_generator with the arguments, each single-quoted for the shell, which only wires
// the generator's error output to the pipe.
inline GeneratorResult runGenerator(const std::vector<std::string>& arguments) {
    std::string command = AIDL_NDK_GENERATOR_PATH;
    for (const std::string& argument : arguments) {
        command += " '";
        for (char character : argument)
            command += character == '\'' ? "'\\''" : std::string(1, character);
        command += "'";
    }
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen((command + " 2>&1 >/dev/null").c_str(), "r"),
                                               ::pclose);
    if (pipe == nullptr) throw std::runtime_error("cannot start " + command);
    GeneratorResult result;
    char buffer[512];
    while (size_t count = std::fread(buffer, 1, sizeof(buffer), pipe.get())) {
        result.error_output.append(buffer, count);
    }
    int status = ::pclose(pipe.release());
    // A crash is reported as an exit code no refusal uses, so tests see it as a failure.
    result.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

}  // namespace aidl_generator_test
