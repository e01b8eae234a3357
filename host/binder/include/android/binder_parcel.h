/**
 * AParcel: the container a transaction's arguments and reply travel in.
 *
 * A parcel is a byte stream with a data position; every write goes at the position and moves it
 * on, every read takes from the position and moves it on. Values are padded to 4 bytes.
 * Descriptors and binder objects written into a parcel are held by the parcel itself (it owns a
 * duplicate of each descriptor and a strong reference to each binder) until the parcel is
 * deleted, reset or the bytes that hold them are overwritten.
 *
 * A read that finds no more data answers STATUS_NOT_ENOUGH_DATA; a length prefix that is negative
 * (other than -1 for null) or larger than the data left in the parcel, or data of the wrong kind,
 * answers STATUS_BAD_VALUE. A read never hands back bytes it did not find. A read that fails
 * leaves the position where it was, except that a null value the reader refuses
 * (STATUS_UNEXPECTED_NULL) is consumed, so that reading can go on after it.
 */
#pragma once

#include <android/binder_status.h>
#include <stddef.h>
#include <stdint.h>
#include <uchar.h>

#ifdef __cplusplus
extern "C" {
#endif

struct AIBinder;
typedef struct AIBinder AIBinder;

struct AParcel;
typedef struct AParcel AParcel;

/** A new empty parcel, owned by the caller (free with AParcel_delete). Never null. */
AParcel* AParcel_create(void);

/** Frees parcel, closing its descriptors and releasing its binders. Null is ignored. */
void AParcel_delete(AParcel* parcel);

/** Bytes of data in parcel; -1 for a null parcel. */
int32_t AParcel_getDataSize(const AParcel* parcel);

/** The current data position; -1 for a null parcel. */
int32_t AParcel_getDataPosition(const AParcel* parcel);

/**
 * Moves the data position. Position may lie past the end of the data: reads there answer
 * STATUS_NOT_ENOUGH_DATA and a write there fills the gap with zeros. STATUS_BAD_VALUE for a
 * negative position, STATUS_UNEXPECTED_NULL for a null parcel.
 */
binder_status_t AParcel_setDataPosition(const AParcel* parcel, int32_t position);

/** Empties parcel: no data, no objects, position 0. STATUS_UNEXPECTED_NULL for null. */
binder_status_t AParcel_reset(AParcel* parcel);

/**
 * Writes the bytes [start, start + size) of from at the data position of to, with their
 * descriptors (duplicated) and binders (a new strong reference each). STATUS_BAD_VALUE when the
 * range lies outside from's data or cuts through an object. from and to may be the same parcel.
 */
binder_status_t AParcel_appendFrom(const AParcel* from, AParcel* to, int32_t start, int32_t size);

/**
 * Copies len bytes of parcel's data, starting at start, into buffer. Only plain data can be
 * marshalled: STATUS_INVALID_OPERATION when the parcel holds descriptors or binders,
 * STATUS_BAD_VALUE when the range lies outside the data, STATUS_UNEXPECTED_NULL for a null parcel
 * or a null buffer with len > 0.
 */
binder_status_t AParcel_marshal(const AParcel* parcel, uint8_t* buffer, size_t start, size_t len);

/**
 * Replaces parcel's content with the len bytes at buffer (plain data, no objects). As after any
 * write, the data position is left at the end: set it to 0 before reading. STATUS_BAD_VALUE when
 * len exceeds INT32_MAX.
 */
binder_status_t AParcel_unmarshal(AParcel* parcel, const uint8_t* buffer, size_t len);

/* Single values. Bool, Char and Byte occupy 4 bytes each, as on the platform. A null parcel or a
 * null value pointer answers STATUS_UNEXPECTED_NULL. */
binder_status_t AParcel_writeInt32(AParcel* parcel, int32_t value);
binder_status_t AParcel_writeUint32(AParcel* parcel, uint32_t value);
binder_status_t AParcel_writeInt64(AParcel* parcel, int64_t value);
binder_status_t AParcel_writeUint64(AParcel* parcel, uint64_t value);
binder_status_t AParcel_writeFloat(AParcel* parcel, float value);
binder_status_t AParcel_writeDouble(AParcel* parcel, double value);
binder_status_t AParcel_writeBool(AParcel* parcel, bool value);
binder_status_t AParcel_writeChar(AParcel* parcel, char16_t value);
binder_status_t AParcel_writeByte(AParcel* parcel, int8_t value);

binder_status_t AParcel_readInt32(const AParcel* parcel, int32_t* value);
binder_status_t AParcel_readUint32(const AParcel* parcel, uint32_t* value);
binder_status_t AParcel_readInt64(const AParcel* parcel, int64_t* value);
binder_status_t AParcel_readUint64(const AParcel* parcel, uint64_t* value);
binder_status_t AParcel_readFloat(const AParcel* parcel, float* value);
binder_status_t AParcel_readDouble(const AParcel* parcel, double* value);
binder_status_t AParcel_readBool(const AParcel* parcel, bool* value);
binder_status_t AParcel_readChar(const AParcel* parcel, char16_t* value);
binder_status_t AParcel_readByte(const AParcel* parcel, int8_t* value);

/**
 * Writes length bytes of UTF-8 text at string. A null string with length -1 writes a null
 * string. STATUS_UNEXPECTED_NULL for a null string with another length, STATUS_BAD_VALUE for a
 * negative length or text that is not valid UTF-8.
 */
binder_status_t AParcel_writeString(AParcel* parcel, const char* string, int32_t length);

/**
 * Asked by a read for storage of a string. length counts the terminating NUL, or is -1 for a null
 * string. Sets *buffer to length writable bytes owned by stringData's owner (or leaves it alone
 * for -1) and answers true, or answers false to refuse.
 */
typedef bool (*AParcel_stringAllocator)(void* stringData, int32_t length, char** buffer);

/**
 * Reads a string into storage obtained from allocator; the text is NUL-terminated. When the
 * allocator refuses: STATUS_UNEXPECTED_NULL for a null string, STATUS_NO_MEMORY otherwise.
 * STATUS_BAD_VALUE for a bad length, a missing terminator or text that is not valid UTF-8.
 */
binder_status_t AParcel_readString(const AParcel* parcel, void* stringData,
                                   AParcel_stringAllocator allocator);

/*
 * Arrays. Every array is an int32 element count followed by its elements; a count of -1 is a null
 * array (write it by passing length -1; arrayData is then ignored). Writing: STATUS_BAD_VALUE for
 * a length below -1, STATUS_UNEXPECTED_NULL for null arrayData with a positive length.
 *
 * Reading asks an allocator for storage first: it is given arrayData, the element count (-1 for
 * null) and, for the packed types, where to put the address of count elements it owns. When the
 * allocator refuses: STATUS_UNEXPECTED_NULL for a null array, STATUS_NO_MEMORY otherwise.
 */
typedef bool (*AParcel_int32ArrayAllocator)(void* arrayData, int32_t length, int32_t** outBuffer);
typedef bool (*AParcel_uint32ArrayAllocator)(void* arrayData, int32_t length, uint32_t** outBuffer);
typedef bool (*AParcel_int64ArrayAllocator)(void* arrayData, int32_t length, int64_t** outBuffer);
typedef bool (*AParcel_uint64ArrayAllocator)(void* arrayData, int32_t length, uint64_t** outBuffer);
typedef bool (*AParcel_floatArrayAllocator)(void* arrayData, int32_t length, float** outBuffer);
typedef bool (*AParcel_doubleArrayAllocator)(void* arrayData, int32_t length, double** outBuffer);
typedef bool (*AParcel_charArrayAllocator)(void* arrayData, int32_t length, char16_t** outBuffer);
typedef bool (*AParcel_byteArrayAllocator)(void* arrayData, int32_t length, int8_t** outBuffer);

binder_status_t AParcel_writeInt32Array(AParcel* parcel, const int32_t* arrayData, int32_t length);
binder_status_t AParcel_writeUint32Array(AParcel* parcel, const uint32_t* arrayData,
                                         int32_t length);
binder_status_t AParcel_writeInt64Array(AParcel* parcel, const int64_t* arrayData, int32_t length);
binder_status_t AParcel_writeUint64Array(AParcel* parcel, const uint64_t* arrayData,
                                         int32_t length);
binder_status_t AParcel_writeFloatArray(AParcel* parcel, const float* arrayData, int32_t length);
binder_status_t AParcel_writeDoubleArray(AParcel* parcel, const double* arrayData, int32_t length);
binder_status_t AParcel_writeCharArray(AParcel* parcel, const char16_t* arrayData, int32_t length);
binder_status_t AParcel_writeByteArray(AParcel* parcel, const int8_t* arrayData, int32_t length);

binder_status_t AParcel_readInt32Array(const AParcel* parcel, void* arrayData,
                                       AParcel_int32ArrayAllocator allocator);
binder_status_t AParcel_readUint32Array(const AParcel* parcel, void* arrayData,
                                        AParcel_uint32ArrayAllocator allocator);
binder_status_t AParcel_readInt64Array(const AParcel* parcel, void* arrayData,
                                       AParcel_int64ArrayAllocator allocator);
binder_status_t AParcel_readUint64Array(const AParcel* parcel, void* arrayData,
                                        AParcel_uint64ArrayAllocator allocator);
binder_status_t AParcel_readFloatArray(const AParcel* parcel, void* arrayData,
                                       AParcel_floatArrayAllocator allocator);
binder_status_t AParcel_readDoubleArray(const AParcel* parcel, void* arrayData,
                                        AParcel_doubleArrayAllocator allocator);
binder_status_t AParcel_readCharArray(const AParcel* parcel, void* arrayData,
                                      AParcel_charArrayAllocator allocator);
binder_status_t AParcel_readByteArray(const AParcel* parcel, void* arrayData,
                                      AParcel_byteArrayAllocator allocator);

/** Bool arrays go element by element: the writer asks getter, the reader tells setter. */
typedef bool (*AParcel_boolArrayGetter)(const void* arrayData, size_t index);
typedef bool (*AParcel_boolArrayAllocator)(void* arrayData, int32_t length);
typedef void (*AParcel_boolArraySetter)(void* arrayData, size_t index, bool value);

binder_status_t AParcel_writeBoolArray(AParcel* parcel, const void* arrayData, int32_t length,
                                       AParcel_boolArrayGetter getter);
binder_status_t AParcel_readBoolArray(const AParcel* parcel, void* arrayData,
                                      AParcel_boolArrayAllocator allocator,
                                      AParcel_boolArraySetter setter);

/**
 * String arrays go element by element. The getter answers an element's UTF-8 text and sets
 * *outLength to its length in bytes, or answers null with *outLength -1 for a null element; the
 * text stays owned by arrayData. On reading, the element allocator is asked as a string allocator
 * is (length counts the NUL, -1 for a null element).
 */
typedef const char* (*AParcel_stringArrayElementGetter)(const void* arrayData, size_t index,
                                                        int32_t* outLength);
typedef bool (*AParcel_stringArrayAllocator)(void* arrayData, int32_t length);
typedef bool (*AParcel_stringArrayElementAllocator)(void* arrayData, size_t index, int32_t length,
                                                    char** buffer);

binder_status_t AParcel_writeStringArray(AParcel* parcel, const void* arrayData, int32_t length,
                                         AParcel_stringArrayElementGetter getter);
binder_status_t AParcel_readStringArray(const AParcel* parcel, void* arrayData,
                                        AParcel_stringArrayAllocator allocator,
                                        AParcel_stringArrayElementAllocator elementAllocator);

/**
 * Arrays of anything else (records, descriptors, nested arrays) go element by element through
 * the caller's element writer and reader; the first status other than STATUS_OK they answer ends
 * the operation and is returned. Every element must take at least 4 bytes (anything written with
 * these functions does): a count that the data left cannot hold at that size is STATUS_BAD_VALUE.
 */
typedef bool (*AParcel_parcelableArrayAllocator)(void* arrayData, int32_t length);
typedef binder_status_t (*AParcel_writeParcelableElement)(AParcel* parcel, const void* arrayData,
                                                          size_t index);
typedef binder_status_t (*AParcel_readParcelableElement)(const AParcel* parcel, void* arrayData,
                                                         size_t index);

binder_status_t AParcel_writeParcelableArray(AParcel* parcel, const void* arrayData, int32_t length,
                                             AParcel_writeParcelableElement elementWriter);
binder_status_t AParcel_readParcelableArray(const AParcel* parcel, void* arrayData,
                                            AParcel_parcelableArrayAllocator allocator,
                                            AParcel_readParcelableElement elementReader);

/**
 * Writes a descriptor: the parcel keeps its own duplicate of fd, closed when the parcel goes; the
 * caller keeps fd. -1 writes a null descriptor. STATUS_BAD_VALUE for fd < -1 or a descriptor that
 * is not open, STATUS_NO_MEMORY when no descriptor is left to duplicate into.
 */
binder_status_t AParcel_writeParcelFileDescriptor(AParcel* parcel, int fd);

/**
 * Reads a descriptor: *fd becomes a new duplicate the caller owns and must close, or -1 for a
 * null descriptor. STATUS_BAD_VALUE when the parcel holds no descriptor at that position.
 */
binder_status_t AParcel_readParcelFileDescriptor(const AParcel* parcel, int* fd);

/**
 * Writes a binder object; the parcel holds a strong reference to it until the parcel goes. A null
 * binder writes a null object.
 */
binder_status_t AParcel_writeStrongBinder(AParcel* parcel, AIBinder* binder);

/**
 * Reads a binder object: *binder becomes a new strong reference the caller owns (release it with
 * AIBinder_decStrong), or null for a null object. Any previous value of *binder is overwritten,
 * not released. STATUS_BAD_VALUE when the parcel holds no binder at that position.
 */
binder_status_t AParcel_readStrongBinder(const AParcel* parcel, AIBinder** binder);

/**
 * Writes status as a reply header: its exception code, then, unless it is EX_NONE, its message
 * and, for EX_SERVICE_SPECIFIC, its error number. A status with exception EX_TRANSACTION_FAILED
 * is not written: its transport status is returned instead, so that the transaction itself fails
 * with it. STATUS_UNEXPECTED_NULL for a null parcel or status.
 */
binder_status_t AParcel_writeStatusHeader(AParcel* parcel, const AStatus* status);

/**
 * Reads a reply header into a new AStatus that the caller owns (*status is overwritten, not
 * released; it is left alone on failure). An EX_HAS_REPLY_HEADER header is skipped and reads as
 * success.
 */
binder_status_t AParcel_readStatusHeader(const AParcel* parcel, AStatus** status);

#ifdef __cplusplus
}  // extern "C"
#endif
