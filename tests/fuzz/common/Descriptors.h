// Descriptors as a fuzzer sees them: fresh ones of several kinds to attach to calls, and the set
// open in the process, to prove that an input closed none of the process's and left none open.
#pragma once

#include <android/binder_auto_utils.h>
#include <sys/types.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace tessaro_fuzz {

// What a caller may attach where a parcel expects a descriptor; inputs name one by any byte.
enum DescriptorKind : uint8_t {
    kMemfdEmpty,
    kMemfdSmall,  // 40 bytes, less than a page
    kMemfdPage,
    kMemfdLarge,   // 1 MiB, sparse
    kMemfdSealed,  // a page, sealed against writes
    kPipeRead,
    kPipeWrite,
    kEventfd,  // already signalled
    kDevNullReadOnly,
    kSocket,  // one end of a Unix socket pair
    kDescriptorKinds,
};

// A new descriptor of kind (modulo kDescriptorKinds); empty when it could not be made.
ndk::ScopedFileDescriptor makeDescriptor(uint8_t kind);

// A descriptor number that is not open: one made and closed again.
int closedDescriptorNumber();

// The file a descriptor names (device and inode); (0, 0) when it is not open.
using FileIdentity = std::pair<dev_t, ino_t>;
FileIdentity identityOf(int fd);

// "7 -> /the/file", for a finding's report.
std::string describeDescriptor(int fd);

// Every descriptor open in the process, with the file it names.
std::map<int, FileIdentity> openDescriptors();

// A finding when a descriptor of before is closed or names another file now, or when one opened
// since is still open. Those naming a file of allowed, one each, are the service's to leave open:
// they are closed here instead.
void checkDescriptors(const std::map<int, FileIdentity>& before,
                      std::multiset<FileIdentity> allowed = {});

}  // namespace tessaro_fuzz
