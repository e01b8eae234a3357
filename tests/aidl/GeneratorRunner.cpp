#include "GeneratorRunner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace aidl_generator_test {
namespace {

namespace filesystem = std::filesystem;

// posix_spawn's file actions, released however the spawn ends.
class SpawnFileActions {
  public:
    SpawnFileActions() { posix_spawn_file_actions_init(&actions_); }
    ~SpawnFileActions() { posix_spawn_file_actions_destroy(&actions_); }
    SpawnFileActions(const SpawnFileActions&) = delete;
    SpawnFileActions& operator=(const SpawnFileActions&) = delete;
    posix_spawn_file_actions_t* get() { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_;
};

}  // namespace

ScratchDirectory::ScratchDirectory() {
    std::string pattern =
            (filesystem::temp_directory_path() / "aidl-generator-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

ScratchDirectory::~ScratchDirectory() {
    std::error_code ignored;
    filesystem::remove_all(path_, ignored);
}

std::string ScratchDirectory::writeFile(const std::string& relative_path,
                                        const std::string& text) const {
    filesystem::path path = filesystem::path(path_) / relative_path;
    filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    if (!file) throw std::runtime_error("cannot write " + path.string());
    return path.string();
}

std::string ScratchDirectory::readFile(const std::string& relative_path) const {
    std::ifstream file(filesystem::path(path_) / relative_path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> ScratchDirectory::listFiles(const std::string& relative_path) const {
    std::vector<std::string> files;
    filesystem::path root = filesystem::path(path_) / relative_path;
    std::error_code error;
    if (!filesystem::exists(root, error)) return files;
    for (const auto& entry : filesystem::recursive_directory_iterator(root)) {
        if (entry.is_regular_file()) {
            files.push_back(filesystem::relative(entry.path(), root).string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

GeneratorResult runGenerator(const std::vector<std::string>& arguments) {
    ScratchDirectory capture;
    std::string error_path = capture.path() + "/stderr";
    SpawnFileActions actions;
    posix_spawn_file_actions_addopen(actions.get(), STDERR_FILENO, error_path.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<std::string> command = {AIDL_NDK_GENERATOR_PATH};
    command.insert(command.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& argument : command) argv.push_back(argument.data());
    argv.push_back(nullptr);

    GeneratorResult result;
    pid_t child = -1;
    if (posix_spawn(&child, argv[0], actions.get(), nullptr, argv.data(), environ) != 0) {
        throw std::runtime_error("cannot start " + command[0]);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) throw std::runtime_error("waitpid failed");
    }
    // A crash is reported as an exit code no refusal uses, so tests see it as a failure.
    result.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.error_output = capture.readFile("stderr");
    return result;
}

}  // namespace aidl_generator_test
