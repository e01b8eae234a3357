// Parcels through the C API: every value type, arrays, positions, bad data, copies.
#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>
#include <android/binder_parcel_utils.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace {

ndk::ScopedAParcel newParcel() {
    return ndk::ScopedAParcel(AParcel_create());
}

void rewind(const ndk::ScopedAParcel& parcel) {
    ASSERT_EQ(AParcel_setDataPosition(parcel.get(), 0), STATUS_OK);
}

TEST(ParcelTest, SingleValuesRoundTrip) {
    auto parcel = newParcel();
    ASSERT_EQ(AParcel_writeInt32(parcel.get(), INT32_MIN), STATUS_OK);
    ASSERT_EQ(AParcel_writeUint32(parcel.get(), UINT32_MAX), STATUS_OK);
    ASSERT_EQ(AParcel_writeInt64(parcel.get(), INT64_MIN), STATUS_OK);
    ASSERT_EQ(AParcel_writeUint64(parcel.get(), UINT64_MAX), STATUS_OK);
    ASSERT_EQ(AParcel_writeFloat(parcel.get(), -0.5f), STATUS_OK);
    ASSERT_EQ(AParcel_writeDouble(parcel.get(), std::numeric_limits<double>::infinity()),
              STATUS_OK);
    ASSERT_EQ(AParcel_writeBool(parcel.get(), true), STATUS_OK);
    ASSERT_EQ(AParcel_writeChar(parcel.get(), u'é'), STATUS_OK);
    ASSERT_EQ(AParcel_writeByte(parcel.get(), -128), STATUS_OK);
    ASSERT_EQ(AParcel_writeString(parcel.get(), "a\0b€", 6), STATUS_OK);
    ASSERT_EQ(AParcel_writeString(parcel.get(), nullptr, -1), STATUS_OK);
    ASSERT_EQ(AParcel_writeString(parcel.get(), "", 0), STATUS_OK);
    // Bool, char and byte take 4 bytes each, like every other value here.
    EXPECT_EQ(AParcel_getDataSize(parcel.get()) % 4, 0);
    rewind(parcel);

    int32_t i32 = 0;
    uint32_t u32 = 0;
    int64_t i64 = 0;
    uint64_t u64 = 0;
    float f = 0;
    double d = 0;
    bool b = false;
    char16_t c = 0;
    int8_t byte = 0;
    EXPECT_EQ(AParcel_readInt32(parcel.get(), &i32), STATUS_OK);
    EXPECT_EQ(AParcel_readUint32(parcel.get(), &u32), STATUS_OK);
    EXPECT_EQ(AParcel_readInt64(parcel.get(), &i64), STATUS_OK);
    EXPECT_EQ(AParcel_readUint64(parcel.get(), &u64), STATUS_OK);
    EXPECT_EQ(AParcel_readFloat(parcel.get(), &f), STATUS_OK);
    EXPECT_EQ(AParcel_readDouble(parcel.get(), &d), STATUS_OK);
    EXPECT_EQ(AParcel_readBool(parcel.get(), &b), STATUS_OK);
    EXPECT_EQ(AParcel_readChar(parcel.get(), &c), STATUS_OK);
    EXPECT_EQ(AParcel_readByte(parcel.get(), &byte), STATUS_OK);
    EXPECT_EQ(i32, INT32_MIN);
    EXPECT_EQ(u32, UINT32_MAX);
    EXPECT_EQ(i64, INT64_MIN);
    EXPECT_EQ(u64, UINT64_MAX);
    EXPECT_EQ(f, -0.5f);
    EXPECT_TRUE(std::isinf(d));
    EXPECT_TRUE(b);
    EXPECT_EQ(c, u'é');
    EXPECT_EQ(byte, -128);

    std::string text;
    EXPECT_EQ(ndk::AParcel_readString(parcel.get(), &text), STATUS_OK);
    EXPECT_EQ(text, std::string("a\0b€", 6));
    // A null string is refused by a non-nullable reader, then the empty one reads.
    EXPECT_EQ(ndk::AParcel_readString(parcel.get(), &text), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(ndk::AParcel_readString(parcel.get(), &text), STATUS_OK);
    EXPECT_EQ(text, "");
    EXPECT_EQ(AParcel_getDataPosition(parcel.get()), AParcel_getDataSize(parcel.get()));
}

template <typename T>
bool allocateVector(void* data, int32_t length, T** buffer) {
    auto* vector = static_cast<std::vector<T>*>(data);
    if (length < 0) return false;
    vector->resize(static_cast<size_t>(length));
    *buffer = vector->data();
    return true;
}

TEST(ParcelTest, ArraysRoundTrip) {
    const std::vector<int32_t> ints = {1, -2, INT32_MAX};
    const std::vector<uint64_t> longs = {UINT64_MAX, 0};
    const std::vector<double> doubles = {0.25, -1e300};
    const std::vector<char16_t> chars = {u'x', u'€'};
    const std::vector<int8_t> bytes = {1, -1, 127, 0, 5};  // 5 bytes: padding follows
    const std::vector<bool> flags = {true, false, true};
    const std::vector<std::string> strings = {"one", "", "drei"};
    auto parcel = newParcel();
    ASSERT_EQ(AParcel_writeInt32Array(parcel.get(), ints.data(), 3), STATUS_OK);
    ASSERT_EQ(AParcel_writeUint64Array(parcel.get(), longs.data(), 2), STATUS_OK);
    ASSERT_EQ(AParcel_writeDoubleArray(parcel.get(), doubles.data(), 2), STATUS_OK);
    ASSERT_EQ(AParcel_writeCharArray(parcel.get(), chars.data(), 2), STATUS_OK);
    ASSERT_EQ(AParcel_writeByteArray(parcel.get(), bytes.data(), 5), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeVector(parcel.get(), flags), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeVector(parcel.get(), strings), STATUS_OK);
    ASSERT_EQ(AParcel_writeFloatArray(parcel.get(), nullptr, -1), STATUS_OK);  // null array
    ASSERT_EQ(AParcel_writeInt64Array(parcel.get(), nullptr, 0), STATUS_OK);   // empty array
    rewind(parcel);

    std::vector<int32_t> ints_read;
    std::vector<uint64_t> longs_read;
    std::vector<double> doubles_read;
    std::vector<char16_t> chars_read;
    std::vector<int8_t> bytes_read;
    std::vector<bool> flags_read;
    std::vector<std::string> strings_read;
    std::vector<float> floats_read = {1.0f};
    std::vector<int64_t> empty_read = {1, 2};
    EXPECT_EQ(AParcel_readInt32Array(parcel.get(), &ints_read, allocateVector<int32_t>), STATUS_OK);
    EXPECT_EQ(AParcel_readUint64Array(parcel.get(), &longs_read, allocateVector<uint64_t>),
              STATUS_OK);
    EXPECT_EQ(AParcel_readDoubleArray(parcel.get(), &doubles_read, allocateVector<double>),
              STATUS_OK);
    EXPECT_EQ(AParcel_readCharArray(parcel.get(), &chars_read, allocateVector<char16_t>),
              STATUS_OK);
    EXPECT_EQ(AParcel_readByteArray(parcel.get(), &bytes_read, allocateVector<int8_t>), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_readVector(parcel.get(), &flags_read), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_readVector(parcel.get(), &strings_read), STATUS_OK);
    // The allocator refuses null arrays, so a null array is reported as such.
    EXPECT_EQ(AParcel_readFloatArray(parcel.get(), &floats_read, allocateVector<float>),
              STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AParcel_readInt64Array(parcel.get(), &empty_read, allocateVector<int64_t>),
              STATUS_OK);
    EXPECT_EQ(ints_read, ints);
    EXPECT_EQ(longs_read, longs);
    EXPECT_EQ(doubles_read, doubles);
    EXPECT_EQ(chars_read, chars);
    EXPECT_EQ(bytes_read, bytes);
    EXPECT_EQ(flags_read, flags);
    EXPECT_EQ(strings_read, strings);
    EXPECT_TRUE(empty_read.empty());
    EXPECT_EQ(AParcel_getDataPosition(parcel.get()), AParcel_getDataSize(parcel.get()));
}

TEST(ParcelTest, ReadsPastTheEndFailAndKeepThePosition) {
    auto parcel = newParcel();
    ASSERT_EQ(AParcel_writeInt32(parcel.get(), 1), STATUS_OK);
    rewind(parcel);
    int64_t wide = 0;
    EXPECT_EQ(AParcel_readInt64(parcel.get(), &wide), STATUS_NOT_ENOUGH_DATA);
    EXPECT_EQ(AParcel_getDataPosition(parcel.get()), 0);
    int32_t value = 0;
    EXPECT_EQ(AParcel_readInt32(parcel.get(), &value), STATUS_OK);
    bool flag = false;
    double real = 0;
    std::string text;
    std::vector<int32_t> array;
    int fd = 0;
    AStatus* status = nullptr;
    EXPECT_EQ(AParcel_readInt32(parcel.get(), &value), STATUS_NOT_ENOUGH_DATA);
    EXPECT_EQ(AParcel_readBool(parcel.get(), &flag), STATUS_NOT_ENOUGH_DATA);
    EXPECT_EQ(AParcel_readDouble(parcel.get(), &real), STATUS_NOT_ENOUGH_DATA);
    EXPECT_EQ(ndk::AParcel_readString(parcel.get(), &text), STATUS_NOT_ENOUGH_DATA);
    EXPECT_EQ(ndk::AParcel_readVector(parcel.get(), &array), STATUS_NOT_ENOUGH_DATA);
    EXPECT_EQ(AParcel_readParcelFileDescriptor(parcel.get(), &fd), STATUS_NOT_ENOUGH_DATA);
    EXPECT_EQ(AParcel_readStatusHeader(parcel.get(), &status), STATUS_NOT_ENOUGH_DATA);
    EXPECT_EQ(AParcel_getDataPosition(parcel.get()), 4);

    // A position past the end reads nothing; a write there fills the gap with zeros.
    ASSERT_EQ(AParcel_setDataPosition(parcel.get(), 12), STATUS_OK);
    EXPECT_EQ(AParcel_readInt32(parcel.get(), &value), STATUS_NOT_ENOUGH_DATA);
    ASSERT_EQ(AParcel_writeInt32(parcel.get(), 7), STATUS_OK);
    EXPECT_EQ(AParcel_getDataSize(parcel.get()), 16);
    ASSERT_EQ(AParcel_setDataPosition(parcel.get(), 4), STATUS_OK);
    int64_t gap = -1;
    EXPECT_EQ(AParcel_readInt64(parcel.get(), &gap), STATUS_OK);
    EXPECT_EQ(gap, 0);
    EXPECT_EQ(AParcel_setDataPosition(parcel.get(), -4), STATUS_BAD_VALUE);
}

// A parcel holding exactly these int32 values.
ndk::ScopedAParcel parcelOf(const std::vector<int32_t>& words) {
    auto parcel = newParcel();
    for (int32_t word : words) AParcel_writeInt32(parcel.get(), word);
    AParcel_setDataPosition(parcel.get(), 0);
    return parcel;
}

TEST(ParcelTest, MalformedLengthsAreBadValues) {
    std::vector<int32_t> array;
    std::vector<std::string> strings;
    std::string text;
    // Below -1, more elements than bytes remain, a string longer than the data.
    for (const auto& words :
         std::vector<std::vector<int32_t>>{{-2}, {5, 0x61616161}, {INT32_MAX}}) {
        auto parcel = parcelOf(words);
        EXPECT_EQ(ndk::AParcel_readVector(parcel.get(), &array), STATUS_BAD_VALUE);
        EXPECT_EQ(ndk::AParcel_readVector(parcel.get(), &strings), STATUS_BAD_VALUE);
        EXPECT_EQ(ndk::AParcel_readString(parcel.get(), &text), STATUS_BAD_VALUE);
        EXPECT_EQ(AParcel_getDataPosition(parcel.get()), 0);
    }
    // "abcd" with no NUL after it, and bytes that are not UTF-8.
    auto unterminated = parcelOf({4, 0x64636261, 0x65656565});
    EXPECT_EQ(ndk::AParcel_readString(unterminated.get(), &text), STATUS_BAD_VALUE);
    auto not_utf8 = parcelOf({2, 0x0000ffc3});
    EXPECT_EQ(ndk::AParcel_readString(not_utf8.get(), &text), STATUS_BAD_VALUE);

    auto parcel = newParcel();
    EXPECT_EQ(AParcel_writeString(parcel.get(), "\xc3\x28", 2), STATUS_BAD_VALUE);
    EXPECT_EQ(AParcel_writeString(parcel.get(), "\xed\xa0\x80", 3), STATUS_BAD_VALUE);  // surrogate
    EXPECT_EQ(AParcel_writeString(parcel.get(), "abc", -2), STATUS_BAD_VALUE);
    EXPECT_EQ(AParcel_writeString(parcel.get(), nullptr, 3), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AParcel_writeInt32Array(parcel.get(), nullptr, 2), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AParcel_writeInt32Array(parcel.get(), nullptr, -5), STATUS_BAD_VALUE);
    EXPECT_EQ(AParcel_getDataSize(parcel.get()), 0);

    // A refusing allocator is out of memory for a real array.
    auto refused = parcelOf({1, 9});
    auto refuse = [](void*, int32_t, int32_t**) { return false; };
    EXPECT_EQ(AParcel_readInt32Array(refused.get(), nullptr, refuse), STATUS_NO_MEMORY);
}

TEST(ParcelTest, NullArgumentsAreRefused) {
    int32_t value = 0;
    EXPECT_EQ(AParcel_writeInt32(nullptr, 1), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AParcel_readInt32(nullptr, &value), STATUS_UNEXPECTED_NULL);
    auto parcel = parcelOf({1});
    EXPECT_EQ(AParcel_readInt32(parcel.get(), nullptr), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AParcel_readString(parcel.get(), nullptr, nullptr), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AParcel_getDataSize(nullptr), -1);
    EXPECT_EQ(AParcel_getDataPosition(nullptr), -1);
    EXPECT_EQ(AParcel_setDataPosition(nullptr, 0), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AParcel_reset(nullptr), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AParcel_appendFrom(nullptr, parcel.get(), 0, 0), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AParcel_marshal(parcel.get(), nullptr, 0, 4), STATUS_UNEXPECTED_NULL);
    AParcel_delete(nullptr);
}

TEST(ParcelTest, MarshalUnmarshalAndAppend) {
    auto source = parcelOf({10, 20, 30});
    std::vector<uint8_t> bytes(12);
    ASSERT_EQ(AParcel_marshal(source.get(), bytes.data(), 0, bytes.size()), STATUS_OK);
    EXPECT_EQ(AParcel_marshal(source.get(), bytes.data(), 4, 12), STATUS_BAD_VALUE);

    auto copy = newParcel();
    ASSERT_EQ(AParcel_unmarshal(copy.get(), bytes.data(), bytes.size()), STATUS_OK);
    EXPECT_EQ(AParcel_getDataSize(copy.get()), 12);
    EXPECT_EQ(AParcel_getDataPosition(copy.get()), 12);  // as after a write
    rewind(copy);
    std::vector<int32_t> words(3);
    for (int32_t& word : words) ASSERT_EQ(AParcel_readInt32(copy.get(), &word), STATUS_OK);
    EXPECT_EQ(words, (std::vector<int32_t>{10, 20, 30}));

    // appendFrom writes at the position; the source may be the destination itself.
    ASSERT_EQ(AParcel_setDataPosition(copy.get(), 4), STATUS_OK);
    ASSERT_EQ(AParcel_appendFrom(copy.get(), copy.get(), 8, 4), STATUS_OK);
    rewind(copy);
    for (int32_t& word : words) ASSERT_EQ(AParcel_readInt32(copy.get(), &word), STATUS_OK);
    EXPECT_EQ(words, (std::vector<int32_t>{10, 30, 30}));
    EXPECT_EQ(AParcel_appendFrom(source.get(), copy.get(), 8, 8), STATUS_BAD_VALUE);
    EXPECT_EQ(AParcel_appendFrom(source.get(), copy.get(), -4, 4), STATUS_BAD_VALUE);

    ASSERT_EQ(AParcel_reset(copy.get()), STATUS_OK);
    EXPECT_EQ(AParcel_getDataSize(copy.get()), 0);
    EXPECT_EQ(AParcel_getDataPosition(copy.get()), 0);
}

}  // namespace
