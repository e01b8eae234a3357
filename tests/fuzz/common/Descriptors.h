// Descriptors as a fuzzer sees them: the set open in the process (to prove an input left none
// behind), the file each one names, and fresh descriptors of several kinds to attach to calls.
#pragma once

#include <android/binder_auto_utils.h>
#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace tessaro_fuzz {

// The file a descriptor names: device and inode, as fstat gives them.
using FileIdentity = std::pair<dev_t, ino_t>;

// The identity of fd; (0, 0) when it is not open.
FileIdentity identityOf(int fd);

// Every descriptor open in the process, with the file it names.
std::map<int, FileIdentity> openDescriptors();

// Descriptors open now that were not open in before, as text for a finding report ("7 -> /x").
std::vector<int> descriptorsOpenedSince(const std::map<int, FileIdentity>& before);
// Descriptors of before that are closed now, or name another file: someone closed them.
std::vector<int> descriptorsClosedSince(const std::map<int, FileIdentity>& before);
std::string describeDescriptor(int fd);

// What a caller may attach where a parcel expects a descriptor.
enum class DescriptorKind : uint8_t {
    kMemfdEmpty,       // a memfd of 0 bytes
    kMemfdSmall,       // a memfd of a few bytes (fewer than a page)
    kMemfdPage,        // a memfd of one page
    kMemfdLarge,       // a memfd of 1 MiB (sparse)
    kMemfdSealed,      // a page memfd sealed against writes
    kPipeRead,         // the read end of a pipe
    kPipeWrite,        // the write end of a pipe
    kEventfd,          // an eventfd, already signalled
    kDevNullReadOnly,  // /dev/null opened read-only
    kSocket,           // one end of a Unix socket pair
    kCount,
};

// A new descriptor of kind, owned by the caller; the holder is empty when it could not be made.
ndk::ScopedFileDescriptor makeDescriptor(DescriptorKind kind);

// A descriptor number that is not open: one made and closed again.
int closedDescriptorNumber();

}  // namespace tessaro_fuzz
