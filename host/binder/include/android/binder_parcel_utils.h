/**
 * C++ reading and writing of parcels (header only).
 *
 * ndk::AParcel_writeData and ndk::AParcel_readData move one value of any supported type:
 * bool, int8_t, char16_t, int32_t, uint32_t, int64_t, uint64_t, float, double, std::string
 * (UTF-8), ndk::ScopedFileDescriptor, ndk::SpAIBinder, records (classes with
 * `binder_status_t writeToParcel(AParcel*) const` and `binder_status_t readFromParcel(const
 * AParcel*)`), interfaces (`std::shared_ptr<I>` where I has static `writeToParcel(AParcel*, const
 * std::shared_ptr<I>&)` and `readFromParcel(const AParcel*, std::shared_ptr<I>*)`) and
 * std::vector of any of these. All of them are non-nullable: writing an empty descriptor, an
 * empty binder or a null interface pointer, or reading a null value of any kind, answers
 * STATUS_UNEXPECTED_NULL. A record is preceded by an int32 marker, 1 when present.
 *
 * Values read are owned by the destination object: a descriptor read is a fresh duplicate, a
 * binder read a new strong reference.
 */
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>
#include <android/binder_status.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace ndk {

namespace internal {

template <typename T>
struct always_false : std::false_type {};

/** Whether T is a record: it has writeToParcel and readFromParcel members. */
template <typename T, typename = void>
struct is_parcelable : std::false_type {};
template <typename T>
struct is_parcelable<
        T, std::void_t<decltype(std::declval<const T&>().writeToParcel(std::declval<AParcel*>())),
                       decltype(std::declval<T&>().readFromParcel(std::declval<const AParcel*>()))>>
    : std::true_type {};

/** Whether T is std::shared_ptr<I> for an interface I with static parcel functions. */
template <typename T, typename = void>
struct is_interface_pointer : std::false_type {};
template <typename I>
struct is_interface_pointer<
        std::shared_ptr<I>,
        std::void_t<decltype(I::writeToParcel(std::declval<AParcel*>(),
                                              std::declval<const std::shared_ptr<I>&>())),
                    decltype(I::readFromParcel(std::declval<const AParcel*>(),
                                               std::declval<std::shared_ptr<I>*>()))>>
    : std::true_type {};

template <typename T>
struct is_vector : std::false_type {};
template <typename T>
struct is_vector<std::vector<T>> : std::true_type {};

/** Resizes a vector to length; refuses null (-1) and what cannot be allocated. */
template <typename Vector>
bool resizeVector(void* vectorData, int32_t length) {
    if (length < 0) return false;
    try {
        static_cast<Vector*>(vectorData)->resize(static_cast<size_t>(length));
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

/** Allocator of packed arrays into std::vector<T>, seen by the C API as Element storage. */
template <typename T, typename Element>
bool allocatePackedVector(void* vectorData, int32_t length, Element** buffer) {
    static_assert(sizeof(T) == sizeof(Element));
    if (!resizeVector<std::vector<T>>(vectorData, length)) return false;
    *buffer = reinterpret_cast<Element*>(static_cast<std::vector<T>*>(vectorData)->data());
    return true;
}

inline bool getBoolElement(const void* vectorData, size_t index) {
    return (*static_cast<const std::vector<bool>*>(vectorData))[index];
}

inline void setBoolElement(void* vectorData, size_t index, bool value) {
    (*static_cast<std::vector<bool>*>(vectorData))[index] = value;
}

inline const char* getStringElement(const void* vectorData, size_t index, int32_t* length) {
    const std::string& element = (*static_cast<const std::vector<std::string>*>(vectorData))[index];
    *length = static_cast<int32_t>(element.size());
    return element.c_str();
}

/** Storage for one string read; refuses a null string. length counts the NUL. */
inline bool allocateString(void* stringData, int32_t length, char** buffer) {
    if (length <= 0) return false;
    try {
        auto* string = static_cast<std::string*>(stringData);
        string->resize(static_cast<size_t>(length) - 1);
        *buffer = string->data();
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

inline bool allocateStringElement(void* vectorData, size_t index, int32_t length, char** buffer) {
    return allocateString(&(*static_cast<std::vector<std::string>*>(vectorData))[index], length,
                          buffer);
}

template <typename T>
binder_status_t writeVectorElement(AParcel* parcel, const void* vectorData, size_t index);
template <typename T>
binder_status_t readVectorElement(const AParcel* parcel, void* vectorData, size_t index);

}  // namespace internal

/** Writes a non-null binder; STATUS_UNEXPECTED_NULL for an empty one. */
inline binder_status_t AParcel_writeRequiredStrongBinder(AParcel* parcel,
                                                         const SpAIBinder& binder) {
    if (binder.get() == nullptr) return STATUS_UNEXPECTED_NULL;
    return ::AParcel_writeStrongBinder(parcel, binder.get());
}

/** Writes a binder, or a null object for an empty one. */
inline binder_status_t AParcel_writeNullableStrongBinder(AParcel* parcel,
                                                         const SpAIBinder& binder) {
    return ::AParcel_writeStrongBinder(parcel, binder.get());
}

/** Reads a binder into *binder; STATUS_UNEXPECTED_NULL for a null object. */
inline binder_status_t AParcel_readRequiredStrongBinder(const AParcel* parcel, SpAIBinder* binder) {
    if (binder == nullptr) return STATUS_UNEXPECTED_NULL;
    AIBinder* read = nullptr;
    binder_status_t status = ::AParcel_readStrongBinder(parcel, &read);
    if (status != STATUS_OK) return status;
    if (read == nullptr) return STATUS_UNEXPECTED_NULL;
    binder->set(read);
    return STATUS_OK;
}

/** Reads a binder, or an empty one for a null object, into *binder. */
inline binder_status_t AParcel_readNullableStrongBinder(const AParcel* parcel, SpAIBinder* binder) {
    if (binder == nullptr) return STATUS_UNEXPECTED_NULL;
    AIBinder* read = nullptr;
    binder_status_t status = ::AParcel_readStrongBinder(parcel, &read);
    if (status == STATUS_OK) binder->set(read);
    return status;
}

/** Writes a descriptor (the parcel keeps a duplicate); STATUS_UNEXPECTED_NULL for an empty one. */
inline binder_status_t AParcel_writeRequiredParcelFileDescriptor(AParcel* parcel,
                                                                 const ScopedFileDescriptor& fd) {
    if (fd.get() < 0) return STATUS_UNEXPECTED_NULL;
    return ::AParcel_writeParcelFileDescriptor(parcel, fd.get());
}

/** Writes a descriptor, or a null one for an empty descriptor. */
inline binder_status_t AParcel_writeNullableParcelFileDescriptor(AParcel* parcel,
                                                                 const ScopedFileDescriptor& fd) {
    return ::AParcel_writeParcelFileDescriptor(parcel, fd.get() < 0 ? -1 : fd.get());
}

/** Reads a descriptor (a fresh duplicate *fd owns); STATUS_UNEXPECTED_NULL for a null one. */
inline binder_status_t AParcel_readRequiredParcelFileDescriptor(const AParcel* parcel,
                                                                ScopedFileDescriptor* fd) {
    if (fd == nullptr) return STATUS_UNEXPECTED_NULL;
    int read = -1;
    binder_status_t status = ::AParcel_readParcelFileDescriptor(parcel, &read);
    if (status != STATUS_OK) return status;
    if (read < 0) return STATUS_UNEXPECTED_NULL;
    fd->set(read);
    return STATUS_OK;
}

/** Reads a descriptor, or an empty one for a null descriptor, into *fd. */
inline binder_status_t AParcel_readNullableParcelFileDescriptor(const AParcel* parcel,
                                                                ScopedFileDescriptor* fd) {
    if (fd == nullptr) return STATUS_UNEXPECTED_NULL;
    int read = -1;
    binder_status_t status = ::AParcel_readParcelFileDescriptor(parcel, &read);
    if (status == STATUS_OK) fd->set(read);
    return status;
}

/** Writes a UTF-8 string; STATUS_BAD_VALUE when it is longer than INT32_MAX bytes. */
inline binder_status_t AParcel_writeString(AParcel* parcel, const std::string& string) {
    if (string.size() > static_cast<size_t>(INT32_MAX)) return STATUS_BAD_VALUE;
    return ::AParcel_writeString(parcel, string.c_str(), static_cast<int32_t>(string.size()));
}

/** Reads a UTF-8 string; STATUS_UNEXPECTED_NULL for a null string. */
inline binder_status_t AParcel_readString(const AParcel* parcel, std::string* string) {
    if (string == nullptr) return STATUS_UNEXPECTED_NULL;
    return ::AParcel_readString(parcel, string, internal::allocateString);
}

/** Writes a record: the marker 1, then the record itself. */
template <typename P>
binder_status_t AParcel_writeParcelable(AParcel* parcel, const P& record) {
    binder_status_t status = ::AParcel_writeInt32(parcel, 1);
    if (status != STATUS_OK) return status;
    return record.writeToParcel(parcel);
}

/** Reads a record written by AParcel_writeParcelable; STATUS_UNEXPECTED_NULL for a null one. */
template <typename P>
binder_status_t AParcel_readParcelable(const AParcel* parcel, P* record) {
    if (record == nullptr) return STATUS_UNEXPECTED_NULL;
    int32_t marker = 0;
    binder_status_t status = ::AParcel_readInt32(parcel, &marker);
    if (status != STATUS_OK) return status;
    if (marker == 0) return STATUS_UNEXPECTED_NULL;
    return record->readFromParcel(parcel);
}

template <typename T>
binder_status_t AParcel_writeData(AParcel* parcel, const T& value);
template <typename T>
binder_status_t AParcel_readData(const AParcel* parcel, T* value);

/** Writes a vector: packed for numbers, element by element for everything else. */
template <typename T>
binder_status_t AParcel_writeVector(AParcel* parcel, const std::vector<T>& vector) {
    if (vector.size() > static_cast<size_t>(INT32_MAX)) return STATUS_BAD_VALUE;
    const auto length = static_cast<int32_t>(vector.size());
    if constexpr (std::is_same_v<T, int32_t>) {
        return ::AParcel_writeInt32Array(parcel, vector.data(), length);
    } else if constexpr (std::is_same_v<T, uint32_t>) {
        return ::AParcel_writeUint32Array(parcel, vector.data(), length);
    } else if constexpr (std::is_same_v<T, int64_t>) {
        return ::AParcel_writeInt64Array(parcel, vector.data(), length);
    } else if constexpr (std::is_same_v<T, uint64_t>) {
        return ::AParcel_writeUint64Array(parcel, vector.data(), length);
    } else if constexpr (std::is_same_v<T, float>) {
        return ::AParcel_writeFloatArray(parcel, vector.data(), length);
    } else if constexpr (std::is_same_v<T, double>) {
        return ::AParcel_writeDoubleArray(parcel, vector.data(), length);
    } else if constexpr (std::is_same_v<T, char16_t>) {
        return ::AParcel_writeCharArray(parcel, vector.data(), length);
    } else if constexpr (std::is_same_v<T, int8_t> || std::is_same_v<T, uint8_t>) {
        return ::AParcel_writeByteArray(parcel, reinterpret_cast<const int8_t*>(vector.data()),
                                        length);
    } else if constexpr (std::is_same_v<T, bool>) {
        return ::AParcel_writeBoolArray(parcel, &vector, length, internal::getBoolElement);
    } else if constexpr (std::is_same_v<T, std::string>) {
        for (const std::string& element : vector) {
            if (element.size() > static_cast<size_t>(INT32_MAX)) return STATUS_BAD_VALUE;
        }
        return ::AParcel_writeStringArray(parcel, &vector, length, internal::getStringElement);
    } else {
        return ::AParcel_writeParcelableArray(parcel, &vector, length,
                                              internal::writeVectorElement<T>);
    }
}

/** Reads a vector written by AParcel_writeVector; STATUS_UNEXPECTED_NULL for a null one. */
template <typename T>
binder_status_t AParcel_readVector(const AParcel* parcel, std::vector<T>* vector) {
    using Vector = std::vector<T>;
    if (vector == nullptr) return STATUS_UNEXPECTED_NULL;
    if constexpr (std::is_same_v<T, int32_t>) {
        return ::AParcel_readInt32Array(parcel, vector, internal::allocatePackedVector<T, int32_t>);
    } else if constexpr (std::is_same_v<T, uint32_t>) {
        return ::AParcel_readUint32Array(parcel, vector,
                                         internal::allocatePackedVector<T, uint32_t>);
    } else if constexpr (std::is_same_v<T, int64_t>) {
        return ::AParcel_readInt64Array(parcel, vector, internal::allocatePackedVector<T, int64_t>);
    } else if constexpr (std::is_same_v<T, uint64_t>) {
        return ::AParcel_readUint64Array(parcel, vector,
                                         internal::allocatePackedVector<T, uint64_t>);
    } else if constexpr (std::is_same_v<T, float>) {
        return ::AParcel_readFloatArray(parcel, vector, internal::allocatePackedVector<T, float>);
    } else if constexpr (std::is_same_v<T, double>) {
        return ::AParcel_readDoubleArray(parcel, vector, internal::allocatePackedVector<T, double>);
    } else if constexpr (std::is_same_v<T, char16_t>) {
        return ::AParcel_readCharArray(parcel, vector, internal::allocatePackedVector<T, char16_t>);
    } else if constexpr (std::is_same_v<T, int8_t> || std::is_same_v<T, uint8_t>) {
        return ::AParcel_readByteArray(parcel, vector, internal::allocatePackedVector<T, int8_t>);
    } else if constexpr (std::is_same_v<T, bool>) {
        return ::AParcel_readBoolArray(parcel, vector, internal::resizeVector<Vector>,
                                       internal::setBoolElement);
    } else if constexpr (std::is_same_v<T, std::string>) {
        return ::AParcel_readStringArray(parcel, vector, internal::resizeVector<Vector>,
                                         internal::allocateStringElement);
    } else {
        return ::AParcel_readParcelableArray(parcel, vector, internal::resizeVector<Vector>,
                                             internal::readVectorElement<T>);
    }
}

/** Writes one value of any supported type (see the top of this file). */
template <typename T>
binder_status_t AParcel_writeData(AParcel* parcel, const T& value) {
    if constexpr (std::is_same_v<T, bool>) {
        return ::AParcel_writeBool(parcel, value);
    } else if constexpr (std::is_same_v<T, int8_t>) {
        return ::AParcel_writeByte(parcel, value);
    } else if constexpr (std::is_same_v<T, char16_t>) {
        return ::AParcel_writeChar(parcel, value);
    } else if constexpr (std::is_same_v<T, int32_t>) {
        return ::AParcel_writeInt32(parcel, value);
    } else if constexpr (std::is_same_v<T, uint32_t>) {
        return ::AParcel_writeUint32(parcel, value);
    } else if constexpr (std::is_same_v<T, int64_t>) {
        return ::AParcel_writeInt64(parcel, value);
    } else if constexpr (std::is_same_v<T, uint64_t>) {
        return ::AParcel_writeUint64(parcel, value);
    } else if constexpr (std::is_same_v<T, float>) {
        return ::AParcel_writeFloat(parcel, value);
    } else if constexpr (std::is_same_v<T, double>) {
        return ::AParcel_writeDouble(parcel, value);
    } else if constexpr (std::is_same_v<T, std::string>) {
        return AParcel_writeString(parcel, value);
    } else if constexpr (std::is_same_v<T, ScopedFileDescriptor>) {
        return AParcel_writeRequiredParcelFileDescriptor(parcel, value);
    } else if constexpr (std::is_same_v<T, SpAIBinder>) {
        return AParcel_writeRequiredStrongBinder(parcel, value);
    } else if constexpr (internal::is_interface_pointer<T>::value) {
        if (value == nullptr) return STATUS_UNEXPECTED_NULL;
        return T::element_type::writeToParcel(parcel, value);
    } else if constexpr (internal::is_parcelable<T>::value) {
        return AParcel_writeParcelable(parcel, value);
    } else if constexpr (internal::is_vector<T>::value) {
        return AParcel_writeVector(parcel, value);
    } else {
        static_assert(internal::always_false<T>::value, "this type cannot be written to a parcel");
    }
}

/** Reads one value of any supported type (see the top of this file) into *value. */
template <typename T>
binder_status_t AParcel_readData(const AParcel* parcel, T* value) {
    if (value == nullptr) return STATUS_UNEXPECTED_NULL;
    if constexpr (std::is_same_v<T, bool>) {
        return ::AParcel_readBool(parcel, value);
    } else if constexpr (std::is_same_v<T, int8_t>) {
        return ::AParcel_readByte(parcel, value);
    } else if constexpr (std::is_same_v<T, char16_t>) {
        return ::AParcel_readChar(parcel, value);
    } else if constexpr (std::is_same_v<T, int32_t>) {
        return ::AParcel_readInt32(parcel, value);
    } else if constexpr (std::is_same_v<T, uint32_t>) {
        return ::AParcel_readUint32(parcel, value);
    } else if constexpr (std::is_same_v<T, int64_t>) {
        return ::AParcel_readInt64(parcel, value);
    } else if constexpr (std::is_same_v<T, uint64_t>) {
        return ::AParcel_readUint64(parcel, value);
    } else if constexpr (std::is_same_v<T, float>) {
        return ::AParcel_readFloat(parcel, value);
    } else if constexpr (std::is_same_v<T, double>) {
        return ::AParcel_readDouble(parcel, value);
    } else if constexpr (std::is_same_v<T, std::string>) {
        return AParcel_readString(parcel, value);
    } else if constexpr (std::is_same_v<T, ScopedFileDescriptor>) {
        return AParcel_readRequiredParcelFileDescriptor(parcel, value);
    } else if constexpr (std::is_same_v<T, SpAIBinder>) {
        return AParcel_readRequiredStrongBinder(parcel, value);
    } else if constexpr (internal::is_interface_pointer<T>::value) {
        binder_status_t status = T::element_type::readFromParcel(parcel, value);
        if (status != STATUS_OK) return status;
        return *value == nullptr ? STATUS_UNEXPECTED_NULL : STATUS_OK;
    } else if constexpr (internal::is_parcelable<T>::value) {
        return AParcel_readParcelable(parcel, value);
    } else if constexpr (internal::is_vector<T>::value) {
        return AParcel_readVector(parcel, value);
    } else {
        static_assert(internal::always_false<T>::value, "this type cannot be read from a parcel");
    }
}

namespace internal {

template <typename T>
binder_status_t writeVectorElement(AParcel* parcel, const void* vectorData, size_t index) {
    return AParcel_writeData(parcel, (*static_cast<const std::vector<T>*>(vectorData))[index]);
}

template <typename T>
binder_status_t readVectorElement(const AParcel* parcel, void* vectorData, size_t index) {
    return AParcel_readData(parcel, &(*static_cast<std::vector<T>*>(vectorData))[index]);
}

}  // namespace internal

}  // namespace ndk
