// The AParcel C functions for single numbers, booleans and characters.
#include <android/binder_parcel.h>

#include "parcel.h"

namespace {

template <typename T>
binder_status_t writeValue(AParcel* parcel, T value) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    return parcel->writeValue(value);
}

template <typename T>
binder_status_t readValue(const AParcel* parcel, T* value) {
    if (parcel == nullptr || value == nullptr) return STATUS_UNEXPECTED_NULL;
    return parcel->readValue(value);
}

// Bool, Char and Byte travel as an int32 each, as on the platform.
template <typename Narrow>
binder_status_t readWidened(const AParcel* parcel, Narrow* value) {
    if (value == nullptr) return STATUS_UNEXPECTED_NULL;
    int32_t wide = 0;
    binder_status_t status = readValue(parcel, &wide);
    if (status == STATUS_OK) *value = static_cast<Narrow>(wide);
    return status;
}

}  // namespace

binder_status_t AParcel_writeInt32(AParcel* parcel, int32_t value) {
    return writeValue(parcel, value);
}
binder_status_t AParcel_writeUint32(AParcel* parcel, uint32_t value) {
    return writeValue(parcel, value);
}
binder_status_t AParcel_writeInt64(AParcel* parcel, int64_t value) {
    return writeValue(parcel, value);
}
binder_status_t AParcel_writeUint64(AParcel* parcel, uint64_t value) {
    return writeValue(parcel, value);
}
binder_status_t AParcel_writeFloat(AParcel* parcel, float value) {
    return writeValue(parcel, value);
}
binder_status_t AParcel_writeDouble(AParcel* parcel, double value) {
    return writeValue(parcel, value);
}
binder_status_t AParcel_writeBool(AParcel* parcel, bool value) {
    return writeValue(parcel, static_cast<int32_t>(value ? 1 : 0));
}
binder_status_t AParcel_writeChar(AParcel* parcel, char16_t value) {
    return writeValue(parcel, static_cast<int32_t>(value));
}
binder_status_t AParcel_writeByte(AParcel* parcel, int8_t value) {
    return writeValue(parcel, static_cast<int32_t>(value));
}

binder_status_t AParcel_readInt32(const AParcel* parcel, int32_t* value) {
    return readValue(parcel, value);
}
binder_status_t AParcel_readUint32(const AParcel* parcel, uint32_t* value) {
    return readValue(parcel, value);
}
binder_status_t AParcel_readInt64(const AParcel* parcel, int64_t* value) {
    return readValue(parcel, value);
}
binder_status_t AParcel_readUint64(const AParcel* parcel, uint64_t* value) {
    return readValue(parcel, value);
}
binder_status_t AParcel_readFloat(const AParcel* parcel, float* value) {
    return readValue(parcel, value);
}
binder_status_t AParcel_readDouble(const AParcel* parcel, double* value) {
    return readValue(parcel, value);
}
binder_status_t AParcel_readBool(const AParcel* parcel, bool* value) {
    if (value == nullptr) return STATUS_UNEXPECTED_NULL;
    int32_t wide = 0;
    binder_status_t status = readValue(parcel, &wide);
    if (status == STATUS_OK) *value = wide != 0;
    return status;
}
binder_status_t AParcel_readChar(const AParcel* parcel, char16_t* value) {
    return readWidened(parcel, value);
}
binder_status_t AParcel_readByte(const AParcel* parcel, int8_t* value) {
    return readWidened(parcel, value);
}
