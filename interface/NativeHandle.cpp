// The duplicating and the ownership-taking conversions share one body each way; duplicates are
// made close-on-exec, and a failed duplicate travels on as -1 without an error.
#include "interface/NativeHandle.h"

#include <fcntl.h>

#include <algorithm>

namespace android {

namespace {

int duplicateOrKeep(int fd, bool doDup) {
    return doDup ? fcntl(fd, F_DUPFD_CLOEXEC, 0) : fd;
}

native_handle_t* fromAidl(const NativeHandle& handle, bool doDup) {
    native_handle_t* result = native_handle_create(static_cast<int>(handle.fds.size()),
                                                   static_cast<int>(handle.ints.size()));
    if (result == nullptr) return nullptr;
    for (size_t index = 0; index < handle.fds.size(); ++index) {
        result->data[index] = duplicateOrKeep(handle.fds[index].get(), doDup);
    }
    std::copy(handle.ints.begin(), handle.ints.end(), result->data + handle.fds.size());
    return result;
}

NativeHandle toAidl(const native_handle_t* handle, bool doDup) {
    NativeHandle record;
    record.fds.resize(handle->numFds);
    for (int index = 0; index < handle->numFds; ++index) {
        record.fds[index].set(duplicateOrKeep(handle->data[index], doDup));
    }
    const int* ints = handle->data + handle->numFds;
    record.ints.assign(ints, ints + handle->numInts);
    return record;
}

}  // namespace

bool isAidlNativeHandleEmpty(const NativeHandle& handle) {
    return handle.fds.empty() && handle.ints.empty();
}

native_handle_t* makeFromAidl(const NativeHandle& handle) {
    return fromAidl(handle, /*doDup=*/false);
}

native_handle_t* dupFromAidl(const NativeHandle& handle) {
    return fromAidl(handle, /*doDup=*/true);
}

NativeHandle makeToAidl(const native_handle_t* handle) {
    return toAidl(handle, /*doDup=*/false);
}

NativeHandle dupToAidl(const native_handle_t* handle) {
    return toAidl(handle, /*doDup=*/true);
}

}  // namespace android
