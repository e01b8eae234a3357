#pragma once

// Descriptor accounting for tests: what the process has open right now.

#include <dirent.h>
#include <fcntl.h>

#include <cstddef>

namespace service_test {

// The number of descriptors open in this process.
inline size_t openDescriptorCount() {
    DIR* directory = opendir("/proc/self/fd");
    if (directory == nullptr) return 0;
    size_t count = 0;
    while (const dirent* entry = readdir(directory)) {
        if (entry->d_name[0] != '.') ++count;
    }
    closedir(directory);
    return count - 1;  // the directory's own descriptor
}

inline bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

}  // namespace service_test
