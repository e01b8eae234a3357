#include "service_directory.h"

#include <errno.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "log.h"

namespace host_binder {

namespace {

std::string chooseDirectory() {
    if (const char* chosen = std::getenv("TESSARO_BINDER_DIR"); chosen != nullptr && *chosen) {
        return chosen;
    }
    if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime != nullptr && *runtime) {
        return std::string(runtime) + "/tessaro-binder";
    }
    return "/tmp/tessaro-binder-" + std::to_string(::getuid());
}

bool isPrivate(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        logError("service directory '%s': %s", path.c_str(), std::strerror(errno));
        return false;
    }
    if (!S_ISDIR(status.st_mode) || status.st_uid != ::getuid() ||
        (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        logError("service directory '%s' is not a directory private to this user", path.c_str());
        return false;
    }
    return true;
}

// FNV-1a: stable across processes, enough to name the rare over-long instance names.
uint64_t nameHash(const std::string& name) {
    uint64_t hash = 14695981039346656037ull;
    for (unsigned char character : name) hash = (hash ^ character) * 1099511628211ull;
    return hash;
}

}  // namespace

std::string serviceDirectory() {
    const std::string path = chooseDirectory();
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
        logError("cannot create service directory '%s': %s", path.c_str(), std::strerror(errno));
        return {};
    }
    return isPrivate(path) ? path : std::string();
}

std::string servicePath(const std::string& instance) {
    const std::string directory = serviceDirectory();
    if (directory.empty()) return {};
    std::string escaped = "s.";
    for (unsigned char character : instance) {
        if (std::isalnum(character) || character == '_' || character == '-' || character == '.') {
            escaped += static_cast<char>(character);
        } else {
            char code[4];
            std::snprintf(code, sizeof(code), "%%%02X", character);
            escaped += code;
        }
    }
    std::string path = directory + "/" + escaped;
    if (path.size() < sizeof(sockaddr_un{}.sun_path)) return path;
    char hashed[32];
    std::snprintf(hashed, sizeof(hashed), "h.%016llx",
                  static_cast<unsigned long long>(nameHash(instance)));
    return directory + "/" + hashed;
}

std::string endpointPath(const std::string& endpoint) {
    const std::string directory = serviceDirectory();
    return directory.empty() ? std::string() : directory + "/" + endpoint;
}

bool isEndpointName(const std::string& name) {
    const size_t dash = name.find('-');
    if (name.size() < 3 || name[0] != 'p' || dash == std::string::npos || dash < 2 ||
        name.size() - dash - 1 != 16) {
        return false;
    }
    for (size_t index = 1; index < name.size(); ++index) {
        if (index == dash) continue;
        const bool hex = index > dash;
        if (!std::isdigit(static_cast<unsigned char>(name[index])) &&
            !(hex && name[index] >= 'a' && name[index] <= 'f')) {
            return false;
        }
    }
    return true;
}

}  // namespace host_binder
