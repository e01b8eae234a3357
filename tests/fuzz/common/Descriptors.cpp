#include "Descriptors.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/memfd.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace tessaro_fuzz {

FileIdentity identityOf(int fd) {
    struct stat status {};
    if (fstat(fd, &status) != 0) return {0, 0};
    return {status.st_dev, status.st_ino};
}

std::map<int, FileIdentity> openDescriptors() {
    std::map<int, FileIdentity> open;
    DIR* directory = opendir("/proc/self/fd");
    if (directory == nullptr) return open;
    const int own = dirfd(directory);
    while (const dirent* entry = readdir(directory)) {
        char* end = nullptr;
        const long fd = std::strtol(entry->d_name, &end, 10);
        if (end == entry->d_name || *end != '\0' || fd == own) continue;
        open[static_cast<int>(fd)] = identityOf(static_cast<int>(fd));
    }
    closedir(directory);
    return open;
}

std::vector<int> descriptorsOpenedSince(const std::map<int, FileIdentity>& before) {
    std::vector<int> opened;
    for (const auto& [fd, identity] : openDescriptors()) {
        auto found = before.find(fd);
        // A number reused for another file counts as a new descriptor too.
        if (found == before.end() || found->second != identity) opened.push_back(fd);
    }
    return opened;
}

std::vector<int> descriptorsClosedSince(const std::map<int, FileIdentity>& before) {
    std::vector<int> closed;
    for (const auto& [fd, identity] : before) {
        if (identityOf(fd) != identity) closed.push_back(fd);
    }
    return closed;
}

std::string describeDescriptor(int fd) {
    char target[256] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    const ssize_t length = readlink(link.c_str(), target, sizeof(target) - 1);
    return std::to_string(fd) + " -> " + (length > 0 ? std::string(target, length) : "?");
}

namespace {

int memfdOfSize(off_t size, bool seal) {
    const int fd = memfd_create("fuzz", MFD_CLOEXEC | (seal ? MFD_ALLOW_SEALING : 0));
    if (fd < 0) return -1;
    if (ftruncate(fd, size) != 0) {
        close(fd);
        return -1;
    }
    if (seal) fcntl(fd, F_ADD_SEALS, F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW);
    return fd;
}

// One end of a pair; the other is closed.
int endOfPair(bool pipe_pair, int which) {
    int ends[2] = {-1, -1};
    const int result = pipe_pair ? pipe2(ends, O_CLOEXEC)
                                 : socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends);
    if (result != 0) return -1;
    close(ends[1 - which]);
    return ends[which];
}

}  // namespace

ndk::ScopedFileDescriptor makeDescriptor(DescriptorKind kind) {
    switch (kind) {
        case DescriptorKind::kMemfdEmpty:
            return ndk::ScopedFileDescriptor(memfdOfSize(0, false));
        case DescriptorKind::kMemfdSmall:
            return ndk::ScopedFileDescriptor(memfdOfSize(40, false));
        case DescriptorKind::kMemfdPage:
            return ndk::ScopedFileDescriptor(memfdOfSize(4096, false));
        case DescriptorKind::kMemfdLarge:
            return ndk::ScopedFileDescriptor(memfdOfSize(1 << 20, false));
        case DescriptorKind::kMemfdSealed:
            return ndk::ScopedFileDescriptor(memfdOfSize(4096, true));
        case DescriptorKind::kPipeRead:
            return ndk::ScopedFileDescriptor(endOfPair(true, 0));
        case DescriptorKind::kPipeWrite:
            return ndk::ScopedFileDescriptor(endOfPair(true, 1));
        case DescriptorKind::kEventfd:
            return ndk::ScopedFileDescriptor(eventfd(1, EFD_CLOEXEC));
        case DescriptorKind::kDevNullReadOnly:
            return ndk::ScopedFileDescriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
        case DescriptorKind::kSocket:
            return ndk::ScopedFileDescriptor(endOfPair(false, 0));
        case DescriptorKind::kCount:
            break;
    }
    return ndk::ScopedFileDescriptor();
}

int closedDescriptorNumber() {
    const int fd = eventfd(0, EFD_CLOEXEC);
    if (fd >= 0) close(fd);
    return fd;
}

}  // namespace tessaro_fuzz
