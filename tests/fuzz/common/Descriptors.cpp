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
#include <iterator>
#include <memory>
#include <string>

#include "Finding.h"

namespace tessaro_fuzz {

namespace {

int memfdOfSize(off_t size, bool seal = false) {
    ndk::ScopedFileDescriptor fd(
            memfd_create("fuzz", MFD_CLOEXEC | (seal ? MFD_ALLOW_SEALING : 0)));
    if (fd.get() < 0 || ftruncate(fd.get(), size) != 0) return -1;
    if (seal) fcntl(fd.get(), F_ADD_SEALS, F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW);
    return fd.release();
}

// One end of a pipe or socket pair; the other is closed.
int endOfPair(bool pipe_pair, int which) {
    int ends[2] = {-1, -1};
    const int result = pipe_pair ? pipe2(ends, O_CLOEXEC)
                                 : socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends);
    if (result != 0) return -1;
    close(ends[1 - which]);
    return ends[which];
}

// Indexed by DescriptorKind.
int (*const kMakers[])() = {
        [] { return memfdOfSize(0); },
        [] { return memfdOfSize(40); },
        [] { return memfdOfSize(4096); },
        [] { return memfdOfSize(1 << 20); },
        [] { return memfdOfSize(4096, true); },
        [] { return endOfPair(true, 0); },
        [] { return endOfPair(true, 1); },
        [] { return eventfd(1, EFD_CLOEXEC); },
        [] { return open("/dev/null", O_RDONLY | O_CLOEXEC); },
        [] { return endOfPair(false, 0); },
};
static_assert(std::size(kMakers) == kDescriptorKinds, "one maker per kind");

}  // namespace

ndk::ScopedFileDescriptor makeDescriptor(uint8_t kind) {
    return ndk::ScopedFileDescriptor(kMakers[kind % kDescriptorKinds]());
}

int closedDescriptorNumber() {
    const int fd = eventfd(0, EFD_CLOEXEC);
    if (fd >= 0) close(fd);
    return fd;
}

std::string describeDescriptor(int fd) {
    char target[256] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    const ssize_t length = readlink(link.c_str(), target, sizeof(target) - 1);
    return std::to_string(fd) + " -> " + (length > 0 ? target : "(closed)") + "\n";
}

FileIdentity identityOf(int fd) {
    struct stat status {};
    if (fstat(fd, &status) != 0) return {0, 0};
    return {status.st_dev, status.st_ino};
}

std::map<int, FileIdentity> openDescriptors() {
    std::map<int, FileIdentity> open;
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir("/proc/self/fd"), closedir);
    if (directory == nullptr) finding("/proc/self/fd cannot be listed");
    while (const dirent* entry = readdir(directory.get())) {
        char* end = nullptr;
        const long fd = std::strtol(entry->d_name, &end, 10);
        if (end == entry->d_name || *end != '\0' || fd == dirfd(directory.get())) continue;
        open[static_cast<int>(fd)] = identityOf(static_cast<int>(fd));
    }
    return open;
}

void checkDescriptors(const std::map<int, FileIdentity>& before,
                      std::multiset<FileIdentity> allowed) {
    std::string closed;
    for (const auto& [fd, identity] : before) {
        if (identityOf(fd) != identity) closed += describeDescriptor(fd);
    }
    if (!closed.empty()) finding("descriptors of the process were closed", closed);
    std::string left;
    for (const auto& [fd, identity] : openDescriptors()) {
        if (before.count(fd) != 0) continue;  // the same file, as checked above
        const auto expected = allowed.find(identity);
        if (expected == allowed.end()) {
            left += describeDescriptor(fd);
            continue;
        }
        allowed.erase(expected);
        close(fd);
    }
    if (!left.empty()) finding("descriptors left open", left);
}

}  // namespace tessaro_fuzz
