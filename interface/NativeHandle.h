#pragma once

// Conversions between the interface record NativeHandle (descriptors owned by
// ndk::ScopedFileDescriptor, plus ints) and the platform's in-process native_handle_t.

#include <aidl/android/hardware/common/NativeHandle.h>
#include <cutils/native_handle.h>

namespace android {

using ::aidl::android::hardware::common::NativeHandle;

// Whether handle holds neither descriptors nor ints.
bool isAidlNativeHandleEmpty(const NativeHandle& handle);

// A new native handle with handle's descriptor numbers (not duplicated) and ints, or null when it
// cannot be created. handle keeps ownership of the descriptors: free the result with
// native_handle_delete only, never native_handle_close.
native_handle_t* makeFromAidl(const NativeHandle& handle);

// A new native handle with close-on-exec duplicates of handle's descriptors and its ints, or null
// when it cannot be created. The caller owns the handle and its descriptors; a duplicate that
// failed is stored as -1.
native_handle_t* dupFromAidl(const NativeHandle& handle);

// A record that takes over handle's descriptor numbers without duplicating them: the record now
// owns them, and handle must be freed with native_handle_delete only. handle must not be null.
NativeHandle makeToAidl(const native_handle_t* handle);

// A record with close-on-exec duplicates of handle's descriptors and its ints; handle keeps its
// own. handle must not be null.
NativeHandle dupToAidl(const native_handle_t* handle);

}  // namespace android
