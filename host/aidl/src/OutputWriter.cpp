#include "OutputWriter.h"

#include "SourceError.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace aidl_ndk_generator {
namespace {

namespace filesystem = std::filesystem;

// Returns an empty string on success, otherwise what went wrong.
std::string writeOneFile(const filesystem::path& path, const std::string& content) {
    std::error_code error;
    filesystem::create_directories(path.parent_path(), error);
    if (error) return "cannot create its folder: " + error.message();
    filesystem::path temporary = path;
    temporary += ".tmp" + std::to_string(::getpid());
    {
        std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
        file << content;
        file.close();
        if (!file) {
            std::string reason = std::strerror(errno);
            filesystem::remove(temporary, error);
            return "cannot write it: " + reason;
        }
    }
    filesystem::rename(temporary, path, error);
    if (error) {
        std::string reason = error.message();
        filesystem::remove(temporary, error);
        return "cannot move it into place: " + reason;
    }
    return "";
}

}  // namespace

void writeGeneratedFiles(const std::string& output_directory,
                         const std::vector<GeneratedFile>& files) {
    std::vector<filesystem::path> placed;
    for (const GeneratedFile& file : files) {
        filesystem::path path = filesystem::path(output_directory) / file.relative_path;
        std::string problem = writeOneFile(path, file.content);
        if (problem.empty()) {
            placed.push_back(path);
            continue;
        }
        std::error_code ignored;
        for (const filesystem::path& earlier : placed) filesystem::remove(earlier, ignored);
        throw SourceError(path.string(), 0, problem);
    }
}

}  // namespace aidl_ndk_generator
