// The AParcel C functions that create, size, position, copy and free parcels.
#include <android/binder_parcel.h>

#include "log.h"
#include "parcel.h"

using host_binder::logError;

AParcel* AParcel_create() {
    return new AParcel;
}

void AParcel_delete(AParcel* parcel) {
    delete parcel;
}

int32_t AParcel_getDataSize(const AParcel* parcel) {
    if (parcel == nullptr) {
        logError("AParcel_getDataSize: null parcel");
        return -1;
    }
    return parcel->dataSize();
}

int32_t AParcel_getDataPosition(const AParcel* parcel) {
    if (parcel == nullptr) {
        logError("AParcel_getDataPosition: null parcel");
        return -1;
    }
    return parcel->dataPosition();
}

binder_status_t AParcel_setDataPosition(const AParcel* parcel, int32_t position) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    if (position < 0) {
        logError("AParcel_setDataPosition: negative position %d", position);
        return STATUS_BAD_VALUE;
    }
    parcel->setDataPosition(position);
    return STATUS_OK;
}

binder_status_t AParcel_reset(AParcel* parcel) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    parcel->reset();
    return STATUS_OK;
}

binder_status_t AParcel_appendFrom(const AParcel* from, AParcel* to, int32_t start, int32_t size) {
    if (from == nullptr || to == nullptr) return STATUS_UNEXPECTED_NULL;
    return to->appendFrom(*from, start, size);
}

binder_status_t AParcel_marshal(const AParcel* parcel, uint8_t* buffer, size_t start, size_t len) {
    if (parcel == nullptr || (buffer == nullptr && len > 0)) return STATUS_UNEXPECTED_NULL;
    return parcel->marshal(buffer, start, len);
}

binder_status_t AParcel_unmarshal(AParcel* parcel, const uint8_t* buffer, size_t len) {
    if (parcel == nullptr || (buffer == nullptr && len > 0)) return STATUS_UNEXPECTED_NULL;
    return parcel->unmarshal(buffer, len);
}
