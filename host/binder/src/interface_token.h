// The interface token that opens every request: the descriptor of the class it is meant for, so
// that the receiver can refuse a request meant for another interface.
#pragma once

#include <android/binder_parcel.h>

struct AIBinder_Class;

namespace host_binder {

binder_status_t writeInterfaceToken(AParcel* request, const AIBinder_Class& binder_class);

// Reads the token at the position. STATUS_BAD_TYPE when it is missing or names another class.
binder_status_t checkInterfaceToken(const AParcel& request, const AIBinder_Class& binder_class);

}  // namespace host_binder
