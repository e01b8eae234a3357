#include "FileText.h"

#include <sys/stat.h>

#include <fstream>
#include <sstream>

namespace aidl_ndk_generator {

bool readFileText(const std::string& path, std::string& text) {
    if (!isRegularFile(path)) return false;
    std::ifstream file(path, std::ios::binary);
    if (!file) return false;
    std::ostringstream content;
    content << file.rdbuf();
    if (file.bad()) return false;
    text = content.str();
    return true;
}

bool isRegularFile(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace aidl_ndk_generator
