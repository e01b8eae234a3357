#include "interface_token.h"

#include <android/binder_parcel_utils.h>

#include <string>

#include "binder_class.h"
#include "log.h"

namespace host_binder {

binder_status_t writeInterfaceToken(AParcel* request, const AIBinder_Class& binder_class) {
    return ndk::AParcel_writeString(request, binder_class.descriptor);
}

binder_status_t checkInterfaceToken(const AParcel& request, const AIBinder_Class& binder_class) {
    std::string token;
    const binder_status_t status = ndk::AParcel_readString(&request, &token);
    if (status != STATUS_OK) {
        logError("transaction to '%s' without an interface token (status %d)",
                 binder_class.descriptor.c_str(), status);
        return STATUS_BAD_TYPE;
    }
    if (token != binder_class.descriptor) {
        logError("transaction for '%s' sent to a '%s'", token.c_str(),
                 binder_class.descriptor.c_str());
        return STATUS_BAD_TYPE;
    }
    return STATUS_OK;
}

}  // namespace host_binder
