#include "interface_token.h"

#include <android/binder_parcel_utils.h>

#include <cstring>
#include <string>

#include "binder_class.h"
#include "log.h"
#include "parcel.h"

namespace host_binder {

binder_status_t writeInterfaceToken(AParcel* request, const AIBinder_Class& binder_class) {
    return ndk::AParcel_writeString(request, binder_class.descriptor);
}

binder_status_t checkInterfaceToken(const AParcel& request, const AIBinder_Class& binder_class) {
    // Every transaction is checked: the expected token is compared where it lies in the parcel,
    // and only a mismatch is read out (to be named in the log).
    const std::string& expected = binder_class.descriptor;
    const int32_t start = request.dataPosition();
    int32_t length = 0;
    if (request.readLength(1, &length) == STATUS_OK &&
        static_cast<size_t>(length) == expected.size()) {
        const uint8_t* text = request.peek(expected.size() + 1);
        if (text != nullptr && text[expected.size()] == '\0' &&
            std::memcmp(text, expected.data(), expected.size()) == 0) {
            request.setDataPosition(start + static_cast<int32_t>(sizeof(int32_t) +
                                                                 alignedSize(expected.size() + 1)));
            return STATUS_OK;
        }
    }
    request.setDataPosition(start);
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
