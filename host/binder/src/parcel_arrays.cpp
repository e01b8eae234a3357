// The AParcel C functions for arrays. An array is its element count (-1 for null), then its
// elements: packed and padded for numbers, characters and bytes; one int32 each for booleans;
// through the caller's callbacks for everything else.
#include <android/binder_parcel.h>

#include <cstdint>

#include "log.h"
#include "parcel.h"

using host_binder::logError;

namespace {

// Checks a length about to be written; writes the count of a null array itself.
binder_status_t checkWrittenLength(const char* function, int32_t length, bool has_elements) {
    if (length < -1) {
        logError("%s: length %d", function, length);
        return STATUS_BAD_VALUE;
    }
    if (length > 0 && !has_elements) {
        logError("%s: null elements for length %d", function, length);
        return STATUS_UNEXPECTED_NULL;
    }
    return STATUS_OK;
}

// The status of an allocator's refusal. A refused null array stays consumed; for a refused real
// one the position goes back to start, as none of its elements were read.
binder_status_t refusedAllocation(const AParcel& parcel, int32_t start, int32_t length) {
    if (length == -1) return STATUS_UNEXPECTED_NULL;
    parcel.setDataPosition(start);
    return STATUS_NO_MEMORY;
}

// A failed element leaves the position where the array started.
binder_status_t restoredOnFailure(const AParcel& parcel, int32_t start, binder_status_t status) {
    if (status != STATUS_OK) parcel.setDataPosition(start);
    return status;
}

template <typename Element>
binder_status_t writePackedArray(AParcel* parcel, const Element* elements, int32_t length,
                                 const char* function) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    binder_status_t status = checkWrittenLength(function, length, elements != nullptr);
    if (status != STATUS_OK) return status;
    status = parcel->writeValue(length);
    if (status != STATUS_OK || length <= 0) return status;
    return parcel->write(elements, sizeof(Element) * static_cast<size_t>(length));
}

template <typename Element, typename Allocator>
binder_status_t readPackedArray(const AParcel* parcel, void* arrayData, Allocator allocator) {
    if (parcel == nullptr || allocator == nullptr) return STATUS_UNEXPECTED_NULL;
    const int32_t start = parcel->dataPosition();
    int32_t length = 0;
    binder_status_t status = parcel->readLength(sizeof(Element), &length);
    if (status != STATUS_OK) return status;
    Element* elements = nullptr;
    if (!allocator(arrayData, length, &elements)) return refusedAllocation(*parcel, start, length);
    if (length <= 0) return STATUS_OK;
    if (elements == nullptr) return restoredOnFailure(*parcel, start, STATUS_UNEXPECTED_NULL);
    status = parcel->read(elements, sizeof(Element) * static_cast<size_t>(length));
    return restoredOnFailure(*parcel, start, status);
}

}  // namespace

binder_status_t AParcel_writeInt32Array(AParcel* parcel, const int32_t* arrayData, int32_t length) {
    return writePackedArray(parcel, arrayData, length, __func__);
}
binder_status_t AParcel_writeUint32Array(AParcel* parcel, const uint32_t* arrayData,
                                         int32_t length) {
    return writePackedArray(parcel, arrayData, length, __func__);
}
binder_status_t AParcel_writeInt64Array(AParcel* parcel, const int64_t* arrayData, int32_t length) {
    return writePackedArray(parcel, arrayData, length, __func__);
}
binder_status_t AParcel_writeUint64Array(AParcel* parcel, const uint64_t* arrayData,
                                         int32_t length) {
    return writePackedArray(parcel, arrayData, length, __func__);
}
binder_status_t AParcel_writeFloatArray(AParcel* parcel, const float* arrayData, int32_t length) {
    return writePackedArray(parcel, arrayData, length, __func__);
}
binder_status_t AParcel_writeDoubleArray(AParcel* parcel, const double* arrayData, int32_t length) {
    return writePackedArray(parcel, arrayData, length, __func__);
}
binder_status_t AParcel_writeCharArray(AParcel* parcel, const char16_t* arrayData, int32_t length) {
    return writePackedArray(parcel, arrayData, length, __func__);
}
binder_status_t AParcel_writeByteArray(AParcel* parcel, const int8_t* arrayData, int32_t length) {
    return writePackedArray(parcel, arrayData, length, __func__);
}

binder_status_t AParcel_readInt32Array(const AParcel* parcel, void* arrayData,
                                       AParcel_int32ArrayAllocator allocator) {
    return readPackedArray<int32_t>(parcel, arrayData, allocator);
}
binder_status_t AParcel_readUint32Array(const AParcel* parcel, void* arrayData,
                                        AParcel_uint32ArrayAllocator allocator) {
    return readPackedArray<uint32_t>(parcel, arrayData, allocator);
}
binder_status_t AParcel_readInt64Array(const AParcel* parcel, void* arrayData,
                                       AParcel_int64ArrayAllocator allocator) {
    return readPackedArray<int64_t>(parcel, arrayData, allocator);
}
binder_status_t AParcel_readUint64Array(const AParcel* parcel, void* arrayData,
                                        AParcel_uint64ArrayAllocator allocator) {
    return readPackedArray<uint64_t>(parcel, arrayData, allocator);
}
binder_status_t AParcel_readFloatArray(const AParcel* parcel, void* arrayData,
                                       AParcel_floatArrayAllocator allocator) {
    return readPackedArray<float>(parcel, arrayData, allocator);
}
binder_status_t AParcel_readDoubleArray(const AParcel* parcel, void* arrayData,
                                        AParcel_doubleArrayAllocator allocator) {
    return readPackedArray<double>(parcel, arrayData, allocator);
}
binder_status_t AParcel_readCharArray(const AParcel* parcel, void* arrayData,
                                      AParcel_charArrayAllocator allocator) {
    return readPackedArray<char16_t>(parcel, arrayData, allocator);
}
binder_status_t AParcel_readByteArray(const AParcel* parcel, void* arrayData,
                                      AParcel_byteArrayAllocator allocator) {
    return readPackedArray<int8_t>(parcel, arrayData, allocator);
}

binder_status_t AParcel_writeBoolArray(AParcel* parcel, const void* arrayData, int32_t length,
                                       AParcel_boolArrayGetter getter) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    binder_status_t status = checkWrittenLength(__func__, length, getter != nullptr);
    if (status != STATUS_OK) return status;
    status = parcel->writeValue(length);
    for (int32_t index = 0; status == STATUS_OK && index < length; ++index) {
        const int32_t value = getter(arrayData, static_cast<size_t>(index)) ? 1 : 0;
        status = parcel->writeValue(value);
    }
    return status;
}

binder_status_t AParcel_readBoolArray(const AParcel* parcel, void* arrayData,
                                      AParcel_boolArrayAllocator allocator,
                                      AParcel_boolArraySetter setter) {
    if (parcel == nullptr || allocator == nullptr || setter == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    const int32_t start = parcel->dataPosition();
    int32_t length = 0;
    binder_status_t status = parcel->readLength(sizeof(int32_t), &length);
    if (status != STATUS_OK) return status;
    if (!allocator(arrayData, length)) return refusedAllocation(*parcel, start, length);
    for (int32_t index = 0; status == STATUS_OK && index < length; ++index) {
        int32_t value = 0;
        status = parcel->readValue(&value);
        if (status == STATUS_OK) setter(arrayData, static_cast<size_t>(index), value != 0);
    }
    return restoredOnFailure(*parcel, start, status);
}

binder_status_t AParcel_writeParcelableArray(AParcel* parcel, const void* arrayData, int32_t length,
                                             AParcel_writeParcelableElement elementWriter) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    binder_status_t status = checkWrittenLength(__func__, length, elementWriter != nullptr);
    if (status != STATUS_OK) return status;
    status = parcel->writeValue(length);
    for (int32_t index = 0; status == STATUS_OK && index < length; ++index) {
        status = elementWriter(parcel, arrayData, static_cast<size_t>(index));
    }
    return status;
}

binder_status_t AParcel_readParcelableArray(const AParcel* parcel, void* arrayData,
                                            AParcel_parcelableArrayAllocator allocator,
                                            AParcel_readParcelableElement elementReader) {
    if (parcel == nullptr || allocator == nullptr || elementReader == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    const int32_t start = parcel->dataPosition();
    int32_t length = 0;
    // Every element takes at least 4 bytes: a marker, a length or a value.
    binder_status_t status = parcel->readLength(sizeof(int32_t), &length);
    if (status != STATUS_OK) return status;
    if (!allocator(arrayData, length)) return refusedAllocation(*parcel, start, length);
    for (int32_t index = 0; status == STATUS_OK && index < length; ++index) {
        status = elementReader(parcel, arrayData, static_cast<size_t>(index));
    }
    return restoredOnFailure(*parcel, start, status);
}
