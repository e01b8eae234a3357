// The AParcel C functions for UTF-8 strings and string arrays. A string is its length in bytes
// (-1 for null), then its bytes and a NUL, padded.
#include <android/binder_parcel.h>

#include <cstdint>

#include "log.h"
#include "parcel.h"
#include "utf8.h"

using host_binder::logError;

namespace {

binder_status_t writeStringData(AParcel& parcel, const char* text, int32_t length) {
    if (text == nullptr) {
        if (length != -1) {
            logError("AParcel_writeString: null string with length %d", length);
            return STATUS_UNEXPECTED_NULL;
        }
        return parcel.writeValue(int32_t{-1});
    }
    if (length < 0) {
        logError("AParcel_writeString: negative length %d", length);
        return STATUS_BAD_VALUE;
    }
    if (!host_binder::isValidUtf8(text, static_cast<size_t>(length))) {
        logError("AParcel_writeString: the text is not valid UTF-8");
        return STATUS_BAD_VALUE;
    }
    binder_status_t status = parcel.writeValue(length);
    if (status != STATUS_OK) return status;
    const auto size = static_cast<size_t>(length);
    // The zero padding supplies the NUL.
    return parcel.writePadded(text, size, host_binder::alignedSize(size + 1));
}

// Reads one string into storage from allocate(length with NUL or -1, &buffer).
template <typename Allocate>
binder_status_t readStringData(const AParcel& parcel, Allocate allocate) {
    const int32_t start = parcel.dataPosition();
    int32_t length = 0;
    binder_status_t status = parcel.readLength(1, &length);
    if (status != STATUS_OK) return status;
    if (length == -1) {
        char* unused = nullptr;
        return allocate(-1, &unused) ? STATUS_OK : STATUS_UNEXPECTED_NULL;
    }
    const auto size = static_cast<size_t>(length);
    const uint8_t* text = parcel.peek(size + 1);
    if (text == nullptr || text[size] != '\0' ||
        !host_binder::isValidUtf8(reinterpret_cast<const char*>(text), size)) {
        logError("AParcel_readString: malformed string of length %d at offset %d", length, start);
        parcel.setDataPosition(start);
        return STATUS_BAD_VALUE;
    }
    char* buffer = nullptr;
    if (!allocate(length + 1, &buffer) || buffer == nullptr) {
        parcel.setDataPosition(start);
        return STATUS_NO_MEMORY;
    }
    status = parcel.read(buffer, size + 1);
    if (status != STATUS_OK) parcel.setDataPosition(start);
    return status;
}

}  // namespace

binder_status_t AParcel_writeString(AParcel* parcel, const char* string, int32_t length) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    return writeStringData(*parcel, string, length);
}

binder_status_t AParcel_readString(const AParcel* parcel, void* stringData,
                                   AParcel_stringAllocator allocator) {
    if (parcel == nullptr || allocator == nullptr) return STATUS_UNEXPECTED_NULL;
    return readStringData(*parcel, [stringData, allocator](int32_t length, char** buffer) {
        return allocator(stringData, length, buffer);
    });
}

binder_status_t AParcel_writeStringArray(AParcel* parcel, const void* arrayData, int32_t length,
                                         AParcel_stringArrayElementGetter getter) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    if (length < -1) {
        logError("AParcel_writeStringArray: length %d", length);
        return STATUS_BAD_VALUE;
    }
    if (length > 0 && getter == nullptr) return STATUS_UNEXPECTED_NULL;
    binder_status_t status = parcel->writeValue(length);
    for (int32_t index = 0; status == STATUS_OK && index < length; ++index) {
        int32_t element_length = -1;
        const char* element = getter(arrayData, static_cast<size_t>(index), &element_length);
        status = writeStringData(*parcel, element, element_length);
    }
    return status;
}

binder_status_t AParcel_readStringArray(const AParcel* parcel, void* arrayData,
                                        AParcel_stringArrayAllocator allocator,
                                        AParcel_stringArrayElementAllocator elementAllocator) {
    if (parcel == nullptr || allocator == nullptr || elementAllocator == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    const int32_t start = parcel->dataPosition();
    int32_t length = 0;
    // Each element takes at least its 4-byte length.
    binder_status_t status = parcel->readLength(sizeof(int32_t), &length);
    if (status != STATUS_OK) return status;
    if (!allocator(arrayData, length)) {
        if (length == -1) return STATUS_UNEXPECTED_NULL;  // a refused null array stays consumed
        parcel->setDataPosition(start);
        return STATUS_NO_MEMORY;
    }
    for (int32_t index = 0; status == STATUS_OK && index < length; ++index) {
        const auto element = static_cast<size_t>(index);
        status = readStringData(*parcel, [&](int32_t element_length, char** buffer) {
            return elementAllocator(arrayData, element, element_length, buffer);
        });
    }
    if (status != STATUS_OK) parcel->setDataPosition(start);
    return status;
}
